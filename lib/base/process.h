// SPDX-License-Identifier: MIT
/// \file
/// Child processes.
#pragma once

#include "base/command.h"

#include <optional>

namespace zav {

/// Starts a program, found through PATH when its name has no slash, with its output redirected and
/// no standard input, and waits for it as system(3) does: SIGINT and SIGQUIT are ignored meanwhile.
/// Returns the wait status; nothing when it could not be started.
std::optional<WaitStatus> run_program(const PlainCommand& command);

} // namespace zav
