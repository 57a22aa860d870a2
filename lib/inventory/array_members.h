// SPDX-License-Identifier: MIT
/// \file
/// Member lists: between kernel names and channels, and what array operations test them for. They
/// touch nothing.
#pragma once

#include "records/array.h"
#include "records/disk.h"
#include "records/group.h"

#include <string>
#include <string_view>

namespace zav {

/// Translates a list of channels on a device into kernel names, in the order of the disk list. A
/// list that is one kernel name is taken too. The list is rewritten only when just `expected` disks
/// match. Returns how many do.
int ch_to_disks(const disk_list& disks, std::string& list, std::string_view device, int expected);

/// Rewrites members and spare from kernel names to channels, and the state of an array that lacks
/// too many members to inactive.
void members_to_channels(mdinfo& array, const disk_list& disks);

/// Whether an entry of `added` is an entry of `existing` without its mark.
bool lists_overlap(std::string_view existing, std::string_view added);

/// Whether a list of new members or of new spares has an entry of the array's members or spares, or
/// the disk of one.
bool overlaps_array(const mdinfo& existing, std::string_view members, std::string_view spare = "");

/// The entry of a member list that is `name` with or without a mark; empty when there is none.
std::string_view find_member(std::string_view members, std::string_view name);

/// Whether a member is on the disk: the disk itself, or a partition of it.
bool uses_disk(std::string_view members, std::string_view disk);

/// Whether a physical volume of any group, or the disk it is on, is an entry of the list of kernel
/// names.
bool is_used_in_volume(std::string_view list, const vginfo_list& groups, const disk_list& disks);

} // namespace zav
