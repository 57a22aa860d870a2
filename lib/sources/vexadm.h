// SPDX-License-Identifier: MIT
/// \file
/// The tool of the RAID controller: its disks, its arrays, the health of its disks.
#pragma once

#include "records/array.h"
#include "records/disk.h"
#include "records/smart.h"

#include <string_view>

namespace zav {

// The captured output's path; the slot, counted from 0, and the path.
inline constexpr char controller_scan_command[] = "/usr/local/bin/vexadm --misc --scan > %s";
inline constexpr char controller_arrays_command[] = "/usr/local/bin/vexadm --display --scan > %s";
inline constexpr char controller_attributes_command[] =
    "/usr/local/bin/vexadm --misc -s -i %d > %s";

/// Adds the disks of the RAID controller's scan to the list; empty slots are left out.
void parse_controller_scan(std::string_view file, disk_list& list);

/// Adds the arrays of the RAID controller's scan to the list.
void parse_controller_arrays(std::string_view file, mdinfo_list& list);

/// Adds the chosen attributes of a disk to the list, at most seven: one line an attribute, its
/// name, a colon, then value, worst, threshold and raw value as far as they are there; one of them
/// may be in parentheses.
void parse_controller_attributes(std::string_view output, smart_attribute_list& list);

} // namespace zav
