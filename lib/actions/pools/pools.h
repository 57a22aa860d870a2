// SPDX-License-Identifier: MIT
/// \file
/// What makes, grows and removes pools. Names are plain names, not paths; sizes are GiB. Every
/// check reads the lists anew. A failed command gives error::command_failed, and so does a name
/// that can be in no command, which is logged and not run.
#pragma once

#include <cstdint>

namespace zav {

/// Whether the pool is in the group and, unless `size` is 0, smaller than that. Every pool of that
/// name in front of it in the list is measured too, whatever its group. 0,
/// error::pool_name_missing, error::wrong_pool_group, error::size_not_possible or
/// error::no_such_pool.
int pool_check(const char* pool, const char* group, std::int32_t size);

/// Whether the group has no pool of that name. 0, error::pool_name_missing or
/// error::pool_name_used.
int pool_name_check(const char* pool, const char* group);

/// How much of a group is not allocated. 0 or error::wrong_pool_group.
int vg_room(const char* group, std::uint64_t& room);

/// Whether the group has room for `size`, which is not 0. 0, error::wrong_pool_group or
/// error::size_not_possible.
int vg_space_check(const char* group, std::uint64_t size);

/// Makes a pool. Runs lvcreate. 0, vg_space_check()'s or pool_name_check()'s code, or
/// error::command_failed.
int pool_create(const char* pool, const char* group, std::uint64_t size);

/// Makes a pool larger; the group needs room for the whole new size. Runs lvextend. 0,
/// pool_check()'s or vg_space_check()'s code, or error::command_failed.
int pool_extend(const char* pool, const char* group, std::uint64_t size);

/// Removes a pool. Runs lvremove. 0, pool_check()'s code or error::command_failed.
int pool_remove(const char* pool, const char* group);

} // namespace zav
