// SPDX-License-Identifier: MIT
/// \file
/// What the disk listing shows beyond the disks themselves: which of them are in use, and where.
#pragma once

#include "records/disk.h"

namespace zav {

/// Adds a display record of every disk to the listing, then marks the disks that are in an array,
/// a volume group or a mounted file system. Always returns 0: an annotation that fails is logged
/// and left out.
int add_disk_list_info(const disk_list& disks, display_disk_list& listing);

/// Marks the members of arrays. Builds the array list. 0 or error::no_array_list.
int add_disk_list_mdinfo(display_disk_list& listing);

/// Marks the disks that are physical volumes. Builds the group list. 0 or error::no_group_list.
int add_disk_list_vginfo(display_disk_list& listing);

/// Marks the disks with mounted file systems. Runs df. 0, error::command_failed or
/// error::disk_tool_output_unread.
int get_diskinfo_from_df(display_disk_list& listing);

} // namespace zav
