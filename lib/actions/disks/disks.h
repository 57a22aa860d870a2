// SPDX-License-Identifier: MIT
/// \file
/// What changes a disk. A failed command is in the log and not reported further: callers have
/// always gone on. A disk without a plain name is logged like a failed command, which is not run.
#pragma once

namespace zav {

enum class HotspareMode { remove = -1, none = 0, add = 1 };

/// Makes a disk a global hot spare or an ordinary disk again with the hotspare tool.
void hotspare_command(const char* disk, HotspareMode mode);

/// Clears a disk, named with or without "/dev/", with the diskformat tool.
void disk_format(const char* disk);

} // namespace zav
