// SPDX-License-Identifier: MIT
#include "sources/reserved_names.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

bool is_reserved(std::string_view names, std::string_view name) {
    const auto lines = split(names, "\n");
    return std::ranges::find(lines, name) != lines.end();
}

std::string lines_without(std::string_view names, std::string_view name) {
    std::string kept;
    while (!names.empty()) {
        const std::string_view line =
            names.substr(0, std::min(names.find('\n'), names.size() - 1) + 1);
        if (!line.starts_with(name)) {
            kept += line;
        }
        names.remove_prefix(line.size());
    }
    return kept;
}

} // namespace zav
