// SPDX-License-Identifier: MIT
/// \file
/// What makes, grows and removes pools. Names are plain names, not paths. Every
/// check reads the lists anew. A failed command gives Code::command_failed, and so does a name
/// that can be in no command, which is logged and not run.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "base/system_lock.h"
#include "base/units.h"

namespace zav {

/// Whether the pool is in the group and, unless `size` is 0, smaller than that. Every pool of that
/// name in front of it in the list is measured too, whatever its group. Code::ok,
/// Code::pool_name_missing, Code::wrong_pool_group, Code::size_not_possible or
/// Code::no_such_pool.
Code pool_check(const char* pool, const char* group, Gib size, Sink& out);

/// Whether the group has no pool of that name. Code::ok, Code::pool_name_missing or
/// Code::pool_name_used. Pools that cannot be listed are omitted.
Code pool_name_check(const char* pool, const char* group, Sink& out);

/// How much of a group is not allocated, or Code::wrong_pool_group.
Result<Gib> vg_room(const char* group, Sink& out);

/// Whether the group has room for `size`, which is not 0. Code::ok, Code::wrong_pool_group or
/// Code::size_not_possible.
Code vg_space_check(const char* group, Gib size, Sink& out);

/// Makes a pool. Runs lvcreate. Code::ok, vg_space_check()'s or pool_name_check()'s code,
/// Code::pool_not_created when another instance is creating a pool of that name, or
/// Code::command_failed.
Code pool_create(const char* pool, const char* group, Gib size, Sink& out);

/// The same for a pool that gets a file system, which would wipe one that was there before:
/// Code::pool_name_used also when the pools cannot be listed or there is a device of that name,
/// Code::pool_not_created when the name cannot be locked, before anything is made, and when
/// lvcreate failed and no list of pools had told that there was none. Keep `name`, the lock, until
/// the file system is made: what another instance makes under it meanwhile would be wiped.
Code pool_create_to_format(const char* pool, const char* group, Gib size, SystemLock& name,
                           Sink& out);

/// Makes a pool larger; the group needs room for the whole new size. Runs lvextend. Code::ok,
/// pool_check()'s or vg_space_check()'s code, or Code::command_failed.
Code pool_extend(const char* pool, const char* group, Gib size, Sink& out);

/// Removes a pool. Runs lvremove. Code::ok, pool_check()'s code or Code::command_failed.
Code pool_remove(const char* pool, const char* group, Sink& out);

/// The same for a caller to whom a pool that is not there is as good as removed: Code::ok then.
/// Code::pool_not_removed when the pools cannot be listed: it may be there.
Code pool_remove_if_any(const char* pool, const char* group, Sink& out);

} // namespace zav
