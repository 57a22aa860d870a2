// SPDX-License-Identifier: MIT
/// \file
/// What fsmanage does to file systems, each on a pool of its own.
#pragma once

#include "actions/commands/pools.h"
#include "base/codes.h"
#include "base/sink.h"

namespace zav::commands {

/// Makes a pool with a file system, mounts and registers it. Code::bad_group_name, Code::bad_size,
/// Code::pool_name_taken, Code::pool_not_created, Code::fs_not_made, Code::fs_not_mounted, or a
/// code of pool_create_to_format() or mdfstab_add().
Code create_filesystem(const PoolArguments& arguments, Sink& out);

/// Unmounts a registered file system and removes it with its pool. Code::ok, also for one that is
/// not registered, which is logged; Code::bad_group_name, Code::register_unread,
/// Code::fs_not_unmounted, Code::pool_not_removed, or a code of handle_abnorm_raid() or
/// pool_remove_if_any().
Code remove_filesystem(const PoolArguments& arguments, Sink& out);

/// Repairs a file system. Code::bad_pool_name, Code::bad_group_name, or a code of repair_kor_fs().
Code repair_filesystem(const PoolArguments& arguments, Sink& out);

} // namespace zav::commands
