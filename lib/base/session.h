// SPDX-License-Identifier: MIT
/// \file
/// A session: what a program that calls the library has asked for, while one of its threads is
/// inside. The log and the command runner ask for it; without one, as in the commands and the
/// status functions, everything is as if there were none.
#pragma once

#include "base/codes.h"

#include <chrono>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zav {

/// What the log and the command runner hand to a session.
class SessionHooks {
  public:
    SessionHooks() = default;
    SessionHooks(const SessionHooks&) = delete;
    SessionHooks& operator=(const SessionHooks&) = delete;
    virtual ~SessionHooks() = default;

    /// A line of the log. False when it is not to go to the file.
    virtual bool take_line(const char* level, const std::string& text) = 0;

    /// Comes in front of the line about a function that failed with `code`, or about a command.
    virtual void note_code(int code) = 0;
    virtual void note_command(std::string_view command, WaitStatus status) = 0;

    /// In place of run_command(): a command that prints for nobody, which is one that changes
    /// something.
    virtual WaitStatus run(std::string_view command) = 0;

    /// A command that writes into the file `path`, which is empty.
    virtual WaitStatus run_captured(std::string_view command, const char* path) = 0;
};

/// The session of the calling thread; null for none.
SessionHooks* current_session();

/// Makes a session that of the calling thread for as long as this exists.
class SessionScope {
  public:
    explicit SessionScope(SessionHooks& session);
    SessionScope(const SessionScope&) = delete;
    SessionScope& operator=(const SessionScope&) = delete;
    ~SessionScope();

  private:
    SessionHooks* before_;
};

enum class Severity { error, debug };

/// What the caller has asked for. The functions are called by the thread that is inside.
struct SessionSettings {
    bool logs_to_file = true;
    void (*log)(void* user, Severity severity, const char* text) = nullptr;
    void* log_user = nullptr;
    void (*progress)(void* user, const char* step, unsigned steps) = nullptr;
    void* progress_user = nullptr;
    std::chrono::milliseconds command_time_limit{0}; ///< 0: none
};

/// An outside command that failed.
struct FailedCommand {
    std::string command; ///< without the redirection of its output
    WaitStatus status = WaitStatus::success;
    std::string output; ///< the end of what it wrote to standard error
};

/// How much is kept of what a command writes to standard error.
inline constexpr std::size_t most_error_output = 1023;

/// Something that could not be read, or a command that failed.
struct SessionFailure {
    std::string command; ///< empty where none was run
    int code = 0;

    bool operator==(const SessionFailure&) const = default;
};

/// A session by its settings.
class Session : public SessionHooks {
  public:
    enum class Kind {
        action,
        reading ///< what a command printed is kept: the same command is run once, whatever asks for
                ///< it, and a failure is told once
    };

    Session(const SessionSettings& settings, Kind kind) : settings_(settings), kind_(kind) {}

    bool take_line(const char* level, const std::string& text) override;
    void note_code(int code) override;
    void note_command(std::string_view command, WaitStatus status) override;
    WaitStatus run(std::string_view command) override;
    WaitStatus run_captured(std::string_view command, const char* path) override;

    /// The last command that failed.
    [[nodiscard]] const FailedCommand& last_failure() const { return last_failure_; }

    /// What failed since this was last asked for, each once. Only a reading session collects it.
    std::vector<SessionFailure> take_failures() { return std::exchange(failures_, {}); }

  private:
    struct Answer {
        WaitStatus status;
        std::string output;
    };

    WaitStatus run_and_keep_errors(std::string_view command);
    void add_failure(SessionFailure failure);

    const SessionSettings& settings_;
    Kind kind_;
    FailedCommand last_failure_;
    std::vector<SessionFailure> failures_;
    std::unordered_map<std::string, Answer> answers_; ///< by the command without its file
    std::set<std::string> told_;                      ///< lines, and commands that failed
    bool is_repeated_ = false; ///< the next line tells of a command that was told before
    unsigned steps_ = 0;
};

} // namespace zav
