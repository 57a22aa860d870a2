// SPDX-License-Identifier: MIT
#pragma once

namespace zav::test {

// Answers one call of a stand-in tool: argv[0] is the tool's path, its arguments follow. Returns
// the exit status, 127 for a call that no rule answers (which fails the test).
int answer_call(char** argv);

} // namespace zav::test
