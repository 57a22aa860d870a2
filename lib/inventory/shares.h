// SPDX-License-Identifier: MIT
/// \file
/// The list of all shares, as the register, the services' files and the kernel tell of them.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "inventory/backups.h"
#include "records/share.h"
#include "sources/mounts.h"

#include <string_view>
#include <vector>

namespace zav {

/// Adds every share to the list. Code::ok; the first step that fails ends it:
/// Code::share_register_unopened, Code::service_file_unopened, Code::exports_unread,
/// Code::targets_unread or Code::command_failed. Reads the register, the services' files, FTP
/// users' homes, /proc/mounts and /proc/net/iet/volume; measures mounted shares; runs cat.
Code collect_shares(share_list& list);

/// Marks the shares that are mounted, and gives the others the comment that they are not. Of
/// namesakes the first is meant; an iSCSI share needs no mount.
void scan_mounts(const MountTable& mounts, share_list& list);

/// For listings: fills in users, access and path of the forbidden shares, by the recycle files. One
/// that cannot be read is logged and left out.
void merge_forbidden_shares(share_list& list);

/// Copies the share of that name. Code::ok, Code::no_such_share or Code::no_share_list.
Code find_share(const char* name, share_info& share);

/// Code::ok when there is no share of that name, Code::share_exists or Code::no_share_list.
Code check_share(const char* name);

/// The groups that have a pool of that name, by lvdisplay -c, in its order; none when what that
/// printed cannot be read, which is logged.
std::vector<GroupName> groups_of_pool(const char* pool);

/// The group of the pool that a share lies on, the first by lvdisplay -c; Code::share_pools_unread
/// or Code::no_such_group.
Result<GroupName> get_vgname_from_lvdisplay(const char* share);

/// Fills the device of each share with the array, or else the disk, that its group lies on. A share
/// without a group is logged and passed over.
void get_share_dev(share_list& list, Sink& out);

} // namespace zav
