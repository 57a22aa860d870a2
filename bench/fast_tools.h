// SPDX-License-Identifier: MIT
// Stand-ins that cost next to nothing, for measuring what the program itself takes.
#pragma once

#include "machine.h"
#include "measure.h"

#include <string>
#include <vector>

namespace zav::bench {

using Commands = std::vector<std::string>;

/// Replaces the tools that lists come from, and `others`, by the answering program, with the
/// answers they have given so far.
void use_fast_tools(test::Machine& machine, const Commands& commands, const Commands& others = {});

/// Runs a command with an empty /tmp, so that all sides create their files.
Usage run_fresh(const Commands& command, int exit_status);

} // namespace zav::bench
