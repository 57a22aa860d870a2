// SPDX-License-Identifier: MIT
/// \file
/// What changes volume groups. A failed check changes nothing; a failed LVM command leaves what the
/// ones before it did.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/disk.h"
#include "records/group.h"

#include <string>

namespace zav {

/// Whether a new group may have that name. Builds the group list. Code::ok,
/// Code::group_name_missing, Code::group_name_used or the code of get_vginfo().
Code check_group_name(const vginfo& group, Sink& out);

/// Whether a new physical volume may be made of `name`: an array, a channel of `device`, or a
/// kernel name beginning with "sd"; for a disk it is rewritten to the kernel name. Builds the array
/// and the group list. Code::ok, Code::no_such_volume_disk, Code::volume_disk_used,
/// Code::no_such_volume_array, Code::volume_used, Code::no_array_list or the code of
/// get_vginfo().
Code check_new_volume(const disk_list& disks, std::string& name, std::string_view device,
                      Sink& out);

/// Creates a group, after both checks, from a record with its name and its physical volumes, each
/// with a name as above and a device. Clears single disks. Runs diskformat, pvcreate, vgcreate.
/// Code::ok, Code::no_disk_list, a code of the checks, or Code::command_failed; that too, before
/// anything is run, when the last command would not reach the shell whole.
Code create_group(vginfo& group, Sink& out);

/// Finds a group that may be deleted in a fresh list of all. Code::ok, Code::unknown_group,
/// Code::group_has_pools or the code of get_vginfo().
Code find_group_to_delete(const char* name, vginfo_list& groups, const vginfo*& group, Sink& out);

/// Removes a group, unchecked, and releases its physical volumes. Runs vgremove, pvremove.
/// Code::ok, also when vgremove failed and every pvremove worked, Code::command_failed,
/// Code::no_disk_list, or Code::volume_used for a volume that another command uses: nothing is run.
Code remove_group(const vginfo& group, Sink& out);

/// find_group_to_delete(), then remove_group().
Code delete_group(const char* name, Sink& out);

/// Adds a physical volume to a group. Runs pvcreate, vgextend. Code::ok or Code::command_failed.
Code extend_group(const char* group, const char* volume);

/// The same after check_new_volume().
Code extend_group_checked(const char* group, std::string volume, std::string_view device,
                          Sink& out);

} // namespace zav
