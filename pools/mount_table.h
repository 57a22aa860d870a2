// SPDX-License-Identifier: MIT
/// \file
/// What the kernel has mounted, and where.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace zav {

struct Mount {
    std::string device; ///< as the kernel names it, such as /dev/sdf
    std::string directory;
};

using MountTable = std::vector<Mount>;

/// The mounts of a table in the layout of /proc/mounts, in its order.
MountTable parse_mounts(std::string_view table);

/// Reads /proc/mounts. Nothing when it cannot be opened.
std::optional<MountTable> read_mounts();

/// The same; prints that it cannot be opened.
std::optional<MountTable> read_mounts_or_print();

/// The directories that something is mounted on; none when the table cannot be opened.
std::unordered_set<std::string> mounted_directories();

/// The first mount on a directory whose last component is `name`; null when there is none.
const Mount* find_mount_named(const MountTable& mounts, std::string_view name);

/// 0 when something is mounted on exactly that directory, otherwise -1, also when the table cannot
/// be opened.
int fs_is_mounted(std::string_view directory);

} // namespace zav
