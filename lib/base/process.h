// SPDX-License-Identifier: MIT
/// \file
/// Child processes. The process that runs them stays as it is: its environment, the actions of its
/// signals and its other children are its own, in all its threads.
#pragma once

#include "base/command.h"

#include <chrono>
#include <optional>
#include <string>

namespace zav {

/// How a program is run for a caller of the library that has asked for it.
struct ProgramLimits {
    /// It is not to inherit what the commands have and this process may not: it runs in the root
    /// directory, makes no files that others may change, and prints for nobody.
    bool is_apart = false;
    int error_output = -1; ///< becomes its standard error, unless that is redirected
    std::chrono::milliseconds time_limit{0}; ///< 0: none
};

/// Starts a program, found through PATH when its name has no slash, with its output redirected and
/// no standard input, and waits for it. `path`, where given, is its PATH in place of the caller's.
/// Meanwhile SIGINT and SIGQUIT are held back in the calling thread: they are the tool's, and where
/// they would end the caller, they are dropped, as system(3) does.
/// Returns the wait status, whatever the caller does about its children; nothing when the program
/// could not be started.
///
/// With a time limit it gets a process group of its own. Once the time is up, that is ended, first
/// gently; `was_ended` tells so, and the status is WaitStatus::not_started. A program that nothing
/// ends, as it waits for a disk, is left behind.
std::optional<WaitStatus> run_program(const PlainCommand& command,
                                      const std::string* path = nullptr,
                                      const ProgramLimits& limits = {}, bool* was_ended = nullptr);

} // namespace zav
