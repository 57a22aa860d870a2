// SPDX-License-Identifier: MIT
/// \file
/// mount and umount.
#pragma once

#include <string>
#include <string_view>

namespace zav {

// Mounts: the program, the type, what is mounted, the mount point; the type, an option, both.
inline constexpr char mount_command[] = "%s -t %s %s %s > /dev/null";
inline constexpr char mount_with_option_command[] = "mount -t %s -o %s %s %s > /dev/null";
inline constexpr char unmount_command[] = "umount %s > /dev/null";

/// The command of a mount under a kernel of that release: `source` is what stands for the device,
/// `reiserfs_mount` the program that mounts ReiserFS. Any other type is XFS.
std::string mount_text(const char* mntpoint, const std::string& source, std::string_view type,
                       const char* reiserfs_mount, std::string_view release);

} // namespace zav
