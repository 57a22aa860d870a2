// SPDX-License-Identifier: MIT
/// \file
/// What lvmanage does to pools.
#pragma once

#include "base/codes.h"
#include "base/sink.h"

namespace zav::commands {

/// Of a pool, and of the file system on one.
struct PoolArguments {
    const char* name = nullptr;
    const char* size = nullptr; ///< in GiB; only of a new one
    const char* group = nullptr;
};

/// Makes a pool. Code::bad_pool_name, Code::bad_size, Code::bad_group_name, Code::pool_name_taken,
/// Code::pool_not_created, or a code of pool_create().
Code create_pool(const PoolArguments& arguments, Sink& out);

/// Removes a pool with what is on it. Code::bad_pool_name, Code::bad_group_name,
/// Code::pool_not_removed, or a code of vg_raid_resume() or pool_remove().
Code remove_pool(const PoolArguments& arguments, Sink& out);

} // namespace zav::commands
