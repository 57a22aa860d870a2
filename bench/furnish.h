// SPDX-License-Identifier: MIT
// Large machines for the benchmarks.
#pragma once

#include "machine.h"

#include <string>

namespace zav::bench {

inline constexpr int array_count = 16;
inline constexpr int group_count = 8; // of two arrays each
inline constexpr int pool_count = 64;

std::string disk_name(int number);
std::string array_name(int number);

/// A disk belongs to one array: sixteen arrays have one each.
void furnish_arrays(test::Machine& machine);

/// The same with pools, every one registered and mounted.
void furnish_pools(test::Machine& machine);

/// The directory that a pool is mounted on.
std::string pool_directory(int pool);

} // namespace zav::bench
