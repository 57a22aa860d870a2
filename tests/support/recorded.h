// SPDX-License-Identifier: MIT
// Recorded outputs of the real tools in tests/captures.
#pragma once

#include <string>

namespace zav::test {

struct Recorded {
    std::string command; // as it was run
    int exit_status = 0;
    std::string versions; // of kernel and tool
    std::string text;     // standard output
    std::string errors;   // standard error, if something was written there
};

// The recording tests/captures/NAME.txt (and NAME.err.txt). Throws if there is none.
Recorded recorded(const std::string& name);

} // namespace zav::test
