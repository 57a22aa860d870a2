// SPDX-License-Identifier: MIT
/// \file
/// Making arrays: the checks, the bounds of the levels, the mdadm command.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/array.h"

#include <string>
#include <string_view>

namespace zav {

/// Creates an array from a record with name, type, members (channels as typed), spare (the same),
/// device, and foreground_status or nothing as status. An empty name becomes md0, or the number
/// behind the highest that exists. A failed check changes nothing.
///
/// Builds the lists of disks, arrays and groups; runs diskformat on each disk, then mdadm -C.
/// Code::ok, Code::unknown_raid_type, Code::wrong_disk, Code::array_name_used, Code::disk_used,
/// Code::wrong_disk_count, Code::bad_array_name, Code::command_failed, Code::no_disk_list,
/// Code::no_array_list or the code of get_vginfo().
Code create_array(mdinfo& array, Sink& out);

/// Creates an array of the named disks, without checks: Code::wrong_disk_count when the level
/// does not take so many, Code::command_failed when mdadm fails or the command would not reach it
/// whole, in which case no disk is prepared.
Code run_create_command(const mdinfo& array, std::string_view disks);

/// Creates a stopped array again from the disks it had. Prepares no disk, uses no bitmap. Code::ok,
/// Code::wrong_disk_count, or Code::command_failed as above.
Code run_recreate_command(std::string_view name, std::string_view type, std::string_view disks);

} // namespace zav
