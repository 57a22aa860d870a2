// SPDX-License-Identifier: MIT
/// \file
/// Every command that the pool code runs. Their uneven blanks and directories are known to those
/// who read logs.
#pragma once

namespace zav {

// Discovery; the last argument is the captured output's path.
inline constexpr const char* lvdisplay_template = "/tmp/lvdisplay.XXXXXX";
// The blank at the end belongs to the text: logs show it.
inline constexpr char lvdisplay_command[] = "/sbin/lvdisplay -c > %s ";
// The same for shares.
inline constexpr char lvdisplay_plain_command[] = "/sbin/lvdisplay -c > %s";
inline constexpr char lvdisplay_pool_command[] = "/sbin/lvdisplay -c %s/%s > %s"; // group, pool

// Pools: size in GiB, pool, group; size, group, pool; group, pool.
inline constexpr char create_pool_command[] = "/sbin/lvcreate -L %lldG -n %s %s > /dev/null";
inline constexpr char extend_pool_command[] = "/sbin/lvextend -L %lldG /dev/%s/%s > /dev/null";
inline constexpr char remove_pool_command[] = "/sbin/lvremove -f %s/%s > /dev/null";

// File systems: group, pool.
inline constexpr char make_reiserfs_command[] = "mkfs.reiserfs -f /dev/%s/%s > /dev/null";
inline constexpr char make_xfs_command[] = "/sbin/mkfs.xfs -f -ssize=4k /dev/%s/%s > /dev/null";

// Repair: the tool's directory, the device.
inline constexpr char repair_xfs_command[] = "%s/xfs_repair -L %s > /dev/null";
inline constexpr char repair_reiserfs_command[] = "%s/reiserfsck --fix-fixable  -y %s > /dev/null";

// Mounts: the program, the type, what is mounted, the mount point; the type, an option, both.
inline constexpr char mount_command[] = "%s -t %s %s %s > /dev/null";
inline constexpr char mount_with_option_command[] = "mount -t %s -o %s %s %s > /dev/null";
inline constexpr char open_to_all_command[] = "chmod 0777 %s > /dev/null";
inline constexpr char unmount_command[] = "umount %s > /dev/null";

// Mount points. Without a mount nobody may write there, not even root.
inline constexpr char make_directory_command[] = "mkdir -m 0444 -p %s > /dev/null";
inline constexpr char protect_directory_command[] = "chattr  +i %s > /dev/null";
inline constexpr char release_directory_command[] = "chattr  -i %s > /dev/null";
inline constexpr char remove_directory_command[] = "rm -rf %s > /dev/null";

} // namespace zav
