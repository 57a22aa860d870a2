// SPDX-License-Identifier: MIT
#include "sources/df.h"

#include "base/text.h"
#include "records/disk.h"

#include <algorithm>

namespace zav {

std::vector<std::string_view> parse_mounted_disks(std::string_view df_output) {
    std::vector<std::string_view> names;
    LinePieces pieces(df_output);
    std::string_view line;
    while (pieces.next(line)) {
        const auto name = name_in_dev(field(line, blanks, 0));
        if (name && is_kind_of_disk(*name)) {
            names.push_back(*name);
        }
    }
    return names;
}

bool has_df_header(std::string_view df_output) {
    constexpr std::size_t columns = 6;
    const auto words = split(cut_at(df_output, "\n"), blanks);
    return words.size() >= columns && !std::ranges::all_of(words[1], is_digit);
}

} // namespace zav
