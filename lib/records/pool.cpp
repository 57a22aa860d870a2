// SPDX-License-Identifier: MIT
#include "records/pool.h"

#include "base/codes.h"

#include <algorithm>
#include <memory>

namespace zav {

Code pool_list_copy_one(const pool_list& source, pool_list& target, std::string_view name) {
    const auto found =
        std::ranges::find_if(source, [name](const pool_info& pool) { return pool.name == name; });
    if (found == source.end()) {
        return Code::bad_pool_name;
    }
    target.append(std::make_unique<pool_info>(*found));
    return Code::ok;
}

} // namespace zav
