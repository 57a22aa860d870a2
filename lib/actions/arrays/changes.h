// SPDX-License-Identifier: MIT
/// \file
/// Changing arrays that exist, and asking about one by name. Each operation looks at fresh lists;
/// a failed check changes nothing, and a failed mdadm leaves whatever it did.
#pragma once

#include "base/bounded_text.h"
#include "records/disk.h"

namespace zav {

/// Adds the disk of a channel on the array's device. Looks at the array's own lists and at the
/// physical volumes, not at other arrays. Runs mdadm --add. 0, error::unknown_array,
/// error::wrong_disk, error::level_without_change, error::disk_used, error::command_failed, or the
/// code of a list that cannot be built.
int add_disk(const char* array, const char* channel);

/// Removes a faulty member by its channel. Runs mdadm -r. 0, error::unknown_array,
/// error::wrong_disk, error::level_without_change, error::disk_not_faulty, error::command_failed,
/// error::no_disk_list or error::no_array_list.
int remove_disk(const char* array, const char* channel);

/// Whether an array may be deleted. 0, error::unknown_array, error::array_carries_group, or the
/// code of a list that cannot be built.
int check_delete(const char* name);

/// Stops an array, unchecked. Runs mdadm -S. 0 or error::command_failed.
int stop_array(const char* name);

/// Both. Its former members are the caller's to prepare. Runs mdadm -S. 0,
/// error::unknown_array, error::array_carries_group, error::command_failed, or the code of a list
/// that cannot be built.
int delete_array(const char* name);

/// Marks a member faulty. Runs mdadm -f. The wait status of the command.
int fail_disk(const char* array, const char* disk);

} // namespace zav
