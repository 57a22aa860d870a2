// SPDX-License-Identifier: MIT
/// \file
/// LVM's backups of its metadata, one file for each group.
#pragma once

#include "records/backup_volume.h"

#include <string>
#include <string_view>

namespace zav {

inline constexpr const char* backup_directory = "/etc/lvm/backup";

/// The file of a group's backup.
std::string backup_path(std::string_view group);

/// Whether a backup has a logical volume of that name.
bool backup_has_pool(std::string_view backup, std::string_view pool);

/// Adds the physical volumes of a backup to the list, in its order. False when it has no section
/// of them.
bool parse_backup_volumes(std::string_view backup, backup_pv_list& list);

} // namespace zav
