// SPDX-License-Identifier: MIT
#include "sources/vsftpd_conf.h"

#include "base/text.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace zav {

namespace {

constexpr std::array<std::string_view, ftp_limit_count> limits = {"local_max_rate", "max_clients",
                                                                  "max_per_ip"};

/// The place of a line's key among the limits, or their number.
std::size_t limit_of(std::string_view line) {
    return static_cast<std::size_t>(std::ranges::find(limits, cut_at(line, "=")) - limits.begin());
}

} // namespace

FtpLimits parse_ftp_limits(std::string_view text) {
    FtpLimits values;
    for (const std::string& line : content_lines(text)) {
        const std::size_t limit = limit_of(line);
        const std::size_t equals = line.find('=');
        if (limit < limits.size() && equals != std::string::npos) {
            const std::uint64_t value = decimal(std::string_view(line).substr(equals + 1));
            values.at(limit) =
                static_cast<unsigned long>(std::min<std::uint64_t>(value, ULONG_MAX));
        }
    }
    return values;
}

std::string with_ftp_limits(std::string_view text, const std::array<int, ftp_limit_count>& values) {
    std::string result;
    for (const std::string& line : content_lines(text)) {
        const std::size_t limit = limit_of(line);
        result += limit < limits.size()
                      ? format_text("%s=%d", std::string(limits[limit]).c_str(), values.at(limit))
                      : line;
        result += "\n";
    }
    return result;
}

} // namespace zav
