// SPDX-License-Identifier: MIT
#include "records/pool.h"

#include "base/codes.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace zav {

void pool_show(pool_info& pool) {
    if (pool.device.empty()) {
        pool.device = "N.A.";
    }
    std::printf("%s\t%s\t%lldG\t%lldG\t%s\t%s\n", pool.name.c_str(), pool.status.c_str(),
                static_cast<long long>(pool.allsize), static_cast<long long>(pool.usedsize),
                pool.vgname.c_str(), pool.device.c_str());
}

void pool_list_show(pool_list* list) {
    show_list(list, pool_show);
}

int pool_list_destroy(pool_list* list) {
    return destroy_list(list);
}

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
