// SPDX-License-Identifier: MIT
// What the manuals say comes of an outside command that fails: tables that the fault matrix and the
// other parts of the campaign judge by.
#pragma once

#include "campaign/actions.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav::test {

// How an action ends when a command fails that changes something. The first row that fits holds;
// a command without a row only reads, or its failure is ignored with no trace.
struct FailureRow {
    std::string_view action;  // beginning of its name
    std::string_view command; // beginning
    int code;                 // it does not do its work
    int code_after_work;      // it fails after its work
    bool leaves = false; // with status 0 something is not as it should be: the failure is ignored
    // The same action given again ends with this code; 0: it does the rest.
    int again = 0;
};

const FailureRow* failure_row(const Action& action, const std::string& command);

// What must not run behind a look-up or a step that failed or told nothing.
struct ProtectionRow {
    std::string_view action;
    std::string_view command;            // beginning of the one that fails
    std::string_view kinds;              // of fault, separated by blanks
    std::vector<std::string_view> never; // beginnings of the commands that must not come later
    bool last_only = false;              // only where it is looked up for the last time
};

const std::vector<ProtectionRow>& protections();

// Whether the action may leave the path as it was and end well all the same: the step that changes
// it is one whose failure is only logged.
bool may_be_left(const Action& action, const std::string& path);

// Whether the action, given again when it was let down anywhere, may end with this code.
bool is_code_again(const Action& action, int code);

// Whether a command may print the code for the front end.
bool is_code_of(const std::string& command, int code);

// Whether an action may end with this status and print no code.
bool is_silent_status(const Action& action, int status);

// Whether an action may print this code and end with status 0.
bool is_code_with_success(const Action& action, int code);

// Whether a command only looks something up: what it prints goes into a temporary file.
bool only_reads(const std::string& command);

// Whether what a command does cannot be taken back.
bool is_destructive(const std::string& command);

} // namespace zav::test
