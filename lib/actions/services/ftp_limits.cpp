// SPDX-License-Identifier: MIT
#include "zav/ftp_limits.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/system_lock.h"
#include "base/text.h"
#include "platform/conf_save.h"
#include "sources/file_tools.h"
#include "sources/vsftpd_conf.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <string>
#include <unistd.h>

namespace zav {

namespace {

using Limits = std::array<int, ftp_limit_count>;

/// The configuration is replaced with mv, which copies where /tmp is another file system: whatever
/// ends that midway, this second name of the old file is there, and can take its place again.
/// Beside it the journal says what the new one was to be.
constexpr const char* old_path = "/etc/.vsftpd.conf.old";
constexpr const char* lock_name = "vsftpd.conf";

void store(const std::optional<unsigned long>& value, unsigned long* output) {
    if (value && output != nullptr) {
        *output = *value;
    }
}

bool is_there(const char* path) {
    return ::faccessat(AT_FDCWD, path, F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

void forget_old() {
    ::unlink(old_path);
    remove_journal(vsftpd_conf_path);
}

/// False, which is logged, when the old file cannot be put back; its second name stays then.
bool put_back() {
    if (::rename(old_path, vsftpd_conf_path) != 0 || !sync_directory_of(vsftpd_conf_path)) {
        log_error("cannot put back %s for '%s'\n", vsftpd_conf_path, std::strerror(errno));
        return false;
    }
    forget_old(); // rename(2) leaves two names of one file alone
    return true;
}

/// What a run that was cut short has left: a file that is missing, or only the beginning of the new
/// one, is replaced by the old. One that is whole stays, whoever wrote it.
bool settle() {
    const auto journal = read_journal(vsftpd_conf_path);
    if (is_there(old_path)) {
        const auto text = read_file(vsftpd_conf_path);
        const std::string wanted = journal && !journal->empty() ? journal->front().text : "";
        if (!text || (*text != wanted && wanted.starts_with(*text))) {
            log_error("%s was cut short while it was replaced; the old one is put back\n",
                      vsftpd_conf_path);
            return put_back();
        }
    }
    forget_old();
    return true;
}

/// From here on the old file can be put back.
bool keep_old(const std::string& text) {
    const JournalEntry entry = {vsftpd_conf_path, text};
    if (write_journal(vsftpd_conf_path, {&entry, 1}) && ::link(vsftpd_conf_path, old_path) == 0 &&
        sync_directory_of(vsftpd_conf_path)) {
        return true;
    }
    const int error = errno;
    forget_old();
    errno = error;
    return false;
}

/// Whether the file is what it is to be, and will still be so when the power fails.
bool is_whole(const std::string& text) {
    const FileDescriptor fd = FileDescriptor::open_regular(vsftpd_conf_path, O_RDONLY);
    const auto content = fd ? read_rest(fd.get()) : std::nullopt;
    if (content == text && ::fsync(fd.get()) == 0 && sync_directory_of(vsftpd_conf_path)) {
        return true;
    }
    log_error("%s is not whole after its replacement; the old one is put back\n", vsftpd_conf_path);
    return false;
}

/// Replaces the configuration by the copy, which holds `text`.
Code replace_by(const Capture& copy, const std::string& text) {
    const Code moved = run_or_fail(format_text(move_command, copy.path(), vsftpd_conf_path));
    if (!failed(moved) && is_whole(text)) {
        forget_old();
        return Code::ok;
    }
    put_back();
    return Code::command_failed;
}

/// Makes the copy, and makes sure that the old file is kept.
Code prepare(const Capture& copy, const Limits& values, std::string& text) {
    const auto old_text = read_file(vsftpd_conf_path);
    if (!old_text) {
        return Code::ftp_limits_unread;
    }
    text = with_ftp_limits(*old_text, values);
    return write_copy(copy.path(), text, vsftpd_conf_path) && keep_old(text)
               ? Code::ok
               : Code::ftp_limits_copy_unopened;
}

Code set_limits(const Limits& values, LogSite site) {
    if (std::ranges::any_of(values, [](int value) { return value < 0; })) {
        errno = EINVAL; // the server would take it as no limit
        return fail_with_errno(Code::ftp_limit_negative, site);
    }
    const SystemLock lock = SystemLock::take(lock_name);
    if (!lock || !settle()) {
        return fail_with_errno(Code::ftp_limits_unread, site);
    }
    const Capture copy("/tmp/vsftpd.XXXXXX");
    std::string text;
    if (const Code result = prepare(copy, values, text); failed(result)) {
        return fail_with_errno(result, site);
    }
    const Code result = replace_by(copy, text);
    ignore(conf_save(vsftpd_conf_path));
    return result;
}

/// The configuration when nobody is replacing it. Who may not have the lock reads a whole one too.
std::optional<std::string> read_limits() {
    const SystemLock lock = SystemLock::take(lock_name);
    if (lock) {
        settle();
    }
    const int error = errno;
    auto old = lock ? std::nullopt : read_file(old_path);
    errno = error;
    return old ? std::move(old) : read_file(vsftpd_conf_path);
}

} // namespace

} // namespace zav

using namespace zav;

int ftp_limits_get(unsigned long* local_max_rate, unsigned long* max_clients,
                   unsigned long* max_per_ip) try {
    const auto text = read_limits();
    if (!text) {
        return number_of(fail_with_errno(Code::ftp_limits_unread));
    }
    const FtpLimits values = parse_ftp_limits(*text);
    store(values[0], local_max_rate);
    store(values[1], max_clients);
    store(values[2], max_per_ip);
    return 0;
} catch (const std::exception&) {
    return fail_without_memory(Code::ftp_limits_unread);
}

int ftp_limits_set(int local_max_rate, int max_clients, int max_per_ip) try {
    return number_of(set_limits({local_max_rate, max_clients, max_per_ip}, LogSite::here()));
} catch (const std::exception&) {
    return fail_without_memory(Code::ftp_limits_copy_unopened);
}
