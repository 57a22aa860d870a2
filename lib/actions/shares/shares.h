// SPDX-License-Identifier: MIT
/// \file
/// What is done with shares: the pool below, the register and the service's files, the service.
/// Every failure is logged with the operation's name; nothing is taken back after one, and
/// restore_share() and repair_share() finish what was left.
///
/// Codes that are not named come from the steps: of pools (pool_operations.h), file systems
/// (fs_operations.h) and files (share_steps.h).
#pragma once

#include "inventory/backups.h"
#include "records/share.h"

#include <cstdint>
#include <string>

namespace zav {

/// Whether the group has room for `size`, which may be 0. 0, error::wrong_pool_group or
/// error::size_not_possible.
int share_space_check(const char* group, std::uint64_t size);

/// Makes a share with a pool of its size and starts its service anew. 0; error::share_exists,
/// error::share_listed, error::share_not_created, error::pool_not_created, error::fs_not_mounted.
int create_share(const share_info& share, const char* group);

/// Deletes a share and its pool. 0; error::no_such_share, error::array_inactive,
/// error::fs_not_unmounted, error::pool_not_removed, error::share_not_deleted.
int delete_share(const char* name);
int del_use_share(const share_info& share, const GroupName& group);
int del_snf_share(const share_info& share, const GroupName& group);
int del_iscsi_share(const share_info& share, const GroupName& group);
int del_forbid_share(const share_info& share, const GroupName& group);

/// Gives a share new texts and access and makes it one in use (state 1) or a forbidden one (0). 0
/// or error::share_not_listed for one that was not where it should have been; error::no_such_share,
/// error::share_not_forbidden, error::share_not_used, error::share_not_edited,
/// error::no_such_group, error::fs_not_mounted, error::fs_not_unmounted.
int edit_share(share_info& share, int state);
int forbid_use_share(share_info& share, std::string_view current_user);
int mod_use_share(const share_info& share);
int mod_forbiden_share(share_info& share);
int set_to_ftp(share_info& share);
int set_to_smbnfs(share_info& share);

/// Registers a share whose pool is there, and mounts it. 0; error::share_not_restored,
/// error::fs_not_mounted.
int restore_share(share_info& share, const char* group);

/// Unmounts a share, repairs its file system, mounts it and registers it. 0; error::no_such_share,
/// error::fs_not_unmounted, error::fs_not_mounted, error::share_not_repaired.
int repair_share(const char* name, std::string_view type, const char* group);

} // namespace zav
