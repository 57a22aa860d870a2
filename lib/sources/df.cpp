// SPDX-License-Identifier: MIT
#include "sources/df.h"

#include "base/text.h"
#include "records/disk.h"

#include <algorithm>

namespace zav {

std::vector<std::string_view> parse_mounted_disks(std::string_view df_output) {
    constexpr std::string_view directory = "/dev/";
    std::vector<std::string_view> names;
    LinePieces pieces(df_output);
    std::string_view line;
    while (pieces.next(line)) {
        const std::string_view device = field(line, blanks, 0);
        if (device.starts_with(directory) && is_kind_of_disk(device.substr(directory.size()))) {
            names.push_back(device.substr(directory.size()));
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
