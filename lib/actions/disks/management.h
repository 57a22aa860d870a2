// SPDX-License-Identifier: MIT
/// \file
/// What diskmanage and disksmart do. A disk is named by its channel, counted from 1, and the device
/// it hangs on; disk_device::main_controller unless the user says otherwise. Each builds the disk
/// list and gives Code::no_disk_list when that fails.
#pragma once

#include "actions/disks/disks.h"
#include "base/codes.h"
#include "base/sink.h"
namespace zav {

/// Prints the disk listing: all disks, or with a channel of 1 or more that one. 0,
/// Code::no_disk_list or Code::no_such_disk. Disks whose use cannot be read are listed as free.
Code zav_disk_display(int channel, const char* device, Sink& out);

/// Makes a disk a global hot spare (mode 1), which clears it, or an ordinary disk again (mode -1).
/// 0, also when a tool failed; Code::no_disk_list, Code::no_such_disk, Code::disk_in_use,
/// Code::already_hotspare, Code::no_hotspare (also any other mode) or Code::hotspare_unchanged.
Code zav_set_hotspare(int channel, HotspareMode mode, const char* device, Sink& out);

/// Clears a disk, whatever it is used for; in an array it is marked faulty first. Prints which disk
/// it is. 0, also when a tool failed; Code::no_disk_list or Code::no_such_disk.
Code zav_disk_init(int channel, const char* device, Sink& out);

/// Prints the disks, or with a channel of 1 or more that one, with their health; with `detail` with
/// the attributes too. 0, Code::no_disk_list, Code::no_such_disk or Code::no_smart_data.
Code zav_disk_smart_display(int channel, const char* device, bool detail, Sink& out);

} // namespace zav
