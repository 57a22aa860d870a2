// SPDX-License-Identifier: MIT
/// \file
/// The parsers of everything that tells about disks. They take text and give records.
#pragma once

#include "disks/disk_record.h"
#include "frame/bounded_text.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// Adds the disks of one port group's status file to the list. A file without a usable "PCI
/// location" line, and a line without a plain disk name, add nothing.
void parse_controller_status(std::string_view file, disk_list& list);

/// Adds the disks of the RAID controller's scan to the list; empty slots are left out.
void parse_controller_scan(std::string_view file, disk_list& list);

/// The names on the "Global hotspare disk" line: at most 16, of at most 5 characters each.
/// Nothing when there is no such line.
std::optional<std::vector<std::string>> parse_hotspare_list(std::string_view file);

/// The whole disks of the kernel's partition table, each once, in its order.
std::vector<std::string> parse_partition_disks(std::string_view file);

/// The device names, without "/dev/", of the mounted file systems that are on SCSI disks.
std::vector<std::string_view> parse_mounted_disks(std::string_view df_output);

} // namespace zav
