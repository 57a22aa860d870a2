// SPDX-License-Identifier: MIT
/// \file
/// Changing arrays that exist, and asking about one by name. Each operation looks at fresh lists;
/// a failed check changes nothing, and a failed mdadm leaves whatever it did.
#pragma once

#include "base/bounded_text.h"
#include "base/codes.h"
#include "base/sink.h"
#include "records/disk.h"

namespace zav {

/// Adds the disk of a channel on the array's device. Looks at the array's own lists and at the
/// physical volumes, not at other arrays. Runs mdadm --add. Code::ok, Code::unknown_array,
/// Code::wrong_disk, Code::level_without_change, Code::disk_used, Code::command_failed, or the
/// code of a list that cannot be built.
Code add_disk(const char* array, const char* channel, Sink& out);

/// Removes a faulty member by its channel. Runs mdadm -r. Code::ok, Code::unknown_array,
/// Code::wrong_disk, Code::level_without_change, Code::disk_not_faulty, Code::command_failed,
/// Code::no_disk_list or Code::no_array_list.
Code remove_disk(const char* array, const char* channel, Sink& out);

/// Whether an array may be deleted. Code::ok, Code::unknown_array, Code::array_carries_group, or
/// the code of a list that cannot be built.
Code check_delete(const char* name, Sink& out);

/// Stops an array, unchecked. Runs mdadm -S. Code::ok or Code::command_failed.
Code stop_array(const char* name);

/// check_delete(), then stop_array(). Its former members are the caller's to prepare. Runs mdadm
/// -S. Code::ok, Code::unknown_array, Code::array_carries_group, Code::command_failed, or the code
/// of a list that cannot be built.
Code delete_array(const char* name, Sink& out);

/// Marks a member faulty. Runs mdadm -f. The wait status of the command.
WaitStatus fail_disk(const char* array, const char* disk);

} // namespace zav
