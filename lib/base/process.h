// SPDX-License-Identifier: MIT
/// \file
/// Child processes. The process that runs them stays as it is: its environment, the actions of its
/// signals and its other children are its own, in all its threads.
#pragma once

#include "base/command.h"

#include <optional>
#include <string>

namespace zav {

/// Starts a program, found through PATH when its name has no slash, with its output redirected and
/// no standard input, and waits for it. `path`, where given, is its PATH in place of the caller's.
/// Meanwhile SIGINT and SIGQUIT are held back in the calling thread: they are the tool's, and where
/// they would end the caller, they are dropped, as system(3) does.
/// Returns the wait status, whatever the caller does about its children; nothing when the program
/// could not be started.
std::optional<WaitStatus> run_program(const PlainCommand& command,
                                      const std::string* path = nullptr);

} // namespace zav
