// SPDX-License-Identifier: MIT
/// \file
/// Shares, as sharemanage prints them.
#pragma once

#include "records/share.h"

namespace zav {

/// Prints a share's row. The use of a share without a size is shown as 0.
void share_show(const share_info& share);

/// Prints the head of the table and every row.
void share_table_show(const share_list& list);

} // namespace zav
