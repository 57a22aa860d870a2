// SPDX-License-Identifier: MIT
#include "base/command.h"

#include "base/adapters.h"
#include "base/file.h"
#include "base/process.h"
#include "base/session.h"
#include "base/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zav {

namespace {

constexpr std::size_t longest_command = 255;
constexpr std::size_t longest_path_variable = 255;
constexpr std::string_view error_redirection = " 2>> /dev/null";
constexpr const char* tool_directories =
    "/bin:/sbin:/usr/bin:/usr/sbin:/usr/local/bin:/usr/local/sbin";

/// A bare word may be a shell's builtin, or mean something to it; these are programs everywhere.
constexpr std::array<std::string_view, 1> bare_programs = {"cat"};

/// The tools' PATH: their directories in front of the caller's own.
std::string tool_path() {
    const char* current = std::getenv("PATH");
    std::string path = std::string(tool_directories) + ":" + (current != nullptr ? current : "");
    path.resize(std::min(path.size(), longest_path_variable));
    return path;
}

std::string text_for_shell(std::string_view command) {
    std::string text(command);
    text += error_redirection;
    text.resize(std::min(text.size(), longest_command));
    return text;
}

bool is_plain_word(std::string_view word) {
    return std::ranges::all_of(word, is_plain_character);
}

bool is_program(std::string_view word) {
    if (word.find('=') != std::string_view::npos) {
        return false;
    }
    return word.find('/') != std::string_view::npos ||
           std::ranges::find(bare_programs, word) != bare_programs.end();
}

/// What a shell ends with for a program that is there and cannot be run.
constexpr auto cannot_be_run = static_cast<WaitStatus>(126 << 8);

/// Puts the program's adapter in its place. Where one was meant to run, the tool that it keeps from
/// doing harm must not run instead, even when the adapter does not start.
bool adapt(PlainCommand& command) {
    const int caller_errno = errno;
    std::string adapter = adapter_of(command.words.front());
    errno = caller_errno; // the next line of the log shows its text
    const bool is_there = !adapter.empty();
    if (is_there) {
        command.words.front() = std::move(adapter);
    }
    return is_there;
}

const char* failure_format(FailureWording wording) {
    switch (wording) {
    case FailureWording::no_blank_before_for:
        return "system(\"%s\") return %s with exit(%d)for '%s'\n";
    case FailureWording::no_blanks_around_for:
        return "system(\"%s\") return %s with exit(%d)for'%s'\n";
    case FailureWording::no_blank_before_return:
        return "system(\"%s\")return %s with exit(%d) for '%s'\n";
    case FailureWording::standard:
        break;
    }
    return "system(\"%s\") return %s with exit(%d) for '%s'\n";
}

} // namespace

std::optional<PlainCommand> parse_plain_command(std::string_view text) {
    PlainCommand command;
    std::optional<PlainCommand::Redirection> redirection;
    for (const std::string_view word : split(text, " ")) {
        if (word == ">" || word == "2>>") {
            if (redirection) {
                return std::nullopt;
            }
            redirection = {word == ">" ? STDOUT_FILENO : STDERR_FILENO, word == "2>>", ""};
        } else if (!is_plain_word(word)) {
            return std::nullopt;
        } else if (redirection) {
            redirection->path = word;
            command.redirections.push_back(*std::exchange(redirection, std::nullopt));
        } else {
            command.words.emplace_back(word);
        }
    }
    if (redirection || command.words.empty() || !is_program(command.words.front())) {
        return std::nullopt;
    }
    return command;
}

WaitStatus run_command(std::string_view command) {
    if (SessionHooks* session = current_session()) {
        return session->run(command);
    }
    bool was_ended = false;
    return run_command_within(command, {}, was_ended);
}

WaitStatus run_command_within(std::string_view command, const ProgramLimits& limits,
                              bool& was_ended) {
    const std::string path = tool_path();
    // One that would be cut is run as it always was, with what the cut makes of its end.
    const bool keeps_errors =
        limits.error_output >= 0 && command.size() + error_redirection.size() <= longest_command;
    const std::string text = keeps_errors ? std::string(command) : text_for_shell(command);
    // A plain command is started without a shell in between, which halves the cost of a small
    // tool. On failure, fall back to the shell, whose status stands.
    if (auto plain = parse_plain_command(text)) {
        const bool is_adapted = adapt(*plain);
        const auto status = run_program(*plain, &path, limits, &was_ended);
        if (status || is_adapted) {
            return status.value_or(cannot_be_run);
        }
    }
    return run_program({{"/bin/sh", "-c", text}, {}}, &path, limits, &was_ended)
        .value_or(WaitStatus::not_started);
}

bool is_run_whole(std::string_view command) {
    if (command.size() > longest_command) {
        return false;
    }
    // What is left of the redirection: nothing or a blank, a file instead of /dev/null, or the
    // whole of it are harmless; "2" would be one more argument, the rest the shell refuses.
    const std::size_t left = longest_command - command.size();
    return left <= 1 || left == 7 || left == 8 || (left >= 11);
}

void log_command_failure(std::string_view command, WaitStatus status, FailureWording wording) {
    constexpr int signal_mask = 0x7f;
    const int bits = number_of(status);
    if (SessionHooks* session = current_session()) {
        const int error = errno;
        session->note_command(command, status);
        errno = error;
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    log_error(failure_format(wording), std::string(command).c_str(),
              (bits & signal_mask) == 0 ? "normal" : "unnormal", (bits >> 8) & 0xff,
              std::strerror(errno));
#pragma GCC diagnostic pop
}

WaitStatus refuse_command(std::string_view command, std::string_view reason,
                          FailureWording wording) {
    log_command_failure(command, WaitStatus::not_started, wording);
    log_error("'%s' was not run: %s", std::string(command).c_str(), std::string(reason).c_str());
    return WaitStatus::not_started;
}

WaitStatus refuse_command(std::string_view command, FailureWording wording) {
    return refuse_command(
        command, is_run_whole(command) ? "a name in it is not plain" : too_long_to_run, wording);
}

std::string not_plain_reason(std::string_view name) {
    return "'" + std::string(name) + "' is not a plain name";
}

WaitStatus run_and_log(std::string_view command, FailureWording wording) {
    const WaitStatus status = run_command(command);
    if (failed(status)) {
        log_command_failure(command, status, wording);
    }
    return status;
}

Code run_or_fail(std::string_view command) {
    return failed(run_and_log(command)) ? Code::command_failed : Code::ok;
}

Code run_or_fail(std::initializer_list<std::string_view> names, const std::string& command) {
    const auto* name = std::ranges::find_if_not(names, is_plain_name);
    if (name == names.end() && is_run_whole(command)) {
        return run_or_fail(command);
    }
    ignore(
        refuse_command(command, name != names.end() ? not_plain_reason(*name) : too_long_to_run));
    return Code::command_failed;
}

Capture::Capture(std::string path_template) : path_(std::move(path_template)) {
    // The shell writes into it by name; the descriptor is of no further use.
    made_ = bool(FileDescriptor(::mkostemp(path_.data(), O_CLOEXEC)));
}

Capture::~Capture() {
    if (made_ && !kept_) {
        ::unlink(path());
    }
}

WaitStatus Capture::run(std::string_view command) const {
    if (!made_) {
        return WaitStatus::not_started;
    }
    SessionHooks* session = current_session();
    return session != nullptr ? session->run_captured(command, path()) : run_command(command);
}

WaitStatus Capture::run_and_log(std::string_view command, FailureWording wording) const {
    const WaitStatus status = run(command);
    if (failed(status)) {
        log_command_failure(command, status, wording);
    }
    return status;
}

Code Capture::read_or_fail(std::string& text, WaitStatus status, Code unread, LogSite site) {
    struct stat file = {};
    if (::stat(path(), &file) != 0) {
        log_error("cannot stat %s for '%s'\n", path(), std::strerror(errno));
        return Code::command_failed;
    }
    auto content = read();
    if (!content) {
        log_errno(status, site);
        keep();
        return unread;
    }
    text = std::move(*content);
    return Code::ok;
}

std::optional<std::string> Capture::read() const {
    return made_ ? read_file(path()) : std::nullopt;
}

} // namespace zav
