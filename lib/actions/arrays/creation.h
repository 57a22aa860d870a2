// SPDX-License-Identifier: MIT
/// \file
/// Making arrays: the checks, the bounds of the levels, the mdadm command.
#pragma once

#include "records/array.h"

#include <string>
#include <string_view>

namespace zav {

/// Creates an array from a record with name, type, members (channels as typed), spare (the same),
/// device, and foreground_status or nothing as status. An empty name becomes md0, or the number
/// behind the highest that exists. A failed check changes nothing.
///
/// Builds the lists of disks, arrays and groups; runs diskformat on each disk, then mdadm -C.
/// 0, error::unknown_raid_type, error::wrong_disk, error::array_name_used, error::disk_used,
/// error::wrong_disk_count, error::bad_array_name, error::command_failed, error::no_disk_list,
/// error::no_array_list or the code of get_vginfo().
int create_array(mdinfo& array);

/// Creates an array of the named disks, without checks: error::wrong_disk_count when the level
/// does not take so many, error::command_failed when mdadm fails or the command would not reach it
/// whole, in which case no disk is prepared.
int run_create_command(const mdinfo& array, std::string_view disks);

/// Creates a stopped array again from the disks it had. Prepares no disk, uses no bitmap. 0,
/// error::wrong_disk_count, or error::command_failed as above.
int run_recreate_command(std::string_view name, std::string_view type, std::string_view disks);

} // namespace zav
