// SPDX-License-Identifier: MIT
/// \file
/// What changes volume groups. A failed check changes nothing; a failed LVM command leaves what the
/// ones before it did.
#pragma once

#include "records/disk.h"
#include "records/group.h"

#include <string>

namespace zav {

/// Whether a new group may have that name. Builds the group list. 0, error::group_name_missing,
/// error::group_name_used or the code of get_vginfo().
int check_group_name(const vginfo& group);

/// Whether a new physical volume may be made of `name`: an array, a channel of `device`, or a
/// kernel name beginning with "sd"; for a disk it is rewritten to the kernel name. Builds the array
/// and the group list. 0, error::no_such_volume_disk, error::volume_disk_used,
/// error::no_such_volume_array, error::volume_used, error::no_array_list or the code of
/// get_vginfo().
int check_new_volume(const disk_list& disks, std::string& name, std::string_view device);

/// Creates a group, after both checks, from a record with its name and its physical volumes, each
/// with a name as above and a device. Clears single disks. Runs diskformat, pvcreate, vgcreate. 0,
/// error::no_disk_list, a code of the checks, or error::command_failed; that too, before anything
/// is run, when the last command would not reach the shell whole.
int create_group(vginfo& group);

/// Finds a group that may be deleted in a fresh list of all. 0, error::unknown_group,
/// error::group_has_pools or the code of get_vginfo().
int find_group_to_delete(const char* name, vginfo_list& groups, const vginfo*& group);

/// Removes a group, unchecked, and releases its physical volumes. Runs vgremove, pvremove. 0, also
/// when vgremove failed and every pvremove worked, error::command_failed or error::no_disk_list.
int remove_group(const vginfo& group);

/// Both.
int delete_group(const char* name);

/// Adds a physical volume to a group. Runs pvcreate, vgextend. 0 or error::command_failed.
int extend_group(const char* group, const char* volume);

/// The same after check_new_volume().
int extend_group_checked(const char* group, std::string volume, std::string_view device);

} // namespace zav
