// SPDX-License-Identifier: MIT
/// \file
/// What the disk listing shows beyond the disks themselves: which of them are in use, and where.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/disk.h"

#include <string_view>

namespace zav {

/// Adds a display record of every disk to the listing, then marks the disks that are in an array,
/// a volume group or a mounted file system. Always Code::ok: an annotation that fails is logged
/// and left out.
Code add_disk_list_info(const disk_list& disks, display_disk_list& listing, Sink& out);

/// The same, for those who act on it. False when an annotation failed, or found less than there
/// must be: a disk that is not marked may be in use then.
bool mark_disks_in_use(const disk_list& disks, display_disk_list& listing, Sink& out);

/// Whether the kernel holds a device, named as under /dev: a member of an array, an active physical
/// volume, mounted, swap; of a disk, one of its partitions too; or that cannot be told. Runs
/// nothing.
bool is_held_by_kernel(std::string_view device);

/// Marks the members of arrays. Builds the array list. Code::ok or Code::no_array_list.
Code add_disk_list_mdinfo(display_disk_list& listing, Sink& out);

/// Marks the disks that are physical volumes. Builds the group list. Code::ok or
/// Code::no_group_list.
Code add_disk_list_vginfo(display_disk_list& listing, Sink& out);

/// Marks the disks with mounted file systems. Runs df. Code::ok, Code::command_failed or
/// Code::disk_tool_output_unread.
Code get_diskinfo_from_df(display_disk_list& listing);

} // namespace zav
