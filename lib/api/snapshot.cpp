// SPDX-License-Identifier: MIT
#include "api/snapshot.h"

#include "api/context.h"
#include "base/file.h"
#include "base/text.h"
#include "inventory/mounts.h"
#include "platform/models.h"
#include "sources/sys_block.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>

namespace zav {

namespace {

struct Part {
    unsigned flag;
    void (*add)(SnapshotWork& work);
};

constexpr std::array<Part, 9> parts = {{{ZAV_DISKS, add_disks},
                                        {ZAV_ARRAYS, add_arrays},
                                        {ZAV_GROUPS, add_groups},
                                        {ZAV_POOLS, add_pools},
                                        {ZAV_FILESYSTEMS, add_filesystems},
                                        {ZAV_NETDISKS, add_netdisks},
                                        {ZAV_SHARES, add_shares},
                                        {ZAV_SERVICES, add_services},
                                        {ZAV_HEALTH, add_health}}};

/// Several functions chose -1. What could not be read then is told by the part.
const char* sentence_of(const char* part, int code) {
    constexpr int ambiguous = -1;
    if (code != ambiguous) {
        return zav_strerror(code);
    }
    const std::string_view name = part;
    return name == "arrays"                              ? "the state of a member cannot be read"
           : name == "filesystems" || name == "netdisks" ? "the register cannot be read"
                                                         : "it cannot be read";
}

template <class Record>
const Record* all_of(const std::vector<Record>& records, std::size_t* count) {
    if (count != nullptr) {
        *count = records.size();
    }
    return records.empty() ? nullptr : records.data();
}

template <class Record>
const Record* all_of(const zav_snapshot* snapshot, std::vector<Record> zav_snapshot::*records,
                     std::size_t* count) {
    if (snapshot != nullptr) {
        return all_of(snapshot->*records, count);
    }
    if (count != nullptr) {
        *count = 0;
    }
    return nullptr;
}

struct Free {
    void operator()(char* text) const { std::free(text); }
};

} // namespace

const char* SnapshotWork::keep(std::string_view text) {
    return text.empty() ? "" : snapshot.texts.emplace_back(text).c_str();
}

zav_links SnapshotWork::keep(Links links) {
    if (links.empty()) {
        return {nullptr, 0};
    }
    const Links& kept = snapshot.links.emplace_back(std::move(links));
    return {kept.data(), kept.size()};
}

void SnapshotWork::end_part(const char* part, Code code) {
    bool is_listed = !failed(code);
    for (const SessionFailure& failure : session.take_failures()) {
        if (failure.code < 0) {
            is_listed = is_listed || failure.code == number_of(code);
            snapshot.failures.push_back(
                {part, keep(failure.command), failure.code, sentence_of(part, failure.code)});
        }
    }
    if (!is_listed) {
        snapshot.failures.push_back(
            {part, "", number_of(code), sentence_of(part, number_of(code))});
    }
}

std::int32_t find(const Index& index, std::string_view key) {
    const auto found = index.find(std::string(key));
    return found != index.end() ? found->second : ZAV_NONE;
}

std::string place_key(int channel, std::string_view device) {
    return std::to_string(channel).append(" ").append(device);
}

std::uint64_t kernel_size(std::string_view device) {
    if (!is_plain_name(device)) {
        return 0;
    }
    const std::string path = format_text(disk_attribute_path, std::string(device).c_str(), "size");
    const auto sectors = read_attribute_file(path.c_str());
    return sectors ? decimal(*sectors) * Sectors::unit : 0;
}

std::string kernel_name(const char* path) {
    const std::unique_ptr<char, Free> device(::realpath(path, nullptr));
    return device ? std::string(last_component(device.get())) : "";
}

} // namespace zav

using namespace zav;

zav_snapshot* zav_snapshot_take(zav_ctx* ctx, unsigned what, zav_error* error) {
    if (ctx == nullptr || what == 0 || (what & ~unsigned{ZAV_ALL}) != 0) {
        set_error(error, ZAV_E_INVALID_ARGUMENT);
        return nullptr;
    }
    try {
        Session session(ctx->settings, Session::Kind::reading);
        const SessionScope scope(session);
        auto snapshot = std::make_unique<zav_snapshot>();
        SnapshotWork work{*snapshot, session, what, product_model().has_raid_controller};
        work.mounts = read_mounts().value_or(MountTable());
        for (const Part& part : parts) {
            if (work.wants(part.flag)) {
                part.add(work);
            }
        }
        link_back(work);
        set_error(error, ZAV_OK, session);
        return snapshot.release();
    } catch (const std::exception&) {
        set_error(error, ZAV_E_NO_MEMORY);
        return nullptr;
    }
}

void zav_snapshot_free(zav_snapshot* snapshot) {
    delete snapshot;
}

const zav_disk* zav_snapshot_disks(const zav_snapshot* snapshot, size_t* count) {
    return all_of(snapshot, &zav_snapshot::disks, count);
}

const zav_array* zav_snapshot_arrays(const zav_snapshot* snapshot, size_t* count) {
    return all_of(snapshot, &zav_snapshot::arrays, count);
}

const zav_group* zav_snapshot_groups(const zav_snapshot* snapshot, size_t* count) {
    return all_of(snapshot, &zav_snapshot::groups, count);
}

const zav_pool* zav_snapshot_pools(const zav_snapshot* snapshot, size_t* count) {
    return all_of(snapshot, &zav_snapshot::pools, count);
}

const zav_filesystem* zav_snapshot_filesystems(const zav_snapshot* snapshot, size_t* count) {
    return all_of(snapshot, &zav_snapshot::filesystems, count);
}

const zav_share* zav_snapshot_shares(const zav_snapshot* snapshot, size_t* count) {
    return all_of(snapshot, &zav_snapshot::shares, count);
}

const zav_service* zav_snapshot_services(const zav_snapshot* snapshot, size_t* count) {
    return all_of(snapshot, &zav_snapshot::services, count);
}

const zav_failure* zav_snapshot_failures(const zav_snapshot* snapshot, size_t* count) {
    return all_of(snapshot, &zav_snapshot::failures, count);
}

const zav_health* zav_snapshot_health(const zav_snapshot* snapshot) {
    return snapshot != nullptr && snapshot->health ? &*snapshot->health : nullptr;
}
