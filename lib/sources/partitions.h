// SPDX-License-Identifier: MIT
/// \file
/// The kernel's partition table: a source for systems without a controller or /proc/mdstat.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zav {

inline constexpr const char* partitions_path = "/proc/partitions";

/// The whole disks of the table, each once, in its order.
std::vector<std::string> parse_partition_disks(std::string_view file);

/// The names of the arrays.
std::vector<std::string> parse_partition_arrays(std::string_view partitions);

} // namespace zav
