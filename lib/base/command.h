// SPDX-License-Identifier: MIT
/// \file
/// Outside tools: every one is started here, its failure logged in one wording, its output
/// captured in a file under /tmp.
#pragma once

#include "base/log.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// Runs a command with the system's directories in front of PATH, no standard input, and standard
/// error thrown away. The command and its " 2>> /dev/null" are cut at 255 characters together:
/// callers rely on it. Returns the wait status unchanged, -1 when nothing could be started.
int run_command(std::string_view command);

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

/// Logs that `command` ended with the wait status `status`. Always returns 0.
int log_command_failure(std::string_view command, int status,
                        FailureWording wording = FailureWording::standard);

/// For a command that must not be run, since a name in it is none or its end would be cut: logs it
/// as if it had failed. Returns the wait status of what was not started, -1.
int refuse_command(std::string_view command, FailureWording wording = FailureWording::standard);

/// run_command(), with a line in the log unless it returns 0. Returns the wait status.
int run_and_log(std::string_view command, FailureWording wording = FailureWording::standard);

/// The same for the operations: 0, or error::command_failed.
int run_or_fail(std::string_view command);

/// The same for a command made of names: when one of them is not plain, or the end of the command
/// would be cut, the command is logged as if it had failed and not run.
int run_or_fail(std::initializer_list<std::string_view> names, const std::string& command);

/// A file under /tmp for one tool's output, there and empty from the start, removed at the end.
class Capture {
  public:
    /// `path_template` ends in "XXXXXX".
    explicit Capture(std::string path_template);
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    ~Capture();

    [[nodiscard]] const char* path() const { return path_.c_str(); }

    /// Runs a command that writes into path(). Nothing is logged. Returns the wait status, -1 also
    /// when there is no file to write into.
    [[nodiscard]] int run(std::string_view command) const;

    /// run(), with a line in the log unless it returns 0.
    [[nodiscard]] int run_and_log(std::string_view command,
                                  FailureWording wording = FailureWording::standard) const;

    /// What the tool printed; nothing when the file is gone or cannot be read.
    [[nodiscard]] std::optional<std::string> read() const;

    /// What most readers of a tool's output share: `text` becomes what the tool printed, and 0 is
    /// returned. A file that is gone is logged with "cannot stat %s for '%s'\n" and gives
    /// error::command_failed; one that cannot be read is logged with `status`, the tool's wait
    /// status, stays where it is, and gives `unread`.
    int read_or_fail(std::string& text, int status, int unread, LogSite site = LogSite::here());

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
