// SPDX-License-Identifier: MIT
// What the fuzzers share. Each fuzzer is one file that defines run(): it hands its input to a
// parser and requires of the result what holds for any input.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace zav::fuzz {

/// One input. Its bytes end where the view does: reading on is an error that the sanitizer sees.
void run(std::string_view input);

/// Ends the run like a crash, so that the fuzzer keeps the input.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "fuzz: this does not hold: %s\n", what);
        std::abort();
    }
}

/// Takes the first line off an input: arguments come before the text, one a line.
inline std::string_view take_line(std::string_view& input) {
    const std::string_view line = input.substr(0, input.find('\n'));
    input.remove_prefix(line.size() < input.size() ? line.size() + 1 : line.size());
    return line;
}

} // namespace zav::fuzz
