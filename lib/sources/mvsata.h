// SPDX-License-Identifier: MIT
/// \file
/// The SATA controller: a status file for each group of ports.
#pragma once

#include "records/disk.h"

#include <string_view>

namespace zav {

inline constexpr const char* controller_directory = "/proc/scsi/mvSata";

/// Stands in for it where no driver makes that: only root may write to either of the two.
inline constexpr const char* slots_parent = "/run/zavbox";
inline constexpr const char* slots_directory = "/run/zavbox/mvSata";

/// The name of a file in one of the two, the captured output's path.
inline constexpr char controller_status_command[] = "cat /proc/scsi/mvSata/%s > %s";
inline constexpr char slots_status_command[] = "cat /run/zavbox/mvSata/%s > %s";

/// Adds the disks of one port group's status file to the list. A file without a usable "PCI
/// location" line, and a line without a plain disk name, add nothing.
void parse_controller_status(std::string_view file, disk_list& list);

} // namespace zav
