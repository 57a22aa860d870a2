// SPDX-License-Identifier: MIT
/// \file
/// Bringing back an array that stopped after it lost a member.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// The device table of an array's details.
struct MemberTable {
    std::vector<std::string> members; ///< paths, such as /dev/sda, in the order of the slots
    std::size_t hole = 0;             ///< the place of a missing member, from 1; 0 for none
    std::size_t raid_devices = 0;     ///< how many members the array has when it is whole
};

/// Nothing when the details do not say how many devices there are, or name one by a path that is
/// none of a plain device.
std::optional<MemberTable> parse_member_table(std::string_view detail);

/// In a table that has a hole and all its members, the last one stands in for the missing one:
/// moves it into the hole.
void close_hole(MemberTable& table);

/// Whether the device table of a disk's superblock has a path of the list.
bool superblock_names_one_of(std::string_view examination, const std::vector<std::string>& members);

/// Stops the array and creates it again from its disks in their old order, then lets LVM look for
/// its groups. Prints the members it finds. Runs mdadm -D on the array, -E on every disk that is
/// not a member when one is missing, then -S, -C and vgscan. 0, error::array_details_unread,
/// error::missing_disk_not_found or error::array_not_recovered.
int raid_recover(const char* array, const char* type);

} // namespace zav
