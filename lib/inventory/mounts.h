// SPDX-License-Identifier: MIT
/// \file
/// What is mounted now.
#pragma once

#include "base/sink.h"
#include "sources/mounts.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

namespace zav {

/// Reads /proc/mounts. Nothing when it cannot be opened.
std::optional<MountTable> read_mounts();

/// The same; prints that it cannot be opened.
std::optional<MountTable> read_mounts_or_print(Sink& out);

/// The directories that something is mounted on; none when the table cannot be opened.
std::unordered_set<std::string> mounted_directories();

/// Whether something is mounted on exactly that directory; not, when the table cannot be opened.
bool fs_is_mounted(std::string_view directory);

/// The same by a table that has been read.
bool is_mount_point(const MountTable& mounts, std::string_view directory);

} // namespace zav
