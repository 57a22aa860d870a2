// SPDX-License-Identifier: MIT
// Groups, pools, file systems and network disks.
#include "api/snapshot.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/groups.h"
#include "inventory/netdisks.h"
#include "inventory/pools.h"
#include "sources/mdfstab.h"
#include "sources/netfstab.h"

#include <algorithm>
#include <sys/statvfs.h>

namespace zav {

namespace {

zav_volume volume_of(SnapshotWork& work, const pvinfo& volume) {
    const std::string_view device = whole_disk_name(volume.name);
    zav_volume shown = {work.keep(volume.name), find(work.arrays, device), ZAV_NONE,
                        in_bytes(volume.size), in_bytes(volume.used)};
    if (shown.array != ZAV_NONE) {
        return shown;
    }
    // On a disk of its own the volume has the disk's channel for its name, on a partition, or where
    // the disk could not be looked up, the kernel's.
    shown.disk = find(work.disks, device);
    if (shown.disk == ZAV_NONE && !volume.device.empty()) {
        shown.disk = find(work.places, place_key(decimal_int(volume.name), volume.device));
    }
    return shown;
}

void add_group(SnapshotWork& work, const vginfo& group) {
    const auto index = static_cast<std::int32_t>(work.snapshot.groups.size());
    auto& volumes = work.snapshot.volumes.emplace_back();
    for (const pvinfo& volume : group.physical_volumes) {
        volumes.push_back(volume_of(work, volume));
        if (volumes.back().array != ZAV_NONE) {
            work.snapshot.arrays[static_cast<std::size_t>(volumes.back().array)].group = index;
        }
    }
    zav_group shown = {};
    shown.name = work.keep(group.name);
    shown.state_text = work.keep(group.status);
    shown.device = work.keep(group.device);
    shown.size_bytes = in_bytes(group.allsize);
    shown.used_bytes = in_bytes(group.usedsize);
    shown.volumes = volumes.empty() ? nullptr : volumes.data();
    shown.volume_count = volumes.size();
    work.snapshot.groups.push_back(shown);
    work.groups.emplace(group.name.view(), index);
}

void add_pool(SnapshotWork& work, const pool_info& pool) {
    const auto index = static_cast<std::int32_t>(work.snapshot.pools.size());
    const std::string device = kernel_name(pool.name.c_str());
    const std::uint64_t exact = kernel_size(device);
    zav_pool shown = {};
    shown.path = work.keep(pool.name);
    shown.name = work.keep(last_component(pool.name));
    shown.group = find(work.groups, pool.vgname);
    shown.size_bytes = exact != 0 ? exact : in_bytes(pool.allsize);
    shown.is_available = pool.status == fs_available ? 1 : 0;
    shown.filesystem = ZAV_NONE;
    work.snapshot.pools.push_back(shown);
    work.pools.emplace(pool.name.view(), index);
    if (!device.empty()) {
        work.devices.emplace(device, index);
    }
}

/// Measures a file system that is mounted. False when it cannot be used.
bool measure(const fs_info& fs, zav_filesystem& shown) {
    struct statvfs figures = {};
    if (::statvfs(fs.mntpoint.c_str(), &figures) != 0) {
        return false;
    }
    shown.size_bytes = std::uint64_t{figures.f_blocks} * figures.f_frsize;
    shown.used_bytes = std::uint64_t{figures.f_blocks - figures.f_bavail} * figures.f_frsize;
    return (figures.f_flag & ST_RDONLY) == 0;
}

void add_filesystem(SnapshotWork& work, const fs_info& fs, bool is_netdisk) {
    const auto index = static_cast<std::int32_t>(work.snapshot.filesystems.size());
    zav_filesystem shown = {};
    shown.is_netdisk = is_netdisk ? 1 : 0;
    shown.name = work.keep(fs.name);
    shown.pool = is_netdisk ? ZAV_NONE : find(work.pools, fs.name);
    shown.mount_point = work.keep(fs.mntpoint);
    shown.type = work.keep(fs.fstype);
    if (fs.status == fs_unmounted) {
        shown.state = ZAV_FILESYSTEM_UNMOUNTED;
        shown.size_bytes = in_bytes(fs.allsize);
    } else {
        const bool is_usable = measure(fs, shown) && fs.status == fs_available;
        shown.state = is_usable ? ZAV_FILESYSTEM_AVAILABLE : ZAV_FILESYSTEM_UNUSABLE;
    }
    if (shown.pool != ZAV_NONE) {
        zav_pool& pool = work.snapshot.pools[static_cast<std::size_t>(shown.pool)];
        pool.filesystem = index;
        shown.size_bytes = shown.size_bytes != 0 ? shown.size_bytes : pool.size_bytes;
    }
    work.snapshot.filesystems.push_back(shown);
    work.mount_points.emplace(fs.mntpoint.view(), index);
}

} // namespace

void add_groups(SnapshotWork& work) {
    vginfo_list groups;
    const Code result = get_vginfo(groups, work.out);
    for (const vginfo& group : groups) {
        add_group(work, group);
    }
    work.end_part("groups", result);
}

void add_pools(SnapshotWork& work) {
    pool_list pools;
    const Code result = pool_list_get(pools, work.out);
    for (const pool_info& pool : pools) {
        add_pool(work, pool);
    }
    work.end_part("pools", result);
}

void add_filesystems(SnapshotWork& work) {
    if (is_register_missing(mdfstab_path)) {
        return;
    }
    fs_list list;
    Code result = mdfstab_read(list);
    if (!failed(result)) {
        result = mountfs_get(list, work.out);
    }
    for (const fs_info& fs : list) {
        add_filesystem(work, fs, false);
    }
    work.end_part("filesystems", result);
}

void add_netdisks(SnapshotWork& work) {
    if (is_register_missing(netfstab_path)) {
        return;
    }
    fs_list list;
    const Code result = netfs_list_get(list, work.out);
    for (const fs_info& fs : list) {
        add_filesystem(work, fs, true);
    }
    work.end_part("netdisks", result);
}

} // namespace zav
