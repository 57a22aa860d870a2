// SPDX-License-Identifier: MIT
#include "fault.h"

#include "answer.h"
#include "command_text.h"
#include "files.h"
#include "places.h"
#include "shortcut.h"

#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

using namespace std::string_view_literals;

constexpr auto garbage = "\0\xff\xfe\x80:::::::::::::::\n[[[= ;`$(false)` ../../.. -rf\n\t\\012\r\n"
                         "md sd /dev/ : active ] ( ) 99999999999999999999999999\n-1:-1:-1:-1\n#"sv;
constexpr size_t flood = 1U << 20U;

// The kind of the fault; empty when there is none for this command.
std::string fault_of_this_command() {
    const std::string fault = read_file(places::fault);
    if (fault.empty()) {
        return {};
    }
    const size_t number = split_records(read_file(places::journal)).size();
    const size_t blank = fault.find(' ');
    return std::to_string(number) == fault.substr(0, blank) ? fault.substr(blank + 1) : "";
}

// Lets a child go on with the command. The parent returns with its status once it has ended.
std::optional<int> work_in_child() {
    signal(SIGCHLD, SIG_DFL);
    const pid_t child = fork();
    if (child == 0) {
        return std::nullopt;
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void halve(const PlainCall& call) {
    for (const auto& [descriptor, append, path] : call.redirections) {
        struct stat status {};
        if (descriptor == STDOUT_FILENO && stat(path.c_str(), &status) == 0 &&
            S_ISREG(status.st_mode) && truncate(path.c_str(), status.st_size / 2) != 0) {
            _exit(126);
        }
    }
}

// What the caller sees of a tool that did not do its work.
[[noreturn]] void pretend(const std::string& kind) {
    if (kind == "killed") {
        die_of(SIGKILL);
    }
    if (kind == "garbage") {
        write_all(STDOUT_FILENO, garbage);
    }
    if (kind == "megabyte") {
        write_filler(flood);
    }
    if (kind == "exit1") {
        _exit(1);
    }
    if (kind == "exit3") {
        _exit(3);
    }
    _exit(kind == "missing" ? 127 : 0);
}

} // namespace

void act_out_fault(std::string_view text) {
    const std::string kind = fault_of_this_command();
    if (kind.empty()) {
        return;
    }
    const PlainCall call = plain_call(text).value_or(PlainCall{});
    if (kind == "worked" || kind == "half") {
        const std::optional<int> status = work_in_child();
        if (!status) {
            return;
        }
        if (kind == "worked") {
            _exit(1);
        }
        halve(call);
        _exit(*status);
    }
    redirect(call.redirections);
    pretend(kind);
}

} // namespace zav::test
