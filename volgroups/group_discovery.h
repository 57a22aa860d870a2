// SPDX-License-Identifier: MIT
/// \file
/// The list of volume groups with their physical volumes. Discovery changes nothing.
#pragma once

#include "volgroups/group_record.h"

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

/// Whether LVM knows a group of that name: 1, 0, or error::group_output_unread. Runs vgdisplay -c
/// with the name.
int check_vgdisplay(const char* name);

} // namespace zav
