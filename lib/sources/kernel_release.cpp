// SPDX-License-Identifier: MIT
#include "sources/kernel_release.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

long kernel_version(std::string_view release) {
    constexpr long part_limit = 1000000;
    long version = 0;
    for (const long weight : {1000000L, 1000L, 1L}) {
        if (release.empty() || !is_digit(release.front())) {
            return -1;
        }
        version += std::min<long>(decimal_int(release), part_limit) * weight;
        release.remove_prefix(std::min(release.find_first_not_of("0123456789"), release.size()));
        if (weight != 1 && !release.starts_with('.')) {
            return -1;
        }
        release.remove_prefix(weight != 1 ? 1 : 0);
    }
    return version;
}

} // namespace zav
