// SPDX-License-Identifier: MIT
#include "sources/kernel_release.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

std::int64_t kernel_version(std::string_view release) {
    constexpr std::int64_t part_limit = 1000000;
    std::int64_t version = 0;
    for (const std::int64_t weight : {1000000, 1000, 1}) {
        if (release.empty() || !is_digit(release.front())) {
            return -1;
        }
        version += std::min<std::int64_t>(decimal_int(release), part_limit) * weight;
        release.remove_prefix(std::min(release.find_first_not_of("0123456789"), release.size()));
        if (weight != 1 && !release.starts_with('.')) {
            return -1;
        }
        release.remove_prefix(weight != 1 ? 1 : 0);
    }
    return version;
}

} // namespace zav
