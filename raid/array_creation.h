// SPDX-License-Identifier: MIT
/// \file
/// Making arrays: the checks, the bounds of the levels, the mdadm command.
#pragma once

#include "raid/array_record.h"

#include <string>
#include <string_view>

namespace zav {

/// The word in a new array's state that asks for its initialisation in the foreground.
inline constexpr std::string_view foreground_status = "foreground";

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

/// major * 1,000,000 + minor * 1,000 + patch of a kernel release such as 6.1.0-13-amd64; -1 for a
/// text of another form.
long kernel_version(std::string_view release);

/// The mdadm command that creates an array of the level on a kernel of that version. `disks` is a
/// list of kernel names separated by commas.
std::string create_command_text(const mdinfo& array, std::string_view disks, long kernel);

} // namespace zav
