// SPDX-License-Identifier: MIT
/// \file
/// The array list. Discovery changes nothing: it runs commands that only read, and reads files of
/// the kernel.
#pragma once

#include "base/bounded_text.h"
#include "base/codes.h"
#include "base/sink.h"
#include "records/array.h"
#include "records/disk.h"
#include "sources/sys_block.h"

#include <cstddef>
#include <string_view>

namespace zav {

/// Builds the list of all arrays from the sources that the product model has. On failure the list
/// may hold records that are filled in part. Code::ok, or the code of the source that failed;
/// callers report Code::no_array_list.
Code get_mdinfo(mdinfo_list& list, Sink& out);

/// The names of all arrays. Runs cat on /proc/mdstat. Code::ok, Code::command_failed or
/// Code::array_status_unread.
Code get_mdinfo_from_proc(mdinfo_list& list, Sink& out);

/// Level, size and state. Runs mdadm --detail on each array; one that fails is logged and keeps its
/// defaults, and the others are read all the same. Code::ok or Code::array_output_unread.
Code get_mdinfo_from_mdadm(mdinfo_list& list);

/// Members, device and whether the array can run. Builds the disk list and reads
/// /sys/block/<array>/md. Code::ok or Code::array_directory_unread, which ends it at that array.
Code get_mdinfo_from_sysblock(mdinfo_list& list, Sink& out);

/// The progress of rebuilds. Runs cat on /proc/mdstat. Code::ok, Code::command_failed or
/// Code::array_status_unread.
Code get_mdinfo_from_mdstat(mdinfo_list& list, Sink& out);

/// The arrays of the RAID controller. Runs vexadm --display --scan. Code::ok, Code::command_failed
/// or Code::array_output_unread.
Code get_mdinfo_from_vexadm(mdinfo_list& list);

/// The names of all arrays in /proc/partitions, a source for systems without /proc/mdstat. Code::ok
/// or Code::partitions_unread.
Code get_mdinfo_from_partitions(mdinfo_list& list);

/// Copies at most `capacity` - 1 characters of a value of mdadm's details. Code::ok, or
/// Code::array_key_missing, logged.
Code get_mdinfo_type(std::string_view detail, char* destination, std::size_t capacity,
                     const char* key);

/// Reads a member's state file.
DiskState get_disk_state(const char* path, Sink& out);

/// The number in the file; 0 when it cannot be read.
int get_raid_disks(const char* path, Sink& out);

/// Rewrites members and spare of every array from kernel names to channels. Code::ok or
/// Code::no_disk_list.
Code disks_to_ch(mdinfo_list& list, Sink& out);

/// Code::ok for an array that runs, Code::array_inactive, Code::bad_array_name when there is none
/// of that name, Code::no_array_list.
Code check_raid_state(const char* name, Sink& out);

/// The type of an array, or Code::bad_array_name, Code::no_array_list.
Result<BoundedText<8>> get_raid_type(const char* name, Sink& out);

/// Copies the member disks of an array, or of all arrays for a null name, to the list. Code::ok,
/// Code::no_array_list, Code::no_such_array, Code::no_disk_list.
Code get_disks_from_md(const char* name, disk_list& members, Sink& out);

} // namespace zav
