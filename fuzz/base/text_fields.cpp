// SPDX-License-Identifier: MIT
// Fields, trimming and numbers of one text. Input: separators, text.
#include "base/text.h"
#include "fuzz.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace zav::fuzz {

namespace {

constexpr std::size_t searched_for_fields = 255;

void check_split(std::string_view text, std::string_view separators) {
    std::string from_pieces;
    for (const std::string_view piece : split(text, separators)) {
        require(!piece.empty(), "a piece is not empty");
        require(piece.find_first_of(separators) == piece.npos, "a piece has no separator");
        from_pieces += piece;
    }
    std::string from_text;
    for (const char c : text) {
        if (separators.find(c) == separators.npos) {
            from_text += c;
        }
    }
    require(from_pieces == from_text, "the pieces are all that is no separator");
}

void check_fields(std::string_view text, std::string_view separators) {
    const auto pieces = split(text.substr(0, searched_for_fields), separators);
    for (std::size_t index = 0; index <= pieces.size(); ++index) {
        const auto from = get_field(text, separators, index);
        require(from.has_value() == (index < pieces.size()), "every field is found, and no more");
        if (!from) {
            require(field(text, separators, index).empty(), "a missing field is empty");
            continue;
        }
        require(text.ends_with(*from), "a field reaches to the end of the text");
        const std::size_t start =
            from->empty() ? white_space.npos : white_space.find(from->front());
        require(start == white_space.npos, "a field begins without white space");
        require(field(text, separators, index) == cut_at(*from, separators),
                "a cut field ends before the next separator");
    }
}

void check_trimming(std::string_view text) {
    require(trim(trim(text)) == trim(text), "what is trimmed stays as it is");
    require(trim_right(trim_right(text)) == trim_right(text), "so at the end");
    require(skip_blanks(skip_blanks(text)) == skip_blanks(text), "so at the beginning");
    require(text.find(trim(text)) != text.npos, "what is left is part of the text");
}

void check_numbers(std::string_view text) {
    const std::string copy(text);
    const char* start = copy.c_str() + std::strspn(copy.c_str(), " \t\n\v\f\r");
    const std::uint64_t expected = is_digit(*start) ? std::strtoull(start, nullptr, 10) : 0;
    require(decimal(text) == expected, "a number is what the C library reads");
    const int number = decimal_int(text);
    require(number >= 0 && (number == INT_MAX || static_cast<std::uint64_t>(number) == expected),
            "a small number is the same, a large one the largest");
}

void check_copy(std::string_view text) {
    const std::string source(text);
    for (const std::size_t size : {std::size_t{1}, std::size_t{8}, source.size() + 1}) {
        std::vector<char> copy(size, 'x');
        copy_bounded(copy.data(), size, source.c_str());
        const std::size_t length = std::min(std::strlen(source.c_str()), size - 1);
        require(length == 0 || std::strlen(copy.data()) == length, "a copy is cut to its room");
        require(std::strncmp(copy.data(), source.c_str(), length) == 0, "a copy is the beginning");
    }
}

} // namespace

void run(std::string_view input) {
    const std::string_view separators = take_line(input);
    check_split(input, separators);
    check_fields(input, separators);
    check_trimming(input);
    check_numbers(input);
    check_copy(input);
    require(!is_plain_name(input) ||
                input.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                        "0123456789_-.+") == input.npos,
            "a plain name holds nothing that a shell reads");
    require(equal_ignoring_case(input, input), "a text equals itself");
    require(starts_with_ignoring_case(input, input.substr(0, input.size() / 2)),
            "a text begins with its beginning");
}

} // namespace zav::fuzz
