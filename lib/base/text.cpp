// SPDX-License-Identifier: MIT
#include "base/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

namespace zav {

namespace {

constexpr std::size_t field_work_size = 255;
constexpr std::size_t piece_size = 255;
constexpr std::size_t usual_length = 256; // of a formatted text; a longer one takes twice the time

constexpr auto plain_characters = [] {
    std::array<bool, 256> plain = {};
    for (const char c : std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                         "0123456789_-+./:,=@%")) {
        plain[static_cast<unsigned char>(c)] = true;
    }
    return plain;
}();

/// The sets have a few characters: comparing with each takes less than the standard library's call
/// for every character.
bool is_one_of(char c, std::string_view set) {
    return std::ranges::any_of(set, [c](char member) { return member == c; });
}

std::size_t find_first(std::string_view text, std::string_view set, bool wanted,
                       std::size_t start) {
    while (start < text.size() && is_one_of(text[start], set) != wanted) {
        ++start;
    }
    return start < text.size() ? start : std::string_view::npos;
}

std::size_t find_first_of(std::string_view text, std::string_view set, std::size_t start = 0) {
    return find_first(text, set, true, start);
}

std::size_t find_first_not_of(std::string_view text, std::string_view set, std::size_t start = 0) {
    return find_first(text, set, false, start);
}

std::string_view without_end(std::string_view text, std::string_view set) {
    while (!text.empty() && is_one_of(text.back(), set)) {
        text.remove_suffix(1);
    }
    return text;
}

/// Where token `index` of `text` begins, or npos.
std::size_t token_start(std::string_view text, std::string_view separators, std::size_t index) {
    std::size_t start = find_first_not_of(text, separators);
    for (; index > 0 && start != std::string_view::npos; --index) {
        const std::size_t end = find_first_of(text, separators, start);
        start = find_first_not_of(text, separators, end);
    }
    return start;
}

} // namespace

std::string format_text(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = format_text_list(format, arguments);
    va_end(arguments);
    return text;
}

std::string format_text_list(const char* format, va_list arguments) {
    std::array<char, usual_length> buffer = {};
    va_list again;
    va_copy(again, arguments);
    const int printed = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    const std::size_t length = printed > 0 ? static_cast<std::size_t>(printed) : 0;
    std::string text(buffer.data(), std::min(length, buffer.size() - 1));
    if (length >= buffer.size()) {
        text.resize(length);
        std::vsnprintf(text.data(), length + 1, format, again);
    }
    va_end(again);
    return text;
}

std::string_view trim_right(std::string_view text) {
    return without_end(text, " \r\n");
}

std::string_view skip_blanks(std::string_view text) {
    text.remove_prefix(std::min(find_first_not_of(text, blanks), text.size()));
    return text;
}

std::string_view trim_left(std::string_view text) {
    text.remove_prefix(std::min(find_first_not_of(text, white_space), text.size()));
    return text;
}

std::string_view trim(std::string_view text) {
    return without_end(trim_left(text), white_space);
}

std::string_view cut_at(std::string_view text, std::string_view separators) {
    return text.substr(0, find_first_of(text, separators));
}

void copy_bounded(char* destination, std::size_t size, const char* source) {
    if (destination == nullptr || source == nullptr || *source == '\0' || size == 0) {
        return;
    }
    const std::size_t count = std::min(std::strlen(source), size - 1);
    std::memmove(destination, source, count);
    destination[count] = '\0';
}

std::optional<std::string_view> name_in_dev(std::string_view path) {
    if (!path.starts_with(device_directory)) {
        return std::nullopt;
    }
    return path.substr(device_directory.size());
}

std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> pieces;
    std::size_t start = find_first_not_of(text, separators);
    while (start != std::string_view::npos) {
        const std::size_t end = find_first_of(text, separators, start);
        pieces.push_back(text.substr(start, end - start));
        start = find_first_not_of(text, separators, end);
    }
    return pieces;
}

std::optional<std::string_view> get_field(std::string_view text, std::string_view separators,
                                          std::size_t index) {
    const std::size_t start = token_start(text.substr(0, field_work_size), separators, index);
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    return trim_left(text.substr(start));
}

std::string_view field(std::string_view text, std::string_view separators, std::size_t index) {
    return cut_at(get_field(text, separators, index).value_or(""), separators);
}

std::uint64_t decimal(std::string_view text) {
    constexpr auto largest = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t number = 0;
    for (const char c : trim_left(text)) {
        if (!is_digit(c)) {
            break;
        }
        const auto digit = static_cast<std::uint64_t>(c - '0');
        if (number > (largest - digit) / 10) {
            return largest;
        }
        number = number * 10 + digit;
    }
    return number;
}

std::size_t decimal_size(std::string_view text) {
    return static_cast<std::size_t>(std::min<std::uint64_t>(decimal(text), SIZE_MAX));
}

int decimal_int(std::string_view text) {
    constexpr int largest = std::numeric_limits<int>::max();
    return static_cast<int>(std::min<std::uint64_t>(decimal(text), largest));
}

std::string_view last_component(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

char to_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool is_letter_or_digit(char c) {
    const char lower = to_lower(c);
    return is_digit(c) || (lower >= 'a' && lower <= 'z');
}

bool starts_with_ignoring_case(std::string_view text, std::string_view start) {
    return equal_ignoring_case(text.substr(0, start.size()), start);
}

bool equal_ignoring_case(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, to_lower, to_lower);
}

bool is_plain_name(std::string_view text) {
    return !text.empty() && text.front() != '-' && text != "." && text != ".." &&
           std::ranges::all_of(text, [](char c) {
               return is_letter_or_digit(c) || c == '_' || c == '-' || c == '.' || c == '+';
           });
}

bool is_plain_character(char c) {
    return plain_characters[static_cast<unsigned char>(c)];
}

bool is_plain_path(std::string_view text) {
    return text.starts_with('/') && std::ranges::all_of(text, is_plain_character) &&
           std::ranges::none_of(split(text, "/"), [](std::string_view component) {
               return component == "." || component == "..";
           });
}

bool has_control_characters(std::string_view text) {
    constexpr unsigned char blank = ' ';
    constexpr unsigned char del = 0x7f;
    return std::ranges::any_of(text, [](unsigned char c) { return c < blank || c == del; });
}

bool LinePieces::next(std::string_view& piece) {
    if (rest_.empty()) {
        return false;
    }
    starts_line_ = next_starts_line_;
    const std::size_t feed = rest_.substr(0, piece_size).find('\n');
    next_starts_line_ = feed != std::string_view::npos;
    piece = rest_.substr(0, next_starts_line_ ? feed : piece_size);
    rest_.remove_prefix(piece.size() + (next_starts_line_ ? 1 : 0));
    piece = piece.substr(0, piece.find('\0'));
    return true;
}

bool ByteLines::next(std::string& line) {
    constexpr char form_feed = 12;
    constexpr char control_z = 26;
    if (rest_.empty()) {
        return false;
    }
    ++number_;
    line.clear();
    std::size_t used = 0;
    bool ended = false;
    while (!ended && used < rest_.size()) {
        const char c = rest_[used];
        const bool belongs = c != '\n' && c != '\0' && c != '\r';
        if (belongs && line.size() == size_ - 1) {
            break; // the rest is a line of its own
        }
        if (belongs) {
            line += c;
        }
        ended = c == '\n' || c == '\0' || c == form_feed || c == control_z;
        ++used;
    }
    rest_.remove_prefix(used);
    line.resize(trim_right(line).size());
    return true;
}

bool CountedLines::next(std::string_view& line) {
    std::string_view piece;
    while (pieces_.next(piece)) {
        line = trim_right(trim_left(piece));
        if (!line.empty()) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> content_lines(std::string_view file) {
    std::vector<std::string> lines;
    for (const std::string_view whole : split(file, "\n")) {
        const std::string_view line = trim_right(skip_blanks(whole));
        if (!line.empty() && !line.starts_with('#')) {
            lines.emplace_back(line);
        }
    }
    return lines;
}

bool has_first_field(std::string_view file, std::string_view separators, std::string_view field) {
    return std::ranges::any_of(content_lines(file), [&](const std::string& line) {
        return cut_at(line, separators) == field;
    });
}

std::optional<std::string_view> get_line(std::string_view file, const char* key,
                                         std::size_t occurrence, std::string_view separators,
                                         std::size_t room) {
    CountedLines lines(file);
    std::string_view line;
    while (lines.next(line)) {
        if (key != nullptr && trim(cut_at(line, separators)) != key) {
            continue;
        }
        if (occurrence == 0) {
            return line.substr(0, room > 0 ? room - 1 : 0);
        }
        --occurrence;
    }
    return std::nullopt;
}

std::optional<std::string_view> get_value_from_file(std::string_view file, const char* key,
                                                    std::size_t occurrence,
                                                    std::string_view separators) {
    const auto line = get_line(file, key, occurrence, separators);
    if (!line) {
        return std::nullopt;
    }
    const std::size_t separator = find_first_of(*line, separators);
    return separator == std::string_view::npos ? "" : skip_blanks(line->substr(separator + 1));
}

} // namespace zav
