// SPDX-License-Identifier: MIT
/// \file
/// The parsers of what tells about a volume group that broke: LVM's backup of its metadata, and the
/// physical volumes that LVM sees now. They take text and give records.
#pragma once

#include "recovery/recovery_record.h"

#include <optional>
#include <string_view>

namespace zav {

/// Whether a backup has a logical volume of that name.
bool backup_has_pool(std::string_view backup, std::string_view pool);

/// Adds the physical volumes of a backup to the list, in its order. 0, or -1 when it has no section
/// of them.
int parse_backup_volumes(std::string_view backup, backup_pv_list& list);

/// Adds the physical volumes of pvdisplay -c to the list.
void parse_live_volumes(std::string_view output, live_pv_list& list);

} // namespace zav
