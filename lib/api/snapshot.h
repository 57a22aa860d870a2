// SPDX-License-Identifier: MIT
/// \file
/// The snapshot of the C interface, and how it is put together: each part by the functions of the
/// inventory that the commands' lists come from.
#pragma once

#include "base/codes.h"
#include "base/session.h"
#include "base/sink.h"
#include "records/disk.h"
#include "sources/mounts.h"
#include "zav/snapshot.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zav {

using Links = std::vector<std::uint32_t>;

} // namespace zav

struct zav_snapshot {
    std::vector<zav_disk> disks;
    std::vector<zav_array> arrays;
    std::vector<zav_group> groups;
    std::vector<zav_pool> pools;
    std::vector<zav_filesystem> filesystems;
    std::vector<zav_share> shares;
    std::vector<zav_service> services;
    std::vector<zav_failure> failures;
    std::optional<zav_health> health;

    // What the records point to. Nothing in it moves when more is added.
    std::deque<std::string> texts;
    std::deque<zav::Links> links;
    std::deque<std::vector<zav_smart_attribute>> attributes;
    std::deque<std::vector<zav_member>> members;
    std::deque<std::vector<zav_volume>> volumes;
};

namespace zav {

/// Records by their names.
using Index = std::unordered_map<std::string, std::int32_t>;

/// A snapshot that is being taken.
struct SnapshotWork {
    zav_snapshot& snapshot;
    Session& session;
    unsigned what;
    bool has_raid_controller;
    SilentSink out = {};

    Index disks = {};  ///< by the kernel's names
    Index places = {}; ///< disks by place_key()
    Index arrays = {};
    Index groups = {};
    Index pools = {};        ///< by their paths
    Index devices = {};      ///< pools by the kernel's names of their devices
    Index mount_points = {}; ///< registered file systems by where they are mounted
    MountTable mounts = {};

    [[nodiscard]] bool wants(unsigned part) const { return (what & part) != 0; }

    /// A text that lives as long as the snapshot.
    const char* keep(std::string_view text);
    zav_links keep(Links links);

    /// Ends a part: lists all that could not be read since the part before, and `code`, unless it
    /// is that of something listed.
    void end_part(const char* part, Code code);
};

/// ZAV_NONE when there is none.
std::int32_t find(const Index& index, std::string_view key);

/// Channel and device, which tell a disk without a name.
std::string place_key(int channel, std::string_view device);

/// The size that the kernel gives for a block device, in bytes; 0 when it gives none.
std::uint64_t kernel_size(std::string_view device);

/// The name of the kernel for what a path below /dev leads to, such as "dm-3"; empty when it leads
/// nowhere.
std::string kernel_name(const char* path);

// The parts, in their order.
void add_disks(SnapshotWork& work);
void add_arrays(SnapshotWork& work);
void add_groups(SnapshotWork& work);
void add_pools(SnapshotWork& work);
void add_filesystems(SnapshotWork& work);
void add_netdisks(SnapshotWork& work);
void add_shares(SnapshotWork& work);
void add_services(SnapshotWork& work);
void add_health(SnapshotWork& work);

/// The links that lead back: what is on a disk, a group, a pool, a file system.
void link_back(SnapshotWork& work);

} // namespace zav
