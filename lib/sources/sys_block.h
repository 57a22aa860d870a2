// SPDX-License-Identifier: MIT
/// \file
/// /sys/block: the attributes of disks and arrays.
#pragma once

#include <string_view>

namespace zav {

/// An attribute of a disk. The arguments: disk, attribute.
inline constexpr char disk_attribute_path[] = "/sys/block/%s/%s";

/// What the kernel tells of an array. The argument: array.
inline constexpr char array_directory_path[] = "/sys/block/%s/md";

/// The state of an array's member.
enum class DiskState { unreadable = -1, other = 0, faulty = 1, spare = 2, in_sync = 3 };

/// The whole text counts, but for white space at its end: "in_sync,write_mostly" is other.
DiskState parse_member_state(std::string_view text);

/// The name of the disk that an entry of an array's directory stands for; empty for other entries.
std::string_view member_of_entry(std::string_view entry);

} // namespace zav
