// SPDX-License-Identifier: MIT
/// \file
/// The registered file systems, what is mounted of them, and the type that the appliance makes.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/filesystem.h"

#include <string>
#include <string_view>
#include <sys/statfs.h>

namespace zav {

/// Where this appliance keeps the tools that repair file systems.
const char* repair_directory();

/// The type of the file systems that this appliance makes: "reiserfs" or "xfs", xfs also when its
/// model cannot be read.
std::string_view product_fs_type();

/// A register's text. Code::ok, or Code::register_unread, which is logged.
Code read_register(const char* path, std::string& text);

/// Whether there is no register, so that nothing is registered: not one that cannot be read.
bool is_register_missing(const char* path);

/// Whether a register has a line of that mount point, whatever is mounted there.
Presence register_has_mount_point(const char* path, std::string_view mntpoint);

/// Adds every file system of /etc/mdfstab to the list. Code::ok or Code::register_unread.
Code mdfstab_read(fs_list& list);

/// Whether a pool of that name, in whatever group, is registered.
Presence mdfstab_has(std::string_view pool);

/// Copies the mount point and the type of the first registered pool of that name; without one they
/// stay as they are. The group is not compared: a pool has one mount point.
Code mdfstab_lookup(std::string_view pool, std::string_view group, BoundedText<16>& type,
                    BoundedText<128>& mntpoint);

/// Sets the sizes by the kernel's figures. Blocks of less than 1 KiB count for nothing; what only
/// root may use counts as used.
void set_sizes(const struct statfs& figures, fs_info& fs);

/// Fills in status, group, device and size by the current pools and the mount table. Code::ok or
/// Code::pool_output_unread. Runs what the pool list takes, reads /proc/mounts once.
Code mountfs_get(fs_list& list, Sink& out);

} // namespace zav
