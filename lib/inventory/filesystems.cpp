// SPDX-License-Identifier: MIT
#include "inventory/filesystems.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/mounts.h"
#include "inventory/pools.h"
#include "platform/models.h"
#include "sources/fstab.h"
#include "sources/mdfstab.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace zav {

namespace {

void fill_from_pool(const pool_info& pool, fs_info& fs) {
    constexpr std::uint64_t mib_in_gib = Gib::unit / Mib::unit;
    fs.status = pool.status;
    fs.ownername = pool.vgname;
    fs.device = pool.device;
    fs.allsize = {pool.allsize.count * mib_in_gib};
    fs.usedsize = {pool.usedsize.count * mib_in_gib};
}

const fs_info* find_pool(const fs_list& list, std::string_view pool) {
    const auto found = std::ranges::find_if(
        list, [pool](const fs_info& fs) { return last_component(fs.name) == pool; });
    return found != list.end() ? &*found : nullptr;
}

} // namespace

const char* repair_directory() {
    return product_model().family->repair_directory;
}

std::string_view product_fs_type() {
    return product_model().fs_type;
}

Code read_register(const char* path, std::string& text) {
    auto content = read_settled(path, path);
    if (!content) {
        // Of the network disks' register too.
        log_error("cannot open %s for %s", mdfstab_path, std::strerror(errno));
        return Code::register_unread;
    }
    text = std::move(*content);
    return Code::ok;
}

bool is_register_missing(const char* path) {
    return ::access(path, F_OK) != 0 && errno == ENOENT;
}

Presence register_has_mount_point(const char* path, std::string_view mntpoint) {
    std::string text;
    return failed(read_register(path, text)) ? Presence::unknown
                                             : presence(register_has(text, mntpoint));
}

Code mdfstab_read(fs_list& list) {
    std::string text;
    const Code result = read_register(mdfstab_path, text);
    parse_mdfstab(text, list);
    return result;
}

Presence mdfstab_has(std::string_view pool) {
    fs_list list;
    return failed(mdfstab_read(list)) ? Presence::unknown
                                      : presence(find_pool(list, pool) != nullptr);
}

Code mdfstab_lookup(std::string_view pool, std::string_view, BoundedText<16>& type,
                    BoundedText<128>& mntpoint) {
    fs_list list;
    const Code result = mdfstab_read(list);
    if (const fs_info* fs = find_pool(list, pool); fs != nullptr) {
        type = fs->fstype.view();
        mntpoint = fs->mntpoint.view();
    }
    return result;
}

// On 32-bit systems too: a file system of 16 TiB has more blocks than 32 bits count.
static_assert(sizeof(std::declval<struct statfs>().f_blocks) == sizeof(std::uint64_t));

void set_sizes(const struct statfs& figures, fs_info& fs) {
    const std::uint64_t block = static_cast<std::uint64_t>(figures.f_bsize) / Kib::unit;
    fs.allsize = whole<Mib>(Kib{figures.f_blocks * block});
    fs.usedsize = whole<Mib>(Kib{(figures.f_blocks - figures.f_bavail) * block});
}

Code mountfs_get(fs_list& list, Sink& out) {
    pool_list pools;
    if (const Code result = pool_list_get(pools, out);
        failed(result) && result != Code::pool_tool_failed) {
        log_failure(result);
        return Code::pool_output_unread;
    }
    std::unordered_map<std::string_view, const pool_info*> pool_of;
    for (const pool_info& pool : pools) {
        pool_of.emplace(pool.name.view(), &pool);
    }
    const auto mounted = mounted_directories();
    for (fs_info& fs : list) {
        const auto pool = pool_of.find(fs.name.view());
        if (pool != pool_of.end()) {
            fill_from_pool(*pool->second, fs);
        }
        if (!mounted.contains(fs.mntpoint.c_str())) {
            fs.status = fs_unmounted;
        } else if (pool == pool_of.end()) {
            fs.status = fs_not_available;
        }
    }
    return Code::ok;
}

} // namespace zav
