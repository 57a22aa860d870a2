// SPDX-License-Identifier: MIT
/// \file
/// What a failure leaves behind and what to do next: the columns of codes.def that the commands do
/// not print. Only programs that explain codes link this.
#pragma once

#include "base/codes.h"

#include <span>
#include <string_view>

namespace zav {

/// What a code is to the commands that it names.
struct CodeAdvice {
    Code code;
    const char* name;
    const char* meaning;
    const char* used_by; ///< commands, separated by blanks; "library" or "log"
    const char* left;    ///< what is left behind
    const char* next;    ///< what to do
};

/// All of it. A row that is of some commands only stands before the one of the rest.
std::span<const CodeAdvice> code_advice();

/// The row of a number for a command; without a command, or for one that does not have the code,
/// the row of codes.def that comes first. Nullptr for a number that is no code.
const CodeAdvice* find_code_advice(int number, std::string_view command = {});

/// What a failure with that number leaves behind; empty for a number that is no code.
const char* code_left(int number, std::string_view command = {});

/// What to do then; empty for a number that is no code.
const char* code_next(int number, std::string_view command = {});

/// The status that a command ends with after a code.
constexpr int exit_status_of(int number) {
    return number & 0xff;
}

/// How a command ends after a code when that is not exit_status_of().
struct OtherStatus {
    Code code;
    std::string_view command;
    int status;
    std::string_view when; ///< empty for always
};

std::span<const OtherStatus> other_statuses();

} // namespace zav
