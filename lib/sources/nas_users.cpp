// SPDX-License-Identifier: MIT
#include "sources/nas_users.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

std::string secret_of_user(std::string_view user_file, std::string_view user) {
    LinePieces pieces(user_file);
    std::string_view piece;
    while (pieces.next(piece)) {
        const std::string_view line = trim_right(skip_blanks(piece));
        const std::string_view name = cut_at(line, "|");
        if (line.empty() || name != user) {
            continue;
        }
        const std::string_view rest = line.substr(std::min(name.size() + 1, line.size()));
        const std::size_t last = rest.rfind('|');
        return last == std::string_view::npos ? "" : std::string(rest.substr(last + 1));
    }
    return "";
}

bool has_appliance_user(std::string_view user_file, std::string_view user) {
    return has_first_field(user_file, "|", user);
}

} // namespace zav
