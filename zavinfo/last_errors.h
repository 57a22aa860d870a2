// SPDX-License-Identifier: MIT
/// \file
/// What the log has of errors, in plain words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zavinfo {

inline constexpr const char* log_path = "/var/log/log.libzav";

struct LoggedError {
    std::string time;   ///< as the log has it, such as "Nov 20 10:11:12"
    std::string text;   ///< what happened
    std::string advice; ///< what to do; empty when nothing is known
    unsigned count = 1; ///< how often in succession
};

/// The last errors in a log, the latest first.
std::vector<LoggedError> last_errors(std::string_view log, std::size_t most);

/// The end of the log; empty when there is none.
std::string read_log_end();

} // namespace zavinfo
