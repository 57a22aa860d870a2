// SPDX-License-Identifier: MIT
#include "sources/mdstat.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

namespace {

constexpr std::size_t percent_field = 3;

/// A decimal number such as 12.6 in tenths; what is behind the first decimal does not count.
std::uint64_t tenths(std::string_view text) {
    const std::size_t point = text.find('.');
    const std::string_view fraction =
        point != std::string_view::npos ? text.substr(point + 1, 1) : "";
    constexpr std::uint64_t most = 1'000'000'000;
    return std::min(decimal(text), most) * 10 + decimal(fraction);
}

} // namespace

std::vector<std::string> parse_mdstat_names(std::string_view mdstat) {
    std::vector<std::string> names;
    LinePieces pieces(mdstat);
    std::string_view line;
    while (pieces.next(line)) {
        const std::size_t colon = line.find(':');
        const std::string_view name = trim(line.substr(0, colon));
        // The name becomes part of commands.
        if (colon != std::string_view::npos && name.starts_with("md") && is_plain_name(name)) {
            names.emplace_back(name);
        }
    }
    return names;
}

bool mdstat_lists(std::string_view mdstat, std::string_view array) {
    LinePieces pieces(mdstat);
    std::string_view line;
    while (pieces.next(line)) {
        if (pieces.starts_line() && field(line, " :", 0) == array) {
            return true;
        }
    }
    return false;
}

RebuildProgress::RebuildProgress(std::string_view mdstat) {
    // The line of an array, the two below it, and the name two lines back.
    std::string_view two_back;
    std::string_view one_back;
    LinePieces pieces(mdstat);
    std::string_view line;
    while (pieces.next(line)) {
        if (!two_back.empty()) {
            progress_lines_.emplace(two_back, line);
        }
        const std::size_t colon = line.find(':');
        two_back = one_back;
        one_back = colon != std::string_view::npos ? trim_right(line.substr(0, colon)) : "";
    }
}

std::string RebuildProgress::of(std::string_view array) const {
    constexpr std::size_t speed_field = 6;
    constexpr std::size_t longest_percent = 31;
    const auto found = progress_lines_.find(array);
    if (found == progress_lines_.end()) {
        return "";
    }
    const std::string_view percent = field(found->second, " ", percent_field);
    const std::size_t sign = percent.find('%');
    if (sign == std::string_view::npos) {
        return "";
    }
    std::string done(percent.substr(0, std::min(sign, longest_percent)));
    const std::string_view speed = field(found->second, " ", speed_field);
    const std::size_t equals = speed.find('=');
    if (equals == std::string_view::npos) {
        return done;
    }
    // Whole megabytes: the two decimals are always 00, and readers of the listing expect them.
    const std::uint64_t megabytes = decimal(speed.substr(equals + 1)) >> 10;
    return format_text("%s%%(%.2fMB/s)", done.c_str(), static_cast<double>(megabytes));
}

std::optional<RebuildDetails> RebuildProgress::details_of(std::string_view array) const {
    constexpr std::string_view finish_tag = "finish=";
    constexpr double tenths_of_percent = 1000.0;
    constexpr std::int64_t seconds_in_tenth_of_minute = 6;
    const auto found = progress_lines_.find(array);
    if (found == progress_lines_.end()) {
        return std::nullopt;
    }
    const std::string_view percent = field(found->second, " ", percent_field);
    if (percent.empty() || !is_digit(percent.front()) || !percent.ends_with('%')) {
        return std::nullopt;
    }
    RebuildDetails details;
    details.done = std::min(static_cast<double>(tenths(percent)) / tenths_of_percent, 1.0);
    for (const std::string_view word : split(found->second, " ")) {
        if (word.starts_with(finish_tag) && word.ends_with("min")) {
            details.seconds_left =
                static_cast<std::int64_t>(tenths(word.substr(finish_tag.size()))) *
                seconds_in_tenth_of_minute;
        }
    }
    return details;
}

} // namespace zav
