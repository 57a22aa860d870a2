// SPDX-License-Identifier: MIT
/// \file
/// mdadm: the texts of its commands, and the parsers of what it prints. Double blanks belong to the
/// commands: logs and the front end's tests compare them.
#pragma once

#include "records/array.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

// Details; the last argument is the captured output's path.
inline constexpr char array_detail_command[] = "/sbin/mdadm --detail /dev/%s > %s";
inline constexpr char recover_detail_command[] = "/sbin/mdadm -D /dev/%s > %s";
inline constexpr char examine_command[] = "/sbin/mdadm -E /dev/%s > %s";

// Creation: array, level, number of disks, disks.
inline constexpr char create_with_bitmap_command[] =
    "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384  /dev/%s -l %d -n %d -R %s > /dev/null";
inline constexpr char create_with_bitmap_foreground_command[] =
    "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/%s --fg-init -l %d -n %d -R %s "
    "> /dev/null";
inline constexpr char create_command[] = "/sbin/mdadm -C /dev/%s -l %d -n %d -R %s > /dev/null";
inline constexpr char create_other_command[] =
    "/sbin/mdadm -C  /dev/%s -l %d -n %d -R %s > /dev/null";
inline constexpr char create_foreground_command[] =
    "/sbin/mdadm -C /dev/%s --fg-init -l %d -n %d -R %s > /dev/null";
inline constexpr char create_linear_command[] =
    "/sbin/mdadm -C /dev/%s -l %s -n %d -R %s > /dev/null";

// Changes: array, disk.
inline constexpr char add_disk_command[] = "/sbin/mdadm --manage /dev/%s --add /dev/%s > /dev/null";
inline constexpr char remove_disk_command[] = "/sbin/mdadm --manage /dev/%s -r /dev/%s > /dev/null";
inline constexpr char fail_disk_command[] = "/sbin/mdadm /dev/%s -f /dev/%s";
inline constexpr char stop_command[] = "/sbin/mdadm -S /dev/%s > /dev/null";

/// The word in a new array's state that asks for its initialisation in the foreground.
inline constexpr std::string_view foreground_status = "foreground";

/// The mdadm command that creates an array of the level on a kernel of that version. `disks` is a
/// list of kernel names separated by commas.
std::string create_command_text(const mdinfo& array, std::string_view disks, std::int64_t kernel);

/// The command that creates an array again from the disks it had.
std::string recreate_command_text(std::string_view name, int level, std::string_view disks);

/// Separated by commas.
int count_items(std::string_view list);

/// What mdadm --detail calls its values.
namespace detail_key {
inline constexpr const char* level = "Raid Level";
inline constexpr const char* array_size = "Array Size";
inline constexpr const char* device_size = "Device Size";
inline constexpr const char* state = "State";
inline constexpr const char* raid_devices = "Raid Devices";
} // namespace detail_key

/// The value on the line "key : value", cut at a further ":". Nothing without such a line.
std::optional<std::string_view> parse_detail_value(std::string_view detail, const char* key);

/// Whether the state says that the array is being rebuilt.
bool is_rebuilding(std::string_view status);

/// What a row of the device table says of its place in the array.
struct TableRow {
    std::string path;                  ///< empty for a missing member
    std::optional<std::size_t> number; ///< Number, which members keep when they fail
    std::optional<std::size_t> slot;   ///< RaidDevice, from 0, unless it is no number
    bool has_data = true; ///< not for a spare, or one that is being rebuilt; a faulty one had it
};

/// The device table of an array's details.
struct MemberTable {
    std::vector<std::string> members; ///< paths, such as /dev/sda, in the order of their numbers
    std::size_t hole = 0;             ///< the place of a missing member, from 1; 0 for none
    std::size_t raid_devices = 0;     ///< how many members the array has when it is whole
    std::vector<TableRow> rows = {};  ///< of the members and the hole
};

/// Nothing when the details do not say how many devices there are, or name one by a path that is
/// none of a plain device.
std::optional<MemberTable> parse_member_table(std::string_view detail);

/// In a table that has a hole and all its members, the last one stands in for the missing one:
/// moves it into the hole.
void close_hole(MemberTable& table);

/// How many of the members hold their part of the array, or did until they failed, as far as the
/// table tells.
std::size_t count_with_data(const MemberTable& table);

/// Whether each member, with the gap filled, stands in its slot: a member that replaced another one
/// has its slot and a number of its own. One member whose slot is not told has the slot that is
/// left; of several each has to have its place as its number.
bool is_in_slot_order(const MemberTable& table);

/// Whether the device table of a disk's superblock has a path of the list.
bool superblock_names_one_of(std::string_view examination, const std::vector<std::string>& members);

} // namespace zav
