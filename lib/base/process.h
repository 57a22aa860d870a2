// SPDX-License-Identifier: MIT
/// \file
/// Child processes.
#pragma once

#include "base/command.h"

#include <optional>

namespace zav {

/// Starts a program, found through PATH when its name has no slash, with its output redirected and
/// no standard input, and waits for it as system(3) does: interrupts are the child's business
/// meanwhile. Returns the wait status; nothing when it could not be started.
std::optional<int> run_program(const PlainCommand& command);

} // namespace zav
