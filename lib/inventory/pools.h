// SPDX-License-Identifier: MIT
/// \file
/// The list of pools: every pool operation begins with it.
#pragma once

#include "records/pool.h"

namespace zav {

/// Adds every pool to the list. 0; error::pool_tool_failed, with the list as far as the tool
/// printed it; error::pool_output_unread. Runs lvdisplay -c and builds the group list, without
/// which the pools have no device.
int get_poolinfo_from_lvdisplay(pool_list& list);

/// The same, under the name that callers use.
int pool_list_get(pool_list& list);

/// Whether a pool of that name exists in any group: 1, 0, or error::pools_unread, which is printed.
int check_lvname(const char* name);

/// Whether a group has no pool of that name: 0 when it has, 1 when it has not, or
/// error::group_output_unread. Runs lvdisplay -c for the pool, whose status is only logged.
int check_lvdisplay(const char* group, const char* pool);

} // namespace zav
