// SPDX-License-Identifier: MIT
#include "zavinfo/text.h"

#include <array>
#include <charconv>
#include <cstddef>

namespace zavinfo {

namespace {

struct Character {
    char32_t value;
    std::size_t length; ///< 0: the bytes are not UTF-8
};

unsigned char byte_at(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

/// The character that a text begins with.
Character first_character(std::string_view text) {
    const unsigned char lead = byte_at(text, 0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc2 ? 2 : 0;
    if (length == 0 || lead > 0xf4) {
        return {0, 0};
    }
    char32_t value = lead & (0x7fU >> length);
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte_at(text, at) & 0xc0) != 0x80) {
            return {0, 0};
        }
        value = value << 6 | (byte_at(text, at) & 0x3fU);
    }
    constexpr std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    const bool is_surrogate = value >= 0xd800 && value <= 0xdfff;
    return value < least[length] || is_surrogate || value > 0x10ffff ? Character{0, 0}
                                                                     : Character{value, length};
}

bool is_control(char32_t value) {
    return value < 0x20 || (value >= 0x7f && value < 0xa0);
}

} // namespace

std::string plain(std::string_view text) {
    std::string good;
    good.reserve(text.size());
    while (!text.empty()) {
        const Character character = first_character(text);
        if (character.length == 0) {
            good += "\xef\xbf\xbd"; // the replacement character
        } else if (is_control(character.value)) {
            good += '?';
        } else {
            good += text.substr(0, character.length);
        }
        text.remove_prefix(character.length == 0 ? 1 : character.length);
    }
    return good;
}

std::string size_text(std::uint64_t bytes) {
    constexpr std::array<const char*, 7> units = {" B",   " KiB", " MiB", " GiB",
                                                  " TiB", " PiB", " EiB"};
    constexpr double step = 1024;
    constexpr double limit = 1023.5; // what would be rounded to more is of the next unit
    auto size = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (size >= limit && unit + 1 < units.size()) {
        size /= step;
        ++unit;
    }
    return rounded_text(size, unit > 0 && size < 9.95 ? 1 : 0) + units[unit];
}

std::string duration_text(std::int64_t seconds) {
    constexpr std::int64_t minute = 60;
    constexpr std::int64_t hour = 60 * minute;
    constexpr std::int64_t day = 24 * hour;
    if (seconds < minute) {
        return std::to_string(seconds) + " s";
    }
    if (seconds < hour) {
        return std::to_string(seconds / minute) + " min";
    }
    if (seconds < day) {
        return std::to_string(seconds / hour) + " h " + std::to_string(seconds % hour / minute) +
               " min";
    }
    return std::to_string(seconds / day) + " d " + std::to_string(seconds % day / hour) + " h";
}

std::string number_text(double number) {
    std::array<char, 64> text = {};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end.ptr};
}

std::string rounded_text(double number, int digits) {
    std::array<char, 400> text = {};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                   std::chars_format::fixed, digits);
    return {text.data(), end.ptr};
}

std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
    std::string all;
    for (const std::string& text : texts) {
        all.append(all.empty() ? "" : separator).append(text);
    }
    return all;
}

std::vector<std::string> words(std::string_view text, std::string_view separators) {
    std::vector<std::string> found;
    while (true) {
        const std::size_t start = text.find_first_not_of(separators);
        if (start == std::string_view::npos) {
            return found;
        }
        text.remove_prefix(start);
        found.emplace_back(text.substr(0, text.find_first_of(separators)));
        text.remove_prefix(found.back().size());
    }
}

std::string lower(std::string_view text) {
    std::string small(text);
    for (char& character : small) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return small;
}

std::vector<Fan> fans_of(std::string_view text) {
    std::vector<Fan> fans;
    for (const std::string& entry : words(text, ",")) {
        const std::size_t colon = entry.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        Fan fan{entry.substr(0, colon), 0};
        const char* end = entry.data() + entry.size();
        const auto read = std::from_chars(entry.data() + colon + 1, end, fan.rpm);
        if (read.ec == std::errc() && read.ptr == end) {
            fans.push_back(std::move(fan));
        }
    }
    return fans;
}

double percent_of(std::uint64_t part, std::uint64_t whole) {
    constexpr double hundred = 100;
    return whole == 0 ? 0 : hundred * static_cast<double>(part) / static_cast<double>(whole);
}

} // namespace zavinfo
