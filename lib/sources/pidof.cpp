// SPDX-License-Identifier: MIT
#include "sources/pidof.h"

#include "base/text.h"

#include <climits>
#include <cstdlib>
#include <string>

namespace zav {

bool parse_is_running(std::string_view output) {
    constexpr std::size_t line_room = 64;
    const std::string_view line = cut_at(output, "\n").substr(0, line_room - 1);
    const std::string number(field(line, " ", 0));
    return std::strtoull(number.c_str(), nullptr, 10) != ULLONG_MAX;
}

} // namespace zav
