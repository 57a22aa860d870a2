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

bool is_file_name(std::string_view user) {
    return is_plain_name(user) && user.find('+') == std::string_view::npos;
}

/// Tells the FTP server that a user's file is to be taken in or out.
void merge_user(char action, std::string_view user) {
    run_and_log(format_text(merge_user_command, action, ftp_user_path(user).c_str()));
}

int write_user_file(const char* path, const Lines& lines) {
    FileDescriptor fd =
        FileDescriptor::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, ftp_user_file_mode);
    if (!fd) {
        return error::ftp_user_file_unopened;
    }
    for (const std::string& line : lines) {
        if (!write_all(fd.get(), line)) {
            return error::ftp_user_file_unwritten;
        }
    }
    return fd.close() ? 0 : error::ftp_user_file_unwritten;
}

void remove_user_file(std::string_view user) {
    merge_user('d', user);
    ::unlink(ftp_user_path(user).c_str());
}

} // namespace

int rewrite_home(std::string_view user, std::string_view home) {
    const Capture copy("/tmp/passwd.XXXXXX");
    std::vector<std::string> lines;
    if (const int result = read_file_lines(passwd_path, lines); result != 0) {
        return result;
    }
    const std::string command = format_text(move_command, copy.path(), passwd_path);
    if (!write_copy(copy.path(), passwd_text(lines, user, home), passwd_path)) {
        // An incomplete file must not become the system's.
        refuse_command(command, FailureWording::no_blanks_around_for);
        return error::command_failed;
    }
    if (run_and_log(command, FailureWording::no_blanks_around_for) != 0) {
        return error::command_failed;
    }
    conf_save(passwd_path);
    return 0;
}

int ftp_user_set(const share_info& share) {
    std::vector<std::string> defaults;
    const std::string default_path = ftp_user_path(default_ftp_user);
    if (const int result = read_file_lines(default_path.c_str(), defaults); result != 0) {
        return result;
    }
    if (!is_file_name(share.users)) {
        return error::ftp_user_file_unopened;
    }
    const int result =
        write_user_file(ftp_user_path(share.users).c_str(), ftp_user_lines(defaults, share));
    if (result != 0) {
        return result;
    }
    merge_user('a', share.users);
    conf_save(ftp_user_list);
    return 0;
}

int ftp_user_remove(const share_info& share) {
    const std::string_view user = share.users;
    if (!is_file_name(user) || rewrite_home(user, own_home(user)) != 0) {
        return log_return(error::home_not_rewritten);
    }
    remove_user_file(user);
    conf_save(ftp_user_list);
    return 0;
}

int ftp_bind(const share_info& share) {
    if (share.users == default_ftp_user) {
        return 0;
    }
    const int result = rewrite_home(share.users, ftp_home);
    return result != 0 ? result : ftp_user_set(share);
}

int ftp_mod(const share_info& share, std::string_view old_user) {
    if (old_user != default_ftp_user && !old_user.empty()) {
        if (!is_file_name(old_user) || rewrite_home(old_user, own_home(old_user)) != 0) {
            return log_return(error::share_not_edited, LogSite::numbered(679));
        }
        remove_user_file(old_user);
    }
    if (const int result = ftp_bind(share); result != 0) {
        log_return(result);
        return error::share_not_edited;
    }
    return 0;
}

} // namespace zav
