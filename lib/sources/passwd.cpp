// SPDX-License-Identifier: MIT
#include "sources/passwd.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

bool has_system_user(std::string_view passwd, std::string_view user) {
    return has_first_field(passwd, ":", user);
}

bool has_system_user_id(std::string_view passwd, std::string_view user, std::uint64_t id) {
    constexpr std::size_t id_field = 2;
    const auto lines = split(passwd, "\n");
    return std::ranges::any_of(lines, [user, id](std::string_view line) {
        const std::string_view number = field(line, ":", id_field);
        return cut_at(line, ":") == user && !number.empty() &&
               std::ranges::all_of(number, is_digit) && decimal(number) == id;
    });
}

std::string with_home(const std::string& line, std::string_view home) {
    constexpr std::ptrdiff_t separators = 6;
    if (std::ranges::count(line, ':') < separators) {
        return line;
    }
    const std::size_t shell = line.rfind(':');
    const std::size_t old_home = line.rfind(':', shell - 1);
    return line.substr(0, old_home + 1).append(home).append(line.substr(shell));
}

std::string passwd_text(const std::vector<std::string>& lines, std::string_view user,
                        std::string_view home) {
    std::string text;
    for (const std::string& line : lines) {
        text += cut_at(line, ":") == user ? with_home(line, home) : line;
        text += "\n";
    }
    return text;
}

} // namespace zav
