// SPDX-License-Identifier: MIT
#include "sources/hotspare.h"

#include "base/text.h"

namespace zav {

std::optional<std::vector<std::string>> parse_hotspare_list(std::string_view file) {
    constexpr std::size_t line_room = 81;
    constexpr std::size_t first_name = 3; // behind the three words of the key
    constexpr std::size_t most_names = 16;
    constexpr std::size_t longest_name = 5;
    const auto line = get_line(file, "Global hotspare disk", 0, ":", line_room);
    if (!line) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (const std::string_view name : split(get_field(*line, " ", first_name).value_or(""), " ")) {
        if (names.size() == most_names) {
            break;
        }
        names.emplace_back(name.substr(0, longest_name));
    }
    return names;
}

} // namespace zav
