// SPDX-License-Identifier: MIT
/// \file
/// The parsers of what the LVM tools print. They take text and give records; fields are separated
/// by ":", and of a line of more than 255 characters only the first 255 are looked at.
#pragma once

#include "disks/disk_record.h"
#include "raid/array_record.h"
#include "volgroups/group_record.h"

#include <functional>
#include <string_view>

namespace zav {

/// Adds the groups of vgdisplay -c to the list. Lines without fields are the tool's remarks.
void parse_vgdisplay(std::string_view output, vginfo_list& list);

/// Tells a physical volume whose short name (md0, sdc) is in place its device and final name, and
/// its group the device.
using LocateVolume = std::function<void(pvinfo& volume, vginfo& group)>;

/// Adds the physical volumes of pvdisplay -c to the groups that they name. Lines of unknown groups
/// are passed over.
void parse_pvdisplay(std::string_view output, vginfo_list& list, const LocateVolume& locate);

/// An array has its members' device; a disk has its own, and its channel becomes the name.
void locate_on_disks(pvinfo& volume, vginfo& group, const disk_list& disks, mdinfo_list& arrays);

/// What looks like a disk is an array of the RAID controller.
void locate_on_controller(pvinfo& volume, vginfo& group, const mdinfo_list& arrays);

/// Whether vgdisplay -c printed a line of that group.
bool has_group_line(std::string_view output, std::string_view name);

} // namespace zav
