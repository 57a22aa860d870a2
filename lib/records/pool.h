// SPDX-License-Identifier: MIT
/// \file
/// The pool record. A pool is a logical volume; users name it by the last part of its path.
#pragma once

#include "base/bounded_text.h"
#include "base/codes.h"
#include "base/lists.h"
#include "base/units.h"

#include <cstdint>
#include <string_view>

namespace zav {

struct pool_info {
    BoundedText<128> name;  ///< the device's path, such as /dev/data/pool
    BoundedText<32> status; ///< "available" or "not available"
    Gib allsize;
    Gib usedsize; ///< nothing tells it
    BoundedText<33> vgname;
    BoundedText<8> device; ///< of its group
    ListLink link;
};

using pool_list = RecordList<pool_info>;

/// Adds a copy of the pool with that path to `target`. Code::ok or Code::bad_pool_name.
Code pool_list_copy_one(const pool_list& source, pool_list& target, std::string_view name);

} // namespace zav
