// SPDX-License-Identifier: MIT
/// \file
/// What is mounted now.
#pragma once

#include "sources/mounts.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

namespace zav {

/// Reads /proc/mounts. Nothing when it cannot be opened.
std::optional<MountTable> read_mounts();

/// The same; prints that it cannot be opened.
std::optional<MountTable> read_mounts_or_print();

/// The directories that something is mounted on; none when the table cannot be opened.
std::unordered_set<std::string> mounted_directories();

/// 0 when something is mounted on exactly that directory, otherwise -1, also when the table cannot
/// be opened.
int fs_is_mounted(std::string_view directory);

} // namespace zav
