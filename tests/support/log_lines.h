// SPDX-License-Identifier: MIT
// Messages in the library's log.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zav::test {

// One message: "Nov 20 10:11:12 0.1.2 ERROR zavbox[2]:text". Library messages end in a newline and
// the log adds one, so an empty line follows them in the file; a text may contain newlines itself.
struct LogLine {
    std::string stamp;   // "Nov 20 10:11:12"
    std::string version; // "0.1.2"
    std::string level;   // "ERROR", "debug", or empty for a message without a prefix
    std::string process;
    int pid = 0;
    std::string text; // after "ERROR zavbox[2]:", without the newlines at its end
    std::string raw;  // all bytes of the message in the file
};

std::vector<LogLine> log_lines(std::string_view content);

} // namespace zav::test
