// SPDX-License-Identifier: MIT
/// \file
/// The disk list: every storage operation begins with it.
#pragma once

#include "records/disk.h"

namespace zav {

/// Builds the list of all disks from the sources that the product model has. The list keeps what
/// was found before a failure. 0, or the code of the step that failed. Reads the identity files,
/// then as the functions below; other rooms report error::no_disk_list when it fails.
int get_disk_list(disk_list& list);

/// Adds the disks of the SATA controller and of the boxes behind it. Runs cat on each status file
/// under /proc/scsi/mvSata. 0, error::controller_directory_unread, error::controller_status_unread
/// or error::command_failed.
int get_diskinfo_from_mvSata(disk_list& list);

/// Reads size, state and model of every disk under /sys/block. Returns 0: a disk whose files cannot
/// be read stays as it is from the first of them on.
int get_diskinfo_from_sysblock(disk_list& list);

/// Marks the global hot spares. Runs hotspare --list. 0, error::command_failed,
/// error::disk_tool_output_unread or error::hotspare_line_missing.
int get_global_hotspare(disk_list& list);

/// Adds the disks behind the RAID controller. Runs vexadm --misc --scan. 0, error::command_failed
/// or error::controller_scan_unread.
int get_diskinfo_from_vexadm(disk_list& list);

/// Adds the whole disks of /proc/partitions that the list lacks, channels counted from 1. A source
/// for systems without a controller. 0 or error::partitions_unread.
int get_diskinfo_from_partitions(disk_list& list);

/// Copies the first disk with that channel and device to the end of `target`; `list` is empty
/// afterwards in every case. 0 or error::no_such_disk.
int find_disk(disk_list& list, disk_list& target, int channel, std::string_view device);

} // namespace zav
