// SPDX-License-Identifier: MIT
/// \file
/// Outside tools: every one is started here, its failure logged in one wording, its output
/// captured in a file under /tmp.
#pragma once

#include "base/codes.h"
#include "base/log.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// Runs a command with the system's directories in front of its PATH, no standard input, and
/// standard error thrown away, or as the thread's session wants it. The command and its " 2>>
/// /dev/null" are cut at 255 characters together: callers rely on it. Returns the wait status
/// unchanged.
WaitStatus run_command(std::string_view command);

struct ProgramLimits;

/// The same for a session. With a descriptor for standard error that takes the place of throwing it
/// away; after the time limit the command is ended with all that it has started, and `was_ended`
/// tells so.
WaitStatus run_command_within(std::string_view command, const ProgramLimits& limits,
                              bool& was_ended);

/// Whether the shell gets the whole of `command` and nothing that its damaged end turns into
/// something else. Commands of up to 241 characters always do.
bool is_run_whole(std::string_view command);

/// How the line about a failed command is spaced. A few places leave blanks out; log readers know
/// each by its own spelling.
enum class FailureWording {
    standard,
    no_blank_before_for,
    no_blanks_around_for,
    no_blank_before_return
};

/// Logs that `command` ended with the wait status `status`.
void log_command_failure(std::string_view command, WaitStatus status,
                         FailureWording wording = FailureWording::standard);

/// For a command that must not be run: logs it as if it had failed, then that it was not run, and
/// why. Returns WaitStatus::not_started.
WaitStatus refuse_command(std::string_view command, std::string_view reason,
                          FailureWording wording = FailureWording::standard);

/// The same for a command that a name in it, or its length, makes unsafe.
WaitStatus refuse_command(std::string_view command,
                          FailureWording wording = FailureWording::standard);

/// Why a command was refused.
inline constexpr const char* too_long_to_run = "it is too long to be run whole";
inline constexpr const char* no_disk_name = "it names no disk of the kernel";
std::string not_plain_reason(std::string_view name);

/// run_command(), with a line in the log unless it succeeds. Returns the wait status.
WaitStatus run_and_log(std::string_view command, FailureWording wording = FailureWording::standard);

/// The same for the operations: Code::ok or Code::command_failed.
Code run_or_fail(std::string_view command);

/// The same for a command made of names: refused when one of them is not plain, or when the end of
/// the command would be cut.
Code run_or_fail(std::initializer_list<std::string_view> names, const std::string& command);

/// A file under /tmp for one tool's output, there and empty from the start, removed at the end.
class Capture {
  public:
    /// `path_template` ends in "XXXXXX".
    explicit Capture(std::string path_template);
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    ~Capture();

    [[nodiscard]] const char* path() const { return path_.c_str(); }

    /// Runs a command that writes into path(). Nothing is logged. Returns the wait status,
    /// WaitStatus::not_started also when there is no file to write into.
    WaitStatus run(std::string_view command) const;

    /// run(), with a line in the log unless it succeeds.
    WaitStatus run_and_log(std::string_view command,
                           FailureWording wording = FailureWording::standard) const;

    /// What the tool printed; nothing when the file is gone or cannot be read.
    [[nodiscard]] std::optional<std::string> read() const;

    /// What most readers of a tool's output share: `text` becomes what the tool printed. A
    /// file that is gone is logged with "cannot stat %s for '%s'\n" and gives Code::command_failed;
    /// one that cannot be read is logged with `status`, the tool's wait status, stays where it is,
    /// and gives `unread`.
    Code read_or_fail(std::string& text, WaitStatus status, Code unread,
                      LogSite site = LogSite::here());

    /// Leaves the file where it is.
    void keep() { kept_ = true; }

  private:
    std::string path_;
    bool made_ = false;
    bool kept_ = false;
};

/// A command that needs no shell: words and redirections of output, nothing that a shell would
/// expand, quote or join.
struct PlainCommand {
    struct Redirection {
        int descriptor;
        bool append;
        std::string path;
    };
    std::vector<std::string> words;
    std::vector<Redirection> redirections;
};

/// Nothing when the text is not as plain as that.
std::optional<PlainCommand> parse_plain_command(std::string_view text);

} // namespace zav
