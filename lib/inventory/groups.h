// SPDX-License-Identifier: MIT
/// \file
/// The list of volume groups with their physical volumes. Discovery changes nothing.
#pragma once

#include "records/array.h"
#include "records/disk.h"
#include "records/group.h"

namespace zav {

/// Builds the list of all groups. 0, the code of the pass that failed, or
/// error::group_model_unread.
int get_vginfo(vginfo_list& list);

/// The groups. Runs vgdisplay -c. 0, error::command_failed or error::group_output_unread.
int get_vginfo_from_vgdisplay(vginfo_list& list);

/// The physical volumes on arrays and disks. Builds the disk and the array list, runs
/// pvdisplay -c. 0, error::command_failed or error::group_output_unread.
int get_vginfo_from_pvdisplay(vginfo_list& list);

/// The physical volumes on arrays of the RAID controller. As above.
int get_vginfo_from_vexadm(vginfo_list& list);

/// An array has its members' device; a disk has its own, and its channel becomes the name.
void locate_on_disks(pvinfo& volume, vginfo& group, const disk_list& disks, mdinfo_list& arrays);

/// What looks like a disk is an array of the RAID controller.
void locate_on_controller(pvinfo& volume, vginfo& group, const mdinfo_list& arrays);

/// Whether LVM knows a group of that name: 1, 0, or error::group_output_unread. Runs vgdisplay -c
/// with the name.
int check_vgdisplay(const char* name);

} // namespace zav
