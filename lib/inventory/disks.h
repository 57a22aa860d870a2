// SPDX-License-Identifier: MIT
/// \file
/// The disk list: every storage operation begins with it.
#pragma once

#include "base/codes.h"
#include "base/log.h"
#include "base/sink.h"
#include "records/disk.h"

#include <functional>

namespace zav {

/// Builds the list of all disks from the sources that the product model has. The list keeps what
/// was found before a failure. Code::ok, or the code of the step that failed. Reads the identity
/// files, then as the functions below; callers report Code::no_disk_list when it fails.
Code get_disk_list(disk_list& list, Sink& out);

/// The same with `claim` in between, once the disks have their names and before it is asked which
/// are hot spares: of one that is claimed any later that may have changed.
Code get_claimed_disk_list(disk_list& list, const std::function<void(const disk_list&)>& claim,
                           Sink& out);

/// Adds the disks of the SATA controller and of the boxes behind it. Runs cat on each status file
/// under /proc/scsi/mvSata, or under /run/zavbox/mvSata where the former does not exist and the
/// latter is root's alone. Code::ok, Code::controller_directory_unread,
/// Code::controller_status_unread or Code::command_failed.
Code get_diskinfo_from_mvSata(disk_list& list);

/// Reads size, state and model of every disk under /sys/block. Code::ok: a disk whose files cannot
/// be read stays as it is from the first of them on.
Code get_diskinfo_from_sysblock(disk_list& list);

/// Marks the global hot spares. Runs hotspare --list. Code::ok, Code::command_failed,
/// Code::disk_tool_output_unread or Code::hotspare_line_missing.
Code get_global_hotspare(disk_list& list);

/// Adds the disks behind the RAID controller. Runs vexadm --misc --scan. Code::ok,
/// Code::command_failed or Code::controller_scan_unread.
Code get_diskinfo_from_vexadm(disk_list& list, Sink& out);

/// Adds the whole disks of /proc/partitions that the list lacks, channels counted from 1. A source
/// for systems without a controller. Code::ok or Code::partitions_unread.
Code get_diskinfo_from_partitions(disk_list& list, Sink& out);

/// Copies the first disk with that channel and device to the end of `target`; `list` is empty
/// afterwards in every case. Code::ok or Code::no_such_disk.
Code find_disk(disk_list& list, disk_list& target, int channel, std::string_view device);

/// Where it is logged that the disks asked for cannot be had: support knows these places by
/// function and number.
struct DiskSites {
    LogSite no_list;
    LogSite no_disk;
};

/// Finds the disk with that channel, counted from 1, and device in a new disk list. Code::ok,
/// Code::no_disk_list or Code::no_such_disk.
Code get_disk(disk_list& found, int channel, const char* device, const DiskSites& sites, Sink& out);

/// The same with `claim` in between, as get_claimed_disk_list().
Code get_claimed_disk(disk_list& found, int channel, const char* device, const DiskSites& sites,
                      const std::function<void(const disk_info&)>& claim, Sink& out);

/// The same; for a channel below 1 all disks.
Code get_disks(disk_list& found, int channel, const char* device, const DiskSites& sites,
               Sink& out);

} // namespace zav
