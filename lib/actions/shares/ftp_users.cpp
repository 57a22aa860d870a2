// SPDX-License-Identifier: MIT
#include "actions/shares/ftp_users.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/share_users.h"
#include "platform/conf_save.h"
#include "sources/file_tools.h"
#include "sources/passwd.h"
#include "sources/vsftpd.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace zav {

namespace {

constexpr mode_t ftp_user_file_mode = 0777;

std::string own_home(std::string_view user) {
    return std::string("/home/").append(user);
}

/// Tells the FTP server that a user's file is to be taken in or out.
void merge_user(char action, std::string_view user) {
    ignore(run_and_log(format_text(merge_user_command, action, ftp_user_path(user).c_str())));
}

Code write_user_file(const char* path, const Lines& lines) {
    FileDescriptor fd =
        FileDescriptor::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, ftp_user_file_mode);
    if (!fd) {
        return Code::ftp_user_file_unopened;
    }
    for (const std::string& line : lines) {
        if (!write_all(fd.get(), line)) {
            return Code::ftp_user_file_unwritten;
        }
    }
    return fd.close() ? Code::ok : Code::ftp_user_file_unwritten;
}

void remove_user_file(std::string_view user) {
    merge_user('d', user);
    ::unlink(ftp_user_path(user).c_str());
}

} // namespace

Code rewrite_home(std::string_view user, std::string_view home) {
    const Capture copy("/tmp/passwd.XXXXXX");
    const auto lines = read_file_lines(passwd_path);
    if (!lines) {
        return lines.code();
    }
    const std::string command = format_text(move_command, copy.path(), passwd_path);
    if (!write_copy(copy.path(), passwd_text(*lines, user, home), passwd_path)) {
        // An incomplete file must not become the system's.
        ignore(refuse_command(command, FailureWording::no_blanks_around_for));
        return Code::command_failed;
    }
    if (failed(run_and_log(command, FailureWording::no_blanks_around_for))) {
        return Code::command_failed;
    }
    ignore(conf_save(passwd_path));
    return Code::ok;
}

Code ftp_user_set(const share_info& share) {
    const auto defaults = read_file_lines(ftp_user_path(default_ftp_user).c_str());
    if (!defaults) {
        return defaults.code();
    }
    if (!is_ftp_user_name(share.users)) {
        return Code::ftp_user_file_unopened;
    }
    const Code result =
        write_user_file(ftp_user_path(share.users).c_str(), ftp_user_lines(*defaults, share));
    if (failed(result)) {
        return result;
    }
    merge_user('a', share.users);
    ignore(conf_save(ftp_user_list));
    return Code::ok;
}

Code ftp_user_remove(const share_info& share) {
    const std::string_view user = share.users;
    if (!is_ftp_user_name(user) || failed(rewrite_home(user, own_home(user)))) {
        return log_return(Code::home_not_rewritten);
    }
    remove_user_file(user);
    ignore(conf_save(ftp_user_list));
    return Code::ok;
}

Code ftp_bind(const share_info& share) {
    if (share.users == default_ftp_user) {
        return Code::ok;
    }
    const Code result = rewrite_home(share.users, ftp_home);
    return failed(result) ? result : ftp_user_set(share);
}

Code ftp_mod(const share_info& share, std::string_view old_user) {
    if (old_user != default_ftp_user && !old_user.empty()) {
        if (!is_ftp_user_name(old_user) || failed(rewrite_home(old_user, own_home(old_user)))) {
            return log_return(Code::share_not_edited, LogSite::numbered(679));
        }
        remove_user_file(old_user);
    }
    if (const Code result = ftp_bind(share); failed(result)) {
        log_failure(result);
        return Code::share_not_edited;
    }
    return Code::ok;
}

} // namespace zav
