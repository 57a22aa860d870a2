// SPDX-License-Identifier: MIT
/// \file
/// Texts that several outputs need.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zavinfo {

/// A text from the system for a terminal or a line: valid UTF-8, with "?" for control characters.
std::string plain(std::string_view text);

/// "0 B", "512 MiB", "1.8 TiB": at most four digits.
std::string size_text(std::uint64_t bytes);

/// "40 s", "7 min", "2 h 7 min", "3 d 4 h".
std::string duration_text(std::int64_t seconds);

/// The shortest decimal that reads back as the number, without regard to the locale.
std::string number_text(double number);

/// With so many digits behind the point.
std::string rounded_text(double number, int digits);

std::string joined(const std::vector<std::string>& texts, std::string_view separator);

/// The words between any of the separators.
std::vector<std::string> words(std::string_view text, std::string_view separators);

std::string lower(std::string_view text);

struct Fan {
    std::string name;
    std::int64_t rpm;
};

/// Of "fan1:2400,fan2:2380".
std::vector<Fan> fans_of(std::string_view text);

/// 0 to 100; 0 when the whole is 0.
double percent_of(std::uint64_t part, std::uint64_t whole);

} // namespace zavinfo
