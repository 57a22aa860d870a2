// SPDX-License-Identifier: MIT
/// \file
/// What the disks themselves say about their health.
#pragma once

#include "base/codes.h"
#include "records/disk.h"

namespace zav {

enum class SmartMode { summary, detail };

/// Fills in the health of every disk, with SmartMode::detail its attributes too; behind the RAID
/// controller those come from the controller's tool. A virtual disk has none. Of several failures
/// the first code is returned, and the other disks are filled in all the same. Code::ok,
/// Code::command_failed, Code::smart_unread or Code::smart_attributes_unread.
Code fill_smart(disk_list& list, SmartMode mode);

/// The same with all details and one run of smartctl for each disk, whose attributes come with its
/// identity and health. A tool that is missing, or takes too long, is a failure, and asked once:
/// Code::command_failed, logged.
Code fill_smart_at_once(disk_list& list);

/// Runs smartctl on a disk, whose status says more than whether it worked and is not looked at: a
/// missing tool leaves every field empty, as does a disk without a plain name, which is logged like
/// a failed command. Code::ok, Code::command_failed when the output is gone, or Code::smart_unread.
Code get_smart(const char* disk, smart_summary& summary);

/// The same for the attributes, added to the list. Code::ok, Code::command_failed or
/// Code::smart_attributes_unread.
Code get_smart_detail(const char* disk, smart_attribute_list& list);

/// The attributes of the disk with that channel from vexadm, which counts slots from 0. Code::ok,
/// Code::command_failed or Code::smart_attributes_unread.
Code get_smart_from_vexadm(int channel, smart_attribute_list& list);

} // namespace zav
