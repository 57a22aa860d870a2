// SPDX-License-Identifier: MIT
/// \file
/// What is done with shares: the pool below, the register and the service's files, the service.
/// Every failure is logged with the operation's name. The share files are locked before anything
/// else is changed, and are changed all or none; what was done before a later failure stays, and
/// the same operation again, restore_share() or repair_share() finish it.
///
/// Codes that are not named come from the steps: of pools (pools/pools.h, shares/pools.h), file
/// systems (filesystems/filesystems.h) and files (shares/steps.h).
#pragma once

#include "actions/shares/files.h"
#include "base/codes.h"
#include "base/sink.h"
#include "inventory/backups.h"
#include "records/share.h"

#include <cstdint>
#include <string>

namespace zav {

/// Whether the group has room for `size`, which may be 0. Code::ok, Code::wrong_pool_group or
/// Code::size_not_possible.
Code share_space_check(const char* group, Gib size, Sink& out);

/// Makes a share with a pool of its size and starts its service anew. Code::ok; Code::share_exists,
/// Code::share_listed, Code::share_not_created, Code::pool_not_created, Code::fs_not_mounted.
Code create_share(const share_info& share, const char* group, Sink& out);

/// Deletes a share and its pool. Code::ok; Code::no_such_share, Code::array_inactive,
/// Code::no_such_group, Code::fs_not_unmounted, Code::pool_not_removed, Code::share_not_deleted.
Code delete_share(const char* name, Sink& out);
Code del_use_share(ShareFiles& files, const share_info& share, const GroupName& group, Sink& out);
Code del_snf_share(ShareFiles& files, const share_info& share, const GroupName& group, Sink& out);
Code del_iscsi_share(ShareFiles& files, const share_info& share, const GroupName& group, Sink& out);
Code del_forbid_share(ShareFiles& files, const share_info& share, const GroupName& group,
                      Sink& out);

/// Gives a share new texts and access and makes it one in use (state 1) or a forbidden one (0).
/// Code::ok or Code::share_not_listed for one that was not where it should have been;
/// Code::edit_mode_invalid for one in use by another service than the given; Code::no_such_share,
/// Code::share_not_forbidden, Code::share_not_used, Code::share_not_edited, Code::no_such_group,
/// Code::fs_not_mounted, Code::fs_not_unmounted.
Code edit_share(share_info& share, int state, Sink& out);
/// The ways to do it, each with what is open of the files: the register at least, or why it is not.
Code forbid_use_share(ShareFiles& files, share_info& share, const share_info& current);
Code mod_use_share(ShareFiles& files, const share_info& share);
Code mod_forbiden_share(ShareFiles& files, share_info& share);
Code set_to_ftp(ShareFiles& files, share_info& share, Sink& out);
Code set_to_smbnfs(ShareFiles& files, share_info& share, Sink& out);

/// Registers a share whose pool is there, and mounts it; a forbidden one stays that, and out of the
/// FTP users' reach. Code::ok; Code::share_not_restored,
/// Code::fs_not_mounted.
Code restore_share(share_info& share, const char* group);

/// Unmounts a share, repairs its file system, mounts it, a forbidden one out of the FTP users'
/// reach, and registers it. Code::ok; Code::no_such_share, Code::fs_not_unmounted,
/// Code::fs_not_mounted, Code::share_not_repaired.
Code repair_share(const char* name, std::string_view type, const char* group, Sink& out);

} // namespace zav
