// SPDX-License-Identifier: MIT
/// \file
/// The tools that repair file systems.
#pragma once

namespace zav {

// Repair: the tool's directory, the device.
inline constexpr char repair_xfs_command[] = "%s/xfs_repair -L %s > /dev/null";
inline constexpr char repair_reiserfs_command[] = "%s/reiserfsck --fix-fixable  -y %s > /dev/null";

// Of a share: group, pool. Directories and blanks differ from those above, and log readers know it.
inline constexpr char repair_share_reiserfs_local_command[] =
    "/usr/local/bin/reiserfsck  --fix-fixable -y /dev/%s/%s > /dev/null";
inline constexpr char repair_share_reiserfs_command[] =
    "/sbin/reiserfsck  --fix-fixable -y /dev/%s/%s > /dev/null";
inline constexpr char repair_share_xfs_command[] =
    "/usr/local/bin/xfs_repair -L /dev/%s/%s > /dev/null";

} // namespace zav
