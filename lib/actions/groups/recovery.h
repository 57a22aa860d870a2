// SPDX-License-Identifier: MIT
/// \file
/// Brings a volume group back far enough that LVM lets go of it: RAM disks take the places of
/// physical volumes that are missing or on arrays that broke, then LVM's backup is restored. What
/// was on them is lost; groups and pools are brought back so only to be deleted.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "inventory/backups.h"

#include <string_view>

namespace zav {

/// Finds the group that had the pool, copies its name and brings it back. Code::ok, also when no
/// backup has the pool and `group` stays as it was; Code::array_inactive when it cannot be brought
/// back.
Code handle_abnorm_raid(const char* pool, GroupName& group, Sink& out);

/// Brings a group back. Code::ok, also without a backup of it; Code::array_inactive, printed and
/// logged.
Code vg_raid_resume(const char* group, Sink& out);

/// The work of both, on the text of a backup. Prints "vg restore: %s\n" with whether anything was
/// restored. Runs pvdisplay; for an array that broke mdadm -f and dd; pvcreate and vgcfgrestore.
/// Code::live_volumes_unread; Code::volume_gone when a volume has moved, its array is gone, or
/// the group's name can be in no command; the same, before any command, when an array would be
/// given up that the kernel does not show as lost, or that another command uses;
/// Code::no_substitute when there is no RAM disk.
Code raid_restore(std::string_view backup, const char* group, Sink& out);

} // namespace zav
