// SPDX-License-Identifier: MIT
/// \file
/// Bringing back an array that stopped after it lost a member.
#pragma once

#include "base/codes.h"
#include "base/sink.h"

namespace zav {

/// Stops the array and creates it again from its disks in their old order, then lets LVM look for
/// its groups. Prints the members it finds. Runs mdadm -D on the array, -E on every disk that is
/// not a member when one is missing, then -S, -C and vgscan. Code::ok; Code::array_details_unread,
/// before the array is stopped also when it runs with all its members, when there are not just as
/// many disks as it has slots, or when another command uses one of them;
/// Code::missing_disk_not_found or Code::array_not_recovered.
Code raid_recover(const char* array, const char* type, Sink& out);

} // namespace zav
