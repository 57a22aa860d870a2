// SPDX-License-Identifier: MIT
// Shares: what is registered, what the services' files have, and what each lies on.
#include "api/snapshot.h"
#include "base/change_journal.h"
#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/shares.h"
#include "platform/services.h"
#include "records/share_index.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>

namespace zav {

namespace {

struct ServiceKind {
    std::string_view name;
    zav_service_kind kind;
};

constexpr std::array<ServiceKind, 4> kinds = {{{share_type::samba, ZAV_SERVICE_SAMBA},
                                               {share_type::nfs, ZAV_SERVICE_NFS},
                                               {share_type::ftp, ZAV_SERVICE_FTP},
                                               {share_type::iscsi, ZAV_SERVICE_ISCSI}}};

zav_service_kind kind_of(std::string_view type) {
    const std::string_view first = cut_at(type, ",");
    const auto* found = std::ranges::find_if(
        kinds, [first](const ServiceKind& kind) { return equal_ignoring_case(kind.name, first); });
    return found != kinds.end() ? found->kind : ZAV_SERVICE_NONE;
}

/// A share's entries in the services' files.
using ServedNames = std::unordered_set<std::string>;

struct ServedShares {
    share_list entries;
    ServedNames names;                            ///< each as "service name"
    std::unordered_set<std::string_view> unclear; ///< services whose file cannot be read as a whole
};

std::string served_key(std::string_view service, std::string_view name) {
    return std::string(service).append(" ").append(name);
}

/// What the file of one service has.
Code read_served(const Service& service, ServedShares& served) {
    const auto text = read_settled(service.live.path, share_register_path);
    if (!text) {
        if (errno == ENOENT) {
            return Code::ok;
        }
        served.unclear.insert(service.name);
        return log_return(Code::service_file_unopened);
    }
    share_list entries;
    const FileCode result = service.live.parse(*text, entries);
    for (const share_info& entry : entries) {
        served.names.insert(served_key(service.name, lookup_name(entry)));
        share_info& copy = served.entries.append(std::make_unique<share_info>(entry));
        copy.name = lookup_name(entry);
    }
    if (failed(result)) {
        served.unclear.insert(service.name);
        return log_return(Code::share_file_malformed);
    }
    return Code::ok;
}

/// What all files have. The first failure.
Code read_served(ServedShares& served) {
    Code first_failure = Code::ok;
    for (const Service& service : services()) {
        if (service.live.path != nullptr) {
            const Code result = read_served(service, served);
            first_failure = failed(first_failure) ? first_failure : result;
        }
    }
    return first_failure;
}

bool is_served(const share_info& share, const ServedShares& served) {
    const auto types = split(share.type, ",");
    return std::ranges::any_of(types, [&](std::string_view type) {
        const Service* service = find_service(type);
        return service == nullptr || service->live.path == nullptr ||
               served.unclear.contains(service->name) ||
               served.names.contains(served_key(service->name, share.name));
    });
}

zav_share_state state_of(const share_info& share, bool is_registered, const ServedShares& served) {
    return !is_registered             ? ZAV_SHARE_NOT_REGISTERED
           : share.type.empty()       ? ZAV_SHARE_FORBIDDEN
           : is_served(share, served) ? ZAV_SHARE_SERVED
                                      : ZAV_SHARE_NOT_SERVED;
}

/// The look-ups of shares' places, each made once.
struct Places {
    std::unordered_map<std::string_view, std::string_view>
        devices;                                                  ///< by mount point, the last one
    std::unordered_map<std::string_view, std::int32_t> namesakes; ///< pools; ZAV_NONE for several
    std::vector<std::optional<zav_links>> disks;                  ///< of the groups

    explicit Places(const SnapshotWork& work) : disks(work.snapshot.groups.size()) {
        for (const Mount& mount : work.mounts) {
            devices.insert_or_assign(mount.directory, mount.device);
        }
        for (std::size_t at = 0; at < work.snapshot.pools.size(); ++at) {
            const auto [place, is_first] =
                namesakes.emplace(work.snapshot.pools[at].name, static_cast<std::int32_t>(at));
            place->second = is_first ? place->second : ZAV_NONE;
        }
    }
};

std::int32_t pool_of_device(const SnapshotWork& work, std::string_view device) {
    const std::int32_t pool = find(work.pools, device);
    return pool != ZAV_NONE ? pool : find(work.devices, kernel_name(std::string(device).c_str()));
}

/// The pool that a share without a registered file system lies on: its path is the pool's device,
/// or is where that is mounted, or it is the only pool that is named like the share.
std::int32_t pool_of(const SnapshotWork& work, const Places& places, const share_info& share) {
    const std::string_view path = share.path;
    std::int32_t pool = ZAV_NONE;
    if (path.starts_with(device_directory)) {
        pool = pool_of_device(work, path);
    } else if (const auto mount = places.devices.find(path); mount != places.devices.end()) {
        pool = pool_of_device(work, mount->second);
    }
    const auto namesake = places.namesakes.find(share.name);
    return pool == ZAV_NONE && namesake != places.namesakes.end() ? namesake->second : pool;
}

/// The file system whose mount point is the nearest above a folder.
std::int32_t filesystem_of(const SnapshotWork& work, std::string_view folder) {
    std::int32_t found = ZAV_NONE;
    while (folder.size() > 1 && found == ZAV_NONE) {
        found = find(work.mount_points, folder);
        const std::size_t slash = folder.rfind('/');
        folder = folder.substr(0, slash != std::string_view::npos ? slash : 0);
    }
    return found;
}

void find_place(const SnapshotWork& work, const Places& places, const share_info& share,
                zav_share& shown) {
    shown.pool = ZAV_NONE;
    shown.filesystem = filesystem_of(work, share.path);
    const zav_filesystem* filesystem =
        shown.filesystem != ZAV_NONE
            ? &work.snapshot.filesystems[static_cast<std::size_t>(shown.filesystem)]
            : nullptr;
    if (filesystem != nullptr && filesystem->is_netdisk != 0) {
        return;
    }
    shown.pool = filesystem != nullptr ? filesystem->pool : ZAV_NONE;
    if (shown.pool == ZAV_NONE) {
        shown.pool = pool_of(work, places, share);
    }
    if (shown.pool != ZAV_NONE && shown.filesystem == ZAV_NONE) {
        shown.filesystem = work.snapshot.pools[static_cast<std::size_t>(shown.pool)].filesystem;
    }
}

void add_volume(const SnapshotWork& work, const zav_volume& volume,
                std::set<std::uint32_t>& disks) {
    if (volume.disk != ZAV_NONE) {
        disks.insert(static_cast<std::uint32_t>(volume.disk));
    }
    if (volume.array == ZAV_NONE) {
        return;
    }
    const zav_array& array = work.snapshot.arrays[static_cast<std::size_t>(volume.array)];
    for (std::size_t at = 0; at < array.member_count; ++at) {
        const zav_member& member = array.members[at];
        const bool holds_data = member.state != ZAV_MEMBER_SPARE;
        if (member.disk != ZAV_NONE && holds_data) {
            disks.insert(static_cast<std::uint32_t>(member.disk));
        }
    }
}

/// The disks below a pool: which of its group's volumes it lies on is not told, so those of all.
zav_links disks_of(SnapshotWork& work, Places& places, std::int32_t pool) {
    const std::int32_t group =
        pool != ZAV_NONE ? work.snapshot.pools[static_cast<std::size_t>(pool)].group : ZAV_NONE;
    if (group == ZAV_NONE) {
        return {nullptr, 0};
    }
    auto& known = places.disks[static_cast<std::size_t>(group)];
    if (!known) {
        std::set<std::uint32_t> disks;
        const zav_group& below = work.snapshot.groups[static_cast<std::size_t>(group)];
        for (std::size_t at = 0; at < below.volume_count; ++at) {
            add_volume(work, below.volumes[at], disks);
        }
        known = work.keep(Links(disks.begin(), disks.end()));
    }
    return *known;
}

void add_share(SnapshotWork& work, Places& places, const share_info& share, zav_share_state state,
               const share_info* registered) {
    const bool is_unmounted = share.comment == unmounted_comment;
    zav_share shown = {};
    shown.name = work.keep(share.name);
    shown.service = kind_of(share.type);
    shown.service_text = work.keep(share.type);
    shown.state = state;
    shown.path = work.keep(share.path);
    shown.comment = work.keep(!is_unmounted           ? share.comment.view()
                              : registered != nullptr ? registered->comment.view()
                                                      : "");
    shown.users = work.keep(share.users);
    shown.is_read_only = share.write == 0 ? 1 : 0;
    shown.is_mounted = is_unmounted ? 0 : 1;
    find_place(work, places, share, shown);
    shown.disks = disks_of(work, places, shown.pool);
    work.snapshot.shares.push_back(shown);
}

/// The entries of the services' files that the list of shares lacks, as they are not registered.
void add_unregistered(SnapshotWork& work, Places& places, share_list& list, ServedShares& served) {
    const ShareIndex known = first_shares(
        list, [](const share_info&) { return true; }, name_of);
    share_list unregistered;
    for (const share_info& entry : served.entries) {
        if (find(known, entry.name) == nullptr) {
            unregistered.append(std::make_unique<share_info>(entry));
        }
    }
    scan_mounts(work.mounts, unregistered);
    for (share_info& entry : unregistered) {
        add_share(work, places, entry, ZAV_SHARE_NOT_REGISTERED, nullptr);
    }
}

} // namespace

void add_shares(SnapshotWork& work) {
    // Of a share that moves from one file to the other, each alone would tell something wrong.
    const FileDescriptor lock = FileDescriptor::open(share_register_path, O_RDONLY);
    ignore(lock && lock_for_reading(lock.get()));
    share_list list;
    Code result = collect_shares(list);
    merge_forbidden_shares(list);
    share_list registered;
    scan_register(read_settled(share_register_path, share_register_path).value_or(""),
                  register_services(), registered);
    ServedShares served;
    const Code served_result = read_served(served);
    result = failed(result) ? result : served_result;
    Places places(work);
    const ShareIndex by_name = first_shares(
        registered, [](const share_info&) { return true; }, name_of);
    for (const share_info& share : list) {
        const share_info* entry = find(by_name, share.name);
        add_share(work, places, share, state_of(share, entry != nullptr, served), entry);
    }
    add_unregistered(work, places, list, served);
    work.end_part("shares", result);
}

} // namespace zav
