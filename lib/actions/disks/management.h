// SPDX-License-Identifier: MIT
/// \file
/// What changes a single disk. It is named by its channel, counted from 1, and the device it hangs
/// on; disk_device::main_controller unless the user says otherwise. Each builds the disk list and
/// gives Code::no_disk_list when that fails.
#pragma once

#include "actions/disks/disks.h"
#include "base/codes.h"
#include "base/sink.h"

namespace zav {

/// Makes a disk a global hot spare (mode 1), which clears it, or an ordinary disk again (mode -1).
/// A disk that is to be cleared is in use, too, when that cannot be told.
/// Code::ok, also when a tool failed; Code::no_disk_list, Code::no_such_disk, Code::disk_in_use,
/// Code::already_hotspare, Code::no_hotspare (also any other mode) or Code::hotspare_unchanged.
Code zav_set_hotspare(int channel, HotspareMode mode, const char* device, Sink& out);

/// Clears a disk, whatever it is used for; in an array it is marked faulty first. Prints which disk
/// it is. Code::ok, also when a tool failed; Code::no_disk_list, Code::no_such_disk, or
/// Code::disk_in_use while another command has claimed it.
Code zav_disk_init(int channel, const char* device, Sink& out);

} // namespace zav
