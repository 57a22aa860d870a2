// SPDX-License-Identifier: MIT
/// \file
/// Pools, as lvmanage prints them.
#pragma once

#include "records/pool.h"

namespace zav {

/// Prints a pool's row.
void pool_show(const pool_info& pool);

/// Prints a row for every pool.
void pool_list_show(const pool_list* list);

/// Empties the list. 0, or -1 and a message for no list.
int pool_list_destroy(pool_list* list);

} // namespace zav
