// SPDX-License-Identifier: MIT
#include "sources/partitions.h"

#include "base/text.h"

#include <unordered_set>

namespace zav {

namespace {

constexpr std::size_t name_field = 3;

} // namespace

std::vector<std::string> parse_partition_disks(std::string_view file) {
    std::vector<std::string> names;
    std::unordered_set<std::string_view> seen;
    LinePieces pieces(file);
    std::string_view line;
    while (pieces.next(line)) {
        const std::string_view name = field(trim_right(line), blanks, name_field);
        if (name.starts_with("sd") && !is_digit(name.back()) && seen.insert(name).second) {
            names.emplace_back(name);
        }
    }
    return names;
}

std::vector<std::string> parse_partition_arrays(std::string_view partitions) {
    std::vector<std::string> names;
    LinePieces pieces(partitions);
    std::string_view line;
    while (pieces.next(line)) {
        const std::string_view name = field(trim_right(line), blanks, name_field);
        if (name.starts_with("md") && is_plain_name(name)) {
            names.emplace_back(name);
        }
    }
    return names;
}

} // namespace zav
