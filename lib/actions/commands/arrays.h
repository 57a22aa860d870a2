// SPDX-License-Identifier: MIT
/// \file
/// What mdmanage does to arrays.
#pragma once

#include "base/codes.h"
#include "base/sink.h"

namespace zav::commands {

struct NewArrayArguments {
    const char* name = nullptr;
    const char* level = nullptr;
    const char* device = nullptr;
    const char* channels = nullptr;
    bool is_made_at_once = false; ///< the parity, before anything is written to the array
};

/// Makes an array under a reservation of its name. Code::bad_array_name, Code::bad_raid_level,
/// Code::bad_device, Code::bad_channel, Code::name_not_reserved, Code::array_not_created, or a code
/// of create_array(); but Code::command_failed, which is not in the log, says that mdadm failed and
/// the array is there.
Code create_array(const NewArrayArguments& arguments, Sink& out);

struct MemberArguments {
    const char* array = nullptr;
    const char* channel = nullptr;
};

/// Adds a disk to an array. Code::bad_array_name, Code::bad_channel, Code::disk_not_added, or a
/// code of check_raid_state() or add_disk().
Code add_member(const MemberArguments& arguments, Sink& out);

/// Removes a faulty disk from an array. Code::bad_array_name, Code::bad_channel,
/// Code::disk_not_removed, or a code of remove_disk().
Code remove_member(const MemberArguments& arguments, Sink& out);

/// Brings back an array that stopped. Code::bad_array_name, or a code of raid_recover().
Code recover_array(const char* name, Sink& out);

/// Stops an array and clears its disks. Code::bad_array_name, Code::array_not_stopped, or a code of
/// get_disks_from_md() or check_delete().
Code remove_array(const char* name, Sink& out);

} // namespace zav::commands
