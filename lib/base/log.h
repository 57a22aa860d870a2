// SPDX-License-Identifier: MIT
/// \file
/// The log /var/log/log.libzav: one line for each failure, rotated at 128 KiB, with one older
/// generation kept as log.libzav.0. Standard output is left to the commands' results.
#pragma once

#include "base/codes.h"

#include <cstddef>
#include <sys/types.h>

namespace zav {

/// The place a message names: a function and a line. Where support has always known a message by
/// a fixed number that number stays, whatever line of the source it now stands on; everywhere else
/// it is the true line.
struct LogSite {
    const char* function;
    int line;

    static LogSite here(const char* function = __builtin_FUNCTION(), int line = __builtin_LINE()) {
        return {function, line};
    }
    /// The calling function under a fixed number.
    static LogSite numbered(int line, const char* function = __builtin_FUNCTION()) {
        return {function, line};
    }
};

/// Writes one line "<time> <library version> ERROR <process>[<pid>]:<text>". The text is cut so
/// that it fits 8191 characters with its prefix. Always returns 0, wherever the line went: some
/// callers return this result, and their exit status must not change with the state of /var/log.
[[gnu::format(printf, 1, 2)]] int log_error(const char* format, ...);

/// The same with "debug".
[[gnu::format(printf, 1, 2)]] int log_debug(const char* format, ...);

/// Logs "zavbox_log_error[30]:" and the text, read as a format once more.
[[gnu::format(printf, 1, 2)]] int zavbox_log_error(const char* format, ...);

/// "%s[%d]: return with %d": a command or an operation returns `code`.
/// log_return() gives the code back.
void log_failure(Code code, LogSite site = LogSite::here());
Code log_return(Code code, LogSite site = LogSite::here());

/// "%s:%d return %d with %s\n": a library function fails; `value` is what it returns or got, the
/// text is that of errno.
void log_errno(int value, LogSite site = LogSite::here());
void log_errno(Code code, LogSite site = LogSite::here());
void log_errno(WaitStatus status, LogSite site = LogSite::here());

/// The same for a function that returns the code it logs. Returns `code`.
Code fail_with_errno(Code code, LogSite site = LogSite::here());

/// For the end of a function of the C interface, where no exception may leave it: memory ran out.
/// Logs `value` if there is memory for that, and returns it.
int fail_without_memory(int value, LogSite site = LogSite::here()) noexcept;
int fail_without_memory(Code code, LogSite site = LogSite::here()) noexcept;

/// Writes a finished line to the log, or else the console, or else standard error. Returns 0. A
/// text that begins with a time as the system log writes it ("Nov 20 10:00:00 ") keeps that time.
[[gnu::format(printf, 1, 2)]] int log_write(const char* format, ...);

/// The name that the kernel keeps for a process, copied to `buffer`. Null for a pid above 65535
/// or when /proc/<pid>/stat does not give it.
const char* get_process_name(char* buffer, std::size_t size, pid_t pid);

} // namespace zav
