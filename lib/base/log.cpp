// SPDX-License-Identifier: MIT
#include "base/log.h"

#include "base/file.h"
#include "base/session.h"
#include "base/text.h"
#include "base/version.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace zav {

namespace {

constexpr const char* log_path = "/var/log/log.libzav";
constexpr const char* previous_log_path = "/var/log/log.libzav.0";
constexpr const char* console_path = "/dev/console";
constexpr off_t log_size_limit = 131072;
constexpr int open_attempts = 5;
constexpr int rotation_attempts = 1000;
constexpr std::size_t message_size = 8192;
constexpr std::size_t process_name_size = 256;
constexpr pid_t largest_named_pid = 65535;
constexpr std::size_t stamp_size = 15;
constexpr std::size_t stamp_in_ctime = 4;

[[gnu::format(printf, 1, 0)]] std::string format_message(const char* format, va_list arguments) {
    std::array<char, message_size> text = {};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return text.data();
}

bool begins_with_stamp(std::string_view text) {
    return text.size() > stamp_size && text[3] == ' ' && text[6] == ' ' && text[9] == ':' &&
           text[12] == ':' && text[stamp_size] == ' ';
}

std::string current_stamp() {
    const std::time_t now = std::time(nullptr);
    std::array<char, 64> text = {};
    // The longest text, of a year with many digits, is shorter than this.
    if (::ctime_r(&now, text.data()) == nullptr) {
        return std::string(stamp_size, '?');
    }
    return std::string(text.data() + stamp_in_ctime, stamp_size);
}

std::string finished_line(std::string_view message) {
    std::string stamp;
    if (begins_with_stamp(message)) {
        stamp = message.substr(0, stamp_size);
        message.remove_prefix(stamp_size + 1);
    } else {
        stamp = current_stamp();
    }
    return stamp + " " + libzav_version + " " + std::string(message) + "\n";
}

FileDescriptor open_in_attempts(const char* path, int flags) {
    FileDescriptor fd;
    for (int attempt = 0; attempt < open_attempts && !fd; ++attempt) {
        fd = FileDescriptor::open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | flags, 0600);
    }
    return fd;
}

/// Whoever can read the log can keep a lock on it, which must not make every line wait: after one
/// wait in vain the lock is only tried, until it is had again.
std::atomic<bool> was_waited_for_in_vain = false;

bool lock_log(int fd) {
    const bool locked =
        was_waited_for_in_vain ? try_lock(fd) == LockResult::locked : lock_and_wait(fd);
    was_waited_for_in_vain = !locked;
    return locked;
}

struct OpenLog {
    FileDescriptor fd;
    bool locked = false; ///< if not, lines may be added all the same, and nothing else be done
};

/// The log, open and, if that is possible, locked, under its own name even if another instance
/// rotated it while this one waited for the lock.
OpenLog open_log() {
    OpenLog log;
    for (int attempt = 0; attempt < rotation_attempts; ++attempt) {
        log.fd = open_in_attempts(log_path, O_APPEND | O_CREAT);
        log.locked = log.fd && lock_log(log.fd.get());
        if (!log.locked || names_open_file(log_path, log.fd.get())) {
            break;
        }
    }
    return log;
}

bool is_over_limit(int fd) {
    struct stat status = {};
    return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > log_size_limit;
}

void write_to_console(std::string_view line) {
    if (const FileDescriptor console = open_in_attempts(console_path, 0)) {
        write_all(console.get(), line);
        return;
    }
    write_all(STDERR_FILENO, std::string("Bummer, can't print: ").append(line));
}

/// Appends the whole line or nothing: the next line must not stand behind half of this one.
bool append_line(const OpenLog& log, std::string_view line) {
    const int fd = log.fd.get();
    struct stat before = {};
    const bool is_file = ::fstat(fd, &before) == 0 && S_ISREG(before.st_mode);
    if (write_all(fd, line)) {
        return true;
    }
    [[maybe_unused]] const bool is_whole =
        is_file && log.locked && ::ftruncate(fd, before.st_size) == 0;
    return false;
}

void write_line(std::string_view line) {
    OpenLog log = open_log();
    if (log.locked && is_over_limit(log.fd.get()) && names_open_file(log_path, log.fd.get())) {
        // Renamed under the lock: otherwise another instance could rotate as well, and the
        // generation just saved would be lost. Without a rename the lock on this file stays.
        if (::rename(log_path, previous_log_path) == 0) {
            log = open_log();
        }
    }
    if (!log.fd || !append_line(log, line)) {
        write_to_console(line);
    }
}

/// Tells the session, if there is one, what the next line is about.
void note(int code) {
    if (SessionHooks* session = current_session()) {
        const int caller_errno = errno;
        session->note_code(code);
        errno = caller_errno;
    }
}

[[gnu::format(printf, 2, 0)]] int log_with_prefix(const char* level, const char* format,
                                                  va_list arguments) {
    const int caller_errno = errno;
    const std::string message = format_message(format, arguments);
    SessionHooks* session = current_session();
    if (session != nullptr && !session->take_line(level, message)) {
        errno = caller_errno;
        return 0;
    }
    std::array<char, process_name_size> buffer = {};
    const pid_t pid = ::getpid();
    const char* name = get_process_name(buffer.data(), buffer.size(), pid);
    // The C library's own rendering of a missing name; systems with many processes show it always.
    std::string text =
        format_text("%s %s[%d]:", level, name != nullptr ? name : "(null)", static_cast<int>(pid));
    text += message;
    errno = caller_errno;
    return log_write("%s", text.c_str());
}

} // namespace

int log_write(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string message = format_message(format, arguments);
    va_end(arguments);
    const int caller_errno = errno;
    write_line(finished_line(message));
    errno = caller_errno;
    return 0;
}

int log_error(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = log_with_prefix("ERROR", format, arguments);
    va_end(arguments);
    return result;
}

int log_debug(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = log_with_prefix("debug", format, arguments);
    va_end(arguments);
    return result;
}

int zavbox_log_error(const char* format, ...) {
    constexpr int fixed_line = 30;
    va_list arguments;
    va_start(arguments, format);
    const std::string text =
        format_text("%s[%d]:", __func__, fixed_line) + format_message(format, arguments);
    va_end(arguments);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    // The finished text is read as a format once more: its callers double every "%". Nothing that
    // a user typed comes here.
    return log_error(text.c_str());
#pragma GCC diagnostic pop
}

void log_failure(Code code, LogSite site) {
    note(number_of(code));
    log_error("%s[%d]: return with %d", site.function, site.line, number_of(code));
}

Code log_return(Code code, LogSite site) {
    log_failure(code, site);
    return code;
}

void log_errno(int value, LogSite site) {
    note(value);
    log_error("%s:%d return %d with %s\n", site.function, site.line, value, std::strerror(errno));
}

void log_errno(Code code, LogSite site) {
    log_errno(number_of(code), site);
}

void log_errno(WaitStatus status, LogSite site) {
    log_errno(number_of(status), site);
}

Code fail_with_errno(Code code, LogSite site) {
    log_errno(code, site);
    return code;
}

int fail_without_memory(int value, LogSite site) noexcept {
    try {
        errno = ENOMEM;
        log_errno(value, site);
    } catch (const std::exception&) {
        // Not even for a line: the value says that it failed.
    }
    return value;
}

int fail_without_memory(Code code, LogSite site) noexcept {
    return fail_without_memory(number_of(code), site);
}

const char* get_process_name(char* buffer, std::size_t size, pid_t pid) {
    if (pid > largest_named_pid || size == 0) {
        return nullptr;
    }
    const auto status = read_file(format_text("/proc/%d/stat", static_cast<int>(pid)).c_str());
    if (!status) {
        return nullptr;
    }
    const std::size_t open = status->find('(');
    const std::size_t close = status->find(')');
    if (open == std::string::npos || close == std::string::npos || close < open) {
        return nullptr;
    }
    const std::string name = status->substr(open + 1, close - open - 1);
    buffer[0] = '\0';
    copy_bounded(buffer, size, name.c_str());
    return buffer;
}

} // namespace zav
