// SPDX-License-Identifier: MIT
/// \file
/// The list of pools: every pool operation begins with it.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/pool.h"

namespace zav {

/// Adds every pool to the list. Code::ok; Code::pool_tool_failed, with the list as far as the tool
/// printed it; Code::pool_output_unread. Runs lvdisplay -c and builds the group list, without
/// which the pools have no device.
Code get_poolinfo_from_lvdisplay(pool_list& list, Sink& out);

/// Alias of get_poolinfo_from_lvdisplay().
Code pool_list_get(pool_list& list, Sink& out);

/// Whether a pool of that name exists in any group; unknown, which is printed as
/// Code::pools_unread, when the pools cannot be read, and when lvdisplay fails without it.
Presence check_lvname(const char* name, Sink& out);

/// Whether a group has a pool of that name; unknown when the output cannot be read, which is
/// printed. Runs lvdisplay -c for the pool, whose status is only logged.
Presence check_lvdisplay(const char* group, const char* pool, Sink& out);

/// Whether it is sure that a group has no pool of that name. The same command: one that failed, or
/// printed nothing, knows nothing.
bool is_known_absent(const char* group, const char* pool, Sink& out);

/// Whether it is sure that a pool that could not be removed is gone all the same. The same command,
/// which fails without the pool as well as without LVM: the list of all pools tells them apart.
bool is_known_gone(const char* group, const char* pool, Sink& out);

} // namespace zav
