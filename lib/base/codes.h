// SPDX-License-Identifier: MIT
/// \file
/// What functions return that can fail. The table of codes is codes.def.
#pragma once

#include <optional>
#include <span>
#include <utility>

namespace zav {

/// How a function of the library, or a command, ended: `ok`, or why it failed.
enum class [[nodiscard]] Code : int{
    ok = 0,
#define ZAV_CODE(name, number, meaning, used_by, left, next) name = (number),
#include "base/codes.def"
#undef ZAV_CODE
};

/// How reading or writing a configuration file ended; callers turn it into a code of their own. The
/// first two are of sectioned key/value files.
enum class [[nodiscard]] FileCode : int{ok = 0,           no_section = -1,   no_key = -2,
                                        not_opened = -10, not_created = -11, unread = -12,
                                        unwritten = -13,  malformed = -14,   too_long = -22};

/// How an outside command ended, as wait(2) tells it.
enum class [[nodiscard]] WaitStatus : int{success = 0, not_started = -1};

/// Whether something is there, as far as it can be told.
enum class [[nodiscard]] Presence : int{unknown = -1, absent = 0, present = 1};

constexpr Presence presence(bool is_there) {
    return is_there ? Presence::present : Presence::absent;
}

constexpr bool failed(Code code) {
    return code != Code::ok;
}
constexpr bool failed(FileCode code) {
    return code != FileCode::ok;
}
constexpr bool failed(WaitStatus status) {
    return status != WaitStatus::success;
}

/// The number that users, logs and C callers know a code by.
template <class Enumeration>
constexpr int number_of(Enumeration value) {
    return static_cast<int>(value);
}

/// For a failure that is in the log already and changes nothing for the caller.
template <class Outcome>
constexpr void ignore(Outcome) {}

/// A value, or the code of why there is none.
template <class Value>
class [[nodiscard]] Result {
  public:
    // Implicit, so that a function returns either.
    // cppcheck-suppress noExplicitConstructor
    Result(Value value) : value_(std::move(value)) {}
    // cppcheck-suppress noExplicitConstructor
    Result(Code code) : code_(code) {}

    explicit operator bool() const { return value_.has_value(); }
    [[nodiscard]] Code code() const { return code_; }
    Value& operator*() { return *value_; }
    const Value& operator*() const { return *value_; }
    Value* operator->() { return &*value_; }
    const Value* operator->() const { return &*value_; }

  private:
    std::optional<Value> value_;
    Code code_ = Code::ok;
};

/// A row of the table of codes.
struct CodeRow {
    Code code;
    const char* name;
    const char* meaning;
    const char* used_by; ///< commands, separated by blanks; "library" or "log"
};

std::span<const CodeRow> code_table();

} // namespace zav
