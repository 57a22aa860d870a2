// SPDX-License-Identifier: MIT
// Lines of a text: pieces, counted lines, look-ups by key. Input: key, separators, text.
#include "base/text.h"
#include "fuzz.h"

#include <string>
#include <vector>

namespace zav::fuzz {

namespace {

constexpr std::size_t longest_piece = 255;

void check_pieces(std::string_view text) {
    std::string whole;
    LinePieces pieces(text);
    std::string_view piece;
    bool first = true;
    while (pieces.next(piece)) {
        require(piece.size() <= longest_piece, "a piece has at most 255 characters");
        require(piece.find('\n') == piece.npos, "a piece has no line feed");
        require(piece.data() >= text.data() &&
                    piece.data() + piece.size() <= text.data() + text.size(),
                "a piece is part of the text");
        if (!first && pieces.starts_line()) {
            whole += '\n';
        }
        first = false;
        whole += piece;
    }
    if (text.ends_with('\n')) {
        whole += '\n';
    }
    require(text.find('\0') != text.npos || whole == text, "the pieces make up the text");
}

std::vector<std::string_view> counted_lines(std::string_view text) {
    std::vector<std::string_view> all;
    CountedLines lines(text);
    std::string_view line;
    while (lines.next(line)) {
        require(!line.empty(), "a counted line is not empty");
        require(white_space.find(line.front()) == line.npos, "it begins without white space");
        require(trim_right(line) == line, "it ends without blanks");
        all.push_back(line);
    }
    return all;
}

void check_without_key(std::string_view text, const std::vector<std::string_view>& lines) {
    for (const std::size_t index : {std::size_t{0}, lines.size() / 2, lines.size()}) {
        const auto line = get_line(text, nullptr, index, "");
        require(line.has_value() == (index < lines.size()), "every line is found, and no more");
        require(!line || *line == lines[index], "it is the line of that number");
    }
}

void check_with_key(std::string_view text, const std::string& key, std::string_view separators,
                    const std::vector<std::string_view>& lines) {
    std::size_t found = 0;
    for (const std::string_view line : lines) {
        const std::string_view start = line.substr(0, line.find_first_of(separators));
        if (trim(start) != key.c_str()) {
            continue;
        }
        const auto same = get_line(text, key.c_str(), found, separators);
        require(same && same->data() == line.data(), "the n-th line with the key is found");
        const auto value = get_value_from_file(text, key.c_str(), found, separators);
        require(value && (value->empty() || line.ends_with(*value)), "the value ends the line");
        if (++found > 4) {
            return;
        }
    }
    require(!get_line(text, key.c_str(), found, separators), "there are no more lines of the key");
}

} // namespace

void run(std::string_view input) {
    const std::string key(take_line(input));
    const std::string_view separators = take_line(input);
    check_pieces(input);
    const auto lines = counted_lines(input);
    check_without_key(input, lines);
    check_with_key(input, key, separators, lines);
    const auto cut = get_line(input, nullptr, 0, "", 5);
    require(!cut || *cut == lines.front().substr(0, 4), "a line is cut to its room");
}

} // namespace zav::fuzz
