// SPDX-License-Identifier: MIT
/// \file
/// What makes, mounts, unmounts and repairs file systems on pools, and the register of them. A
/// failed command gives Code::command_failed, and so does one that is not run since a name or a
/// directory holds what a shell would read; both are logged.
#pragma once

#include "base/codes.h"
#include "base/sink.h"

#include <functional>
#include <string>
#include <string_view>

namespace zav {

/// The device of a pool.
std::string pool_path(const char* group, const char* pool);

/// Makes a file system. Runs mkfs.reiserfs or mkfs.xfs. Code::ok or Code::command_failed.
Code fs_make(const char* pool, const char* group, std::string_view type);

/// Mounts a pool and opens it to everybody. Runs mount, chmod. Code::ok or Code::command_failed.
Code fs_mount(const char* mntpoint, const char* group, const char* pool, std::string_view type);

/// The same for a registered one: with another mount program.
Code fs_mount_typed(const char* mntpoint, const char* group, const char* pool,
                    std::string_view type);

/// What every mount does, on the running kernel. `source` is a path or "-L " and a label. Waits, at
/// most for longest_wait, for the removal of the mount point by another instance; refused after
/// that, and where a user's link would lead the mount elsewhere. One that a link led elsewhere all
/// the same is unmounted there, and has failed.
Code mount_source(const char* mntpoint, const std::string& source, std::string_view type,
                  const char* reiserfs_mount);

/// Runs umount. Code::ok or Code::command_failed.
Code fs_umount(const char* mntpoint);

/// Unmounts everything on directories whose last component is `name`. Code::ok, Code::mounts_unread
/// when the mount table cannot be read, which is printed; Code::command_failed, or
/// Code::fs_not_unmounted for a directory that can be in no command.
Code check_umount(const char* name, Sink& out);

/// Makes a mount point that nobody can write to until something is mounted. Runs mkdir, chattr.
/// Code::ok, Code::command_failed, or Code::fs_not_mounted when a user's link leads there: nothing
/// is run, and nothing may be mounted there.
Code mntdir_create(const char* mntpoint);

/// Removes a mount point with all in it, unless something is mounted there or below. Runs chattr,
/// whose failure is only logged, and rm. No mount there by this program comes in between: it waits
/// for one under way, at most for longest_wait. Code::ok or Code::command_failed, also when
/// refused.
Code mntdir_remove(const char* mntpoint);

/// Registers a pool. Code::ok, mount_point_registered or Code::register_unopened.
Code mdfstab_add(const char* mntpoint, const char* group, const char* pool, std::string_view type);

/// Takes a mount point out of the register. Code::ok, Code::register_unopened or
/// Code::command_failed.
Code mdfstab_remove(const char* mntpoint);

/// Code::ok, or Code::fs_not_unmounted for a mount point of a register that no command may take.
Code check_mount_point(const char* mntpoint);

/// The end of a repair: makes the mount point and, unless something is mounted on a directory whose
/// last component is `name`, mounts with `mount`. Code::ok or Code::fs_not_mounted.
Code mount_repaired(const char* name, const char* mntpoint, const std::function<Code()>& mount);

/// Repairs the file system on a device. Runs xfs_repair or reiserfsck. Code::ok or
/// Code::fs_not_repaired.
Code repair_device(const std::string& device, std::string_view type);

/// Repairs the file system on a pool. Code::ok or Code::fs_not_repaired.
Code fs_repair(const char* pool, const char* group, std::string_view type);

/// Unmounts a registered pool, repairs it and mounts it again. Code::ok; Code::fs_not_unmounted,
/// Code::fs_not_mounted; Code::fs_not_repaired, after which a registered pool is mounted all the
/// same.
Code repair_kor_fs(const char* pool, const char* group, Sink& out);

} // namespace zav
