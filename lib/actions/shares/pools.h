// SPDX-License-Identifier: MIT
/// \file
/// The pool under a share, as the share operations need it. A share's pool has its name; its mount
/// point is made of group and name, whatever a file says.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "inventory/backups.h"
#include "records/share.h"

#include <string>
#include <string_view>

namespace zav {

/// Where a share of that service is mounted; for iSCSI the device that it exports.
std::string share_path(std::string_view type, const char* group, const char* name);

/// Whether the path that a share is registered with is that of its pool in another group.
bool is_path_of_other_group(const char* pool, std::string_view path, std::string_view group);

/// The group of a share's pool, by the pool list. A share's own pool is in the group that the
/// register of mounts has for `path`, which the share is registered with; else in the one that
/// `path` names, or that the register of mounts has for the share's place below the home of the FTP
/// users; when nothing tells, in the only group that has a pool of that name. Empty when there is
/// no such pool, when only other groups have one, or when the group's name can be in no command;
/// the last two are logged. Code::no_such_group, logged with the groups, when several have one and
/// nothing tells; Code::pool_output_unread; Code::pool_tool_failed when the tool failed without
/// listing the pool.
Result<GroupName> find_pool_group(const char* pool, std::string_view path, Sink& out);

/// The same by LVM's list and its backups together, for a pool that is to be mounted. A list that
/// fails counts as empty. Code::no_such_group.
Result<GroupName> find_group_to_mount(const char* pool, std::string_view path, Sink& out);

/// The same for a share whose pool is to be deleted, and whose group is brought back as far as that
/// takes. Also Code::no_such_group when nothing tells, and the register of mounts has the only pool
/// of the name for another mount point; Code::share_pools_unread; Code::array_inactive.
Result<GroupName> bring_back_group(const share_info& share, std::string_view path, Sink& out);

/// Makes the mount point, mounts the pool there and registers it. Code::ok; Code::fs_not_mounted,
/// also when a part of the path below the users' home is a link; or Code::register_unopened.
Code mount_share(const share_info& share, const char* group, std::string_view type);

/// The same as the product's type at the mount point of Samba and NFS, whatever the share's
/// service; where something is mounted on a directory of the share's name it is only registered.
Code mount_missing_share(const share_info& share, const char* group);

/// The same as the product's type at the share's own mount point; where something is mounted on a
/// directory of the share's name nothing more is mounted, and a mount point that is in use is left
/// alone.
Code mount_again(const share_info& share, const char* group);

/// Takes the mount point out of the register and removes it. Without a group it only logs that,
/// except for an FTP share, whose mount point needs none. Code::ok, or unregister_mount_point()'s
/// code: the mount point stays then as well.
Code unregister_mount(const share_info& share, const GroupName& group);

/// Takes a mount point out of the register. Code::ok, or a code of mdfstab_remove(); a failure
/// counts unless the register is known not to have the mount point.
Code unregister_mount_point(const std::string& mntpoint);

/// Unmounts what is mounted there, removes the mount point and takes it out of the register.
/// Code::ok; Code::command_failed when what is mounted stays; unregister_mount_point()'s code.
Code give_up_mount_point(const std::string& mntpoint);

/// The same below the home of the FTP users, when a share of that name is mounted or registered
/// there: a forbidden one is within nobody's reach. Also Code::mounts_unread.
Code leave_ftp_directory(const char* name);

/// The same, only when a share of that name is known to be mounted or registered there.
Code leave_ftp_directory_if_any(const char* name);

/// Removes the pool; nothing without a group. Code::ok, also when there was none;
/// Code::pool_not_removed, also for one that is only missing in the list of a tool that failed; or
/// pool_check()'s code.
Code remove_share_pool(const share_info& share, const GroupName& group, Sink& out);

/// Repairs the file system on a share's pool. A failure is only logged.
void repair_share_fs(const char* name, const char* group);

} // namespace zav
