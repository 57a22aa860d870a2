// SPDX-License-Identifier: MIT
/// \file
/// What changes a disk. Both functions return 0 after a failed command too: the failure is in the
/// log, and callers have always gone on.
#pragma once

namespace zav {

/// Makes a disk a global hot spare (mode 1) or an ordinary disk again (mode -1) with the hotspare
/// tool. Any other mode runs nothing and returns mode + 1. A disk without a plain name is logged
/// like a failed command, which is not run.
int hotspare_command(const char* disk, int mode);

/// Clears a disk, named with or without "/dev/", with the diskformat tool. A disk without a plain
/// name is logged like a failed command, which is not run.
int disk_format(const char* disk);

} // namespace zav
