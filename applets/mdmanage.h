// SPDX-License-Identifier: MIT
/// \file
/// Arrays, as mdmanage prints them.
#pragma once

#include "records/array.h"

namespace zav {

/// Prints one array's row.
void mdinfo_display(const mdinfo& array);

/// Prints every array's row.
void mdinfo_list_display(const mdinfo_list* list);

/// Empties the list. 0, or -1 and a message for no list.
int mdinfo_list_destroy(mdinfo_list* list);

} // namespace zav
