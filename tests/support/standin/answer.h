// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace zav::test {

// Answers one call of a stand-in tool: argv[0] is the tool's path, followed by its arguments.
// Returns the exit status, or 127 for a call without a rule (which fails the test).
int answer_call(char** argv);

// Filler lines on standard output, that many bytes.
void write_filler(size_t count);

// Ends this process by the signal.
void die_of(int number);

} // namespace zav::test
