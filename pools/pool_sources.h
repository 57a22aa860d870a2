// SPDX-License-Identifier: MIT
/// \file
/// The parser of what tells about pools. It takes text and gives records.
#pragma once

#include "pools/pool_record.h"
#include "volgroups/group_record.h"

#include <string_view>

namespace zav {

/// Adds the pools of lvdisplay -c to the list, each with the device of its group.
void parse_lvdisplay(std::string_view output, const vginfo_list& groups, pool_list& list);

/// Whether a line of lvdisplay -c names a pool of that name.
bool has_pool_line(std::string_view output, std::string_view pool);

} // namespace zav
