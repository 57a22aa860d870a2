// SPDX-License-Identifier: MIT
/// \file
/// What changes a disk. A failed command is in the log and not reported further: callers have
/// always gone on. For a disk without a plain name the command is refused.
#pragma once

#include <string_view>

namespace zav {

enum class HotspareMode { remove = -1, none = 0, add = 1 };

/// Makes a disk a global hot spare or an ordinary disk again with the hotspare tool.
void hotspare_command(const char* disk, HotspareMode mode);

/// Clears a disk, named with or without "/dev/", with the diskformat tool.
void disk_format(const char* disk);

/// The same unless the kernel holds the disk, or `reason` says why it must not be cleared; the
/// command is refused then.
void disk_format_unless(const char* disk, std::string_view reason = {});

/// Why a disk that the kernel holds must not be cleared.
inline constexpr const char* held_by_kernel = "the kernel holds the device";

} // namespace zav
