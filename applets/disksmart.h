// SPDX-License-Identifier: MIT
/// \file
/// Disks with their health, as disksmart prints them.
#pragma once

#include "records/disk.h"

namespace zav {

/// Prints one disk, and its SMART data unless it is a virtual disk.
void disk_show(const disk_info& disk);

/// Prints the summary block of one disk.
void smart_summary_show(const smart_summary& summary);

/// Prints one attribute's row.
void smart_attribute_show(const smart_attribute& attribute);

} // namespace zav
