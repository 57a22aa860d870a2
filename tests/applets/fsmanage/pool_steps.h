// SPDX-License-Identifier: MIT
// The commands that fsmanage runs for the pool "pool" of the group "data", and its registration.
#pragma once

#include "fixtures/pool_command.h"

namespace zav::test {

inline constexpr auto unmount = "umount /mnt/data/pool > /dev/null";
inline constexpr auto mkdir = "mkdir -m 0444 -p /mnt/data/pool > /dev/null";
inline constexpr auto protect = "chattr  +i /mnt/data/pool > /dev/null";
inline const std::string mount = xfs_mount("/dev/data/pool", "/mnt/data/pool");
inline constexpr auto open_to_all = "chmod 0777 /mnt/data/pool > /dev/null";
inline constexpr auto save = "/usr/local/bin/xconf -s /etc/mdfstab > /dev/null";
inline const std::string line = "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0";

} // namespace zav::test
