// SPDX-License-Identifier: MIT
/// \file
/// The disk record, and the record that listings print.
#pragma once

#include "base/bounded_text.h"
#include "base/lists.h"
#include "base/sink.h"
#include "base/units.h"
#include "records/smart.h"

#include <cstdint>
#include <string_view>

namespace zav {

/// The tags that tell where a disk hangs. Each counts its channels from 1.
namespace disk_device {
inline constexpr const char* main_controller = "0";
/// A disk that only the partition table knows; real disks lose this tag once their model is read.
inline constexpr std::string_view partition_table = "5";
} // namespace disk_device

/// A physical disk.
struct disk_info {
    BoundedText<8> name; ///< of the kernel, such as sda; empty behind the RAID controller
    std::int32_t channel = 0;
    Gib space;
    BoundedText<32> status;
    BoundedText<32> model;
    BoundedText<32> usage; ///< what the RAID controller says the disk is used for
    BoundedText<10> device;
    std::int32_t hotspare = 0; ///< 1 for a global hot spare
    smart_summary smart;
    smart_attribute_list smart_attributes;
    ListLink link;
};

/// A physical disk as the disk listing prints it.
struct display_disk_info {
    BoundedText<8> diskname;
    std::int32_t channel = 0;
    Gib space;
    BoundedText<32> status;
    BoundedText<32> model;
    BoundedText<32> state;
    BoundedText<8> device;
    std::int32_t hotspare = 0;
    std::int32_t use = 0; ///< 1 when in an array, a volume group or a mounted file system
    BoundedText<8> raid;  ///< the array that the disk is in
    ListLink link;
};

using disk_list = RecordList<disk_info>;
using display_disk_list = RecordList<display_disk_info>;

/// The model of a disk that only stands for others: it has no health of its own.
inline constexpr std::string_view virtual_disk_model = "VIRTUAL-DISK";

/// Whether a name may become part of a command: letters and digits, at least one.
bool is_disk_name(std::string_view name);

/// The disk that a device is, or is a partition of: sda for sda1, nvme0n1 for nvme0n1p2, md0 for
/// md0p1. A name of another kind stays as it is.
std::string_view whole_disk_name(std::string_view device);

/// Whether a name of the kernel is that of a disk or of its partition: sd, vd, xvd, nvme,
/// mmcblk.
bool is_kind_of_disk(std::string_view device);

/// Whether the disk, as a record has it, is the one that a device is on.
bool is_whole_disk_of(std::string_view device, std::string_view disk);

/// Whether the disk is what a member or a device text begins with, such as sda of "sda(F)". A disk
/// without a name matches nothing.
bool names_disk(std::string_view text, const disk_info& disk);

/// Adds a copy of the disk, without its SMART data, to the end of a list.
disk_info& append_copy(disk_list& list, const disk_info& disk);

/// Says which disk is about to be cleared.
void disk_place_show(const disk_info& disk, Sink& out);

} // namespace zav
