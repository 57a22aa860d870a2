// SPDX-License-Identifier: MIT
/// \file
/// The list of volume groups with their physical volumes. Discovery changes nothing.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/array.h"
#include "records/disk.h"
#include "records/group.h"

namespace zav {

/// Builds the list of all groups. Code::ok, the code of the pass that failed, or
/// Code::group_model_unread.
Code get_vginfo(vginfo_list& list, Sink& out);

/// The groups. Runs vgdisplay -c. Code::ok, Code::command_failed or Code::group_output_unread.
Code get_vginfo_from_vgdisplay(vginfo_list& list, Sink& out);

/// The physical volumes on arrays and disks. Builds the disk and the array list, runs
/// pvdisplay -c. Code::ok, Code::command_failed or Code::group_output_unread.
Code get_vginfo_from_pvdisplay(vginfo_list& list, Sink& out);

/// The physical volumes on arrays of the RAID controller. As above.
Code get_vginfo_from_vexadm(vginfo_list& list, Sink& out);

/// An array has its members' device; a disk has its own, and its channel becomes the name.
void locate_on_disks(pvinfo& volume, vginfo& group, const disk_list& disks, mdinfo_list& arrays);

/// What looks like a disk is an array of the RAID controller.
void locate_on_controller(pvinfo& volume, vginfo& group, const mdinfo_list& arrays);

/// Whether LVM knows a group of that name; unknown when the output cannot be read, which is
/// printed. Runs vgdisplay -c with the name.
Presence check_vgdisplay(const char* name, Sink& out);

/// The same for a group that could not be removed. The look-up fails without the group as well as
/// without LVM: the list of all groups tells them apart, and while that fails the group counts as
/// present.
Presence check_removed_group(const char* name, Sink& out);

} // namespace zav
