// SPDX-License-Identifier: MIT
/// \file
/// The parsers of everything that tells about arrays. They take text and give records.
#pragma once

#include "disks/disk_record.h"
#include "raid/array_record.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zav {

/// What mdadm --detail calls its values.
namespace detail_key {
inline constexpr const char* level = "Raid Level";
inline constexpr const char* array_size = "Array Size";
inline constexpr const char* device_size = "Device Size";
inline constexpr const char* state = "State";
inline constexpr const char* raid_devices = "Raid Devices";
} // namespace detail_key

/// The names of the arrays in /proc/mdstat.
std::vector<std::string> parse_mdstat_names(std::string_view mdstat);

/// The names of the arrays in /proc/partitions.
std::vector<std::string> parse_partition_arrays(std::string_view partitions);

/// The value on the line "key : value", cut at a further ":". Nothing without such a line.
std::optional<std::string_view> parse_detail_value(std::string_view detail, const char* key);

/// Whole gigabytes of a size in KB, rounded half up.
std::uint64_t kilobytes_to_gigabytes(std::uint64_t kilobytes);

/// Whether the state says that the array is being rebuilt.
bool is_rebuilding(std::string_view status);

/// The progress of the rebuilds that /proc/mdstat shows, by array.
class RebuildProgress {
  public:
    explicit RebuildProgress(std::string_view mdstat);

    /// Such as 12.6%(12.00MB/s); empty when none is shown for the array.
    [[nodiscard]] std::string of(std::string_view array) const;

  private:
    std::unordered_map<std::string_view, std::string_view> progress_lines_;
};

/// Adds the arrays of the RAID controller's scan to the list.
void parse_controller_arrays(std::string_view file, mdinfo_list& list);

/// Rewrites members and spare from kernel names to channels, and the state of an array that lacks
/// too many members to inactive.
void members_to_channels(mdinfo& array, const disk_list& disks);

} // namespace zav
