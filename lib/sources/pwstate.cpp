// SPDX-License-Identifier: MIT
#include "sources/pwstate.h"

#include "base/text.h"

namespace zav {

std::optional<std::string_view> parse_power_state(std::string_view output) {
    std::string_view line;
    if (!LinePieces(output).next(line)) {
        return std::nullopt;
    }
    line.remove_prefix(line.rfind(':') + 1); // all of it where there is no ":"
    return trim_right(trim_left(line));
}

} // namespace zav
