// SPDX-License-Identifier: MIT
/// \file
/// What diskmanage and disksmart do. A disk is named by its channel, counted from 1, and the device
/// it hangs on; disk_device::main_controller unless the user says otherwise. Each builds the disk
/// list and gives error::no_disk_list when that fails.
#pragma once

namespace zav {

/// Prints the disk listing: all disks, or with a channel of 1 or more that one. 0,
/// error::no_disk_list or error::no_such_disk. Disks whose use cannot be read are listed as free.
int zav_disk_display(int channel, const char* device);

/// Makes a disk a global hot spare (mode 1), which clears it, or an ordinary disk again (mode -1).
/// 0, also when a tool failed; error::no_disk_list, error::no_such_disk, error::disk_in_use,
/// error::already_hotspare, error::no_hotspare (also any other mode) or error::hotspare_unchanged.
int zav_set_hotspare(int channel, int mode, const char* device);

/// Clears a disk, whatever it is used for; in an array it is marked faulty first. Prints which disk
/// it is. 0, also when a tool failed; error::no_disk_list or error::no_such_disk.
int zav_disk_init(int channel, const char* device);

/// Prints the disks, or with a channel of 1 or more that one, with their health; with `detail` with
/// the attributes too. 0, error::no_disk_list, error::no_such_disk or error::no_smart_data.
int zav_disk_smart_display(int channel, const char* device, bool detail);

} // namespace zav
