// SPDX-License-Identifier: MIT
// What the fuzzers share. Each fuzzer is one file that defines run(): it passes its input to a
// parser and requires of the result what holds for any input.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace zav::fuzz {

/// One input. Its memory ends with the view: the sanitizer detects reads beyond it.
void run(std::string_view input);

/// Aborts the run, so that the fuzzer keeps the input.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "fuzz: this does not hold: %s\n", what);
        std::abort();
    }
}

/// Removes and returns the first line of an input: arguments come before the text, one per line.
inline std::string_view take_line(std::string_view& input) {
    const std::string_view line = input.substr(0, input.find('\n'));
    input.remove_prefix(line.size() < input.size() ? line.size() + 1 : line.size());
    return line;
}

} // namespace zav::fuzz
