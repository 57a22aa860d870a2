// SPDX-License-Identifier: MIT
/// \file
/// The tools that make file systems. Uneven blanks stay: those who read logs compare them.
#pragma once

namespace zav {

// On a pool: group, pool.
inline constexpr char make_reiserfs_command[] = "mkfs.reiserfs -f /dev/%s/%s > /dev/null";
inline constexpr char make_xfs_command[] = "/sbin/mkfs.xfs -f -ssize=4k /dev/%s/%s > /dev/null";

// On a network disk: label, device.
inline constexpr char make_labelled_reiserfs_command[] =
    "mkfs.reiserfs -L %s -f /dev/%s > /dev/null";
inline constexpr char make_labelled_xfs_command[] =
    "/sbin/mkfs.xfs -L %s  -ssize=4k -f /dev/%s > /dev/null";

} // namespace zav
