// SPDX-License-Identifier: MIT
// The commands that netmanage runs for the disk with the label "disk", and its registration.
#pragma once

#include "fixtures/pool_command.h"

namespace zav::test {

inline constexpr auto unmount = "umount /mnt/netdisk/disk > /dev/null";
inline constexpr auto mkdir = "mkdir -m 0444 -p /mnt/netdisk/disk > /dev/null";
inline constexpr auto protect = "chattr  +i /mnt/netdisk/disk > /dev/null";
inline const std::string mount = xfs_mount("-L disk", "/mnt/netdisk/disk");
inline constexpr auto open_to_all = "chmod 0777 /mnt/netdisk/disk > /dev/null";
inline constexpr auto save = "/usr/local/bin/xconf -s /etc/netfstab > /dev/null";
inline const std::string line = "LABEL=disk\t/mnt/netdisk/disk\txfs\tdefaults\t0 0";

} // namespace zav::test
