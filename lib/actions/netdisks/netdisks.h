// SPDX-License-Identifier: MIT
/// \file
/// What makes, mounts, deletes and repairs network disks, and the register of them. Each step is
/// that of a pool with a label in place of the device. A failed command, or one that is not run
/// since a name in it is not plain, gives Code::command_failed.
#pragma once

#include "base/codes.h"
#include "base/sink.h"

#include <string>
#include <string_view>

namespace zav {

/// The directory that a network disk is mounted on.
std::string netfs_mount_point(const char* label);

/// Makes a file system on a device, named as under /dev, unless the kernel holds it. Runs
/// mkfs.reiserfs or mkfs.xfs. Code::ok or Code::command_failed.
Code netfs_make(const char* label, const char* device, std::string_view type);

/// Mounts the disk of that label and opens it to everybody. Runs mount, chmod. Code::ok or
/// Code::command_failed.
Code netfs_mount(const char* mntpoint, const char* label, std::string_view type);

/// The same for a registered one: with another mount program.
Code netfs_mount_typed(const char* mntpoint, const char* label, std::string_view type);

/// Repairs the file system on a device, such as /dev/sdf. Runs xfs_repair or reiserfsck. Code::ok
/// or Code::fs_not_repaired, also without a device, when nothing is run.
Code netfs_repair(const std::string& device, std::string_view type);

/// Registers a network disk. Code::ok, mount_point_registered or Code::register_unopened.
Code netfstab_add(const char* mntpoint, const char* label, std::string_view type);

/// Takes a mount point out of the register. Code::ok, Code::register_unopened or
/// Code::command_failed.
Code netfstab_remove(const char* mntpoint);

/// Makes, registers and mounts a network disk. Code::ok; Code::fs_not_made, also when the kernel or
/// another command uses the device; Code::fs_not_mounted; Code::register_unopened for one that is
/// mounted, but not registered.
Code create_netfs(const char* label, const char* device);

/// Unmounts a network disk, takes it out of the register and clears its device, if it was mounted
/// and nothing else uses it. Code::ok, also when the device is not cleared, or
/// Code::fs_not_unmounted.
Code delete_netfs(const char* label, Sink& out);

/// Unmounts a registered network disk, repairs it and mounts it again. Code::ok;
/// Code::fs_not_unmounted, also when another command uses the disk, Code::fs_not_mounted;
/// Code::fs_not_repaired, after which a registered disk is mounted all the same.
Code repair_kor_netfs(const char* label, Sink& out);

} // namespace zav
