// SPDX-License-Identifier: MIT
/// \file
/// The kernel's table of mounts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zav {

inline constexpr const char* mounts_path = "/proc/mounts";

struct Mount {
    std::string device; ///< as the kernel names it, such as /dev/sdf
    std::string directory;

    bool operator==(const Mount&) const = default;
};

using MountTable = std::vector<Mount>;

/// The mounts of the table, in its order.
MountTable parse_mounts(std::string_view table);

/// The first mount on a directory whose last component is `name`; null when there is none.
const Mount* find_mount_named(const MountTable& mounts, std::string_view name);

} // namespace zav
