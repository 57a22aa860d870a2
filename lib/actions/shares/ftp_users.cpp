// SPDX-License-Identifier: MIT
#include "actions/shares/ftp_users.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/replacement.h"
#include "base/shared_sync.h"
#include "base/text.h"
#include "inventory/share_users.h"
#include "platform/conf_save.h"
#include "sources/file_tools.h"
#include "sources/passwd.h"
#include "sources/vsftpd.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zav {

namespace {

constexpr mode_t ftp_user_file_mode = 0777;
/// The system's own lock on its account files, which useradd and the like take as well.
constexpr const char* accounts_lock_path = "/etc/.pwd.lock";

std::string own_home(std::string_view user) {
    return std::string("/home/").append(user);
}

/// Tells the FTP server that a user's file is to be taken in or out.
void merge_user(char action, std::string_view user) {
    ignore(run_and_log(format_text(merge_user_command, action, ftp_user_path(user).c_str())));
}

Code code_of_unwritten_file() {
    const bool has_no_room = errno == ENOSPC || errno == EDQUOT || errno == EFBIG || errno == EIO;
    return has_no_room ? Code::ftp_user_file_unwritten : Code::ftp_user_file_unopened;
}

/// The file of the share's user, not yet in its place: a user whose file is cut short would see
/// every share.
Result<NewFile> make_user_file(const share_info& share) {
    const auto defaults = read_file_lines(ftp_user_path(default_ftp_user).c_str());
    if (!defaults) {
        return defaults.code();
    }
    if (!is_ftp_user_name(share.users)) {
        return Code::ftp_user_file_unopened;
    }
    std::string text;
    for (const std::string& line : ftp_user_lines(*defaults, share)) {
        text += line;
    }
    const std::string path = ftp_user_path(share.users);
    struct stat status = {};
    const bool is_there = ::lstat(path.c_str(), &status) == 0;
    if (is_there && !S_ISREG(status.st_mode)) {
        return Code::ftp_user_file_unopened;
    }
    FileRights rights = {.mode = ftp_user_file_mode, .owner = {}, .group = {}};
    if (is_there) {
        rights = {status.st_mode & ftp_user_file_mode, status.st_uid, status.st_gid};
    }
    NewFile file(path, text, rights);
    return file ? Result<NewFile>(std::move(file)) : code_of_unwritten_file();
}

/// Puts the user's file, which is on the disk, into its place, and hands it to the FTP server.
Code put_user_file(std::string_view user, NewFile& file) {
    if (!file.take_place() || !sync_names_beside(ftp_user_path(user))) {
        return code_of_unwritten_file();
    }
    merge_user('a', user);
    ignore(conf_save(ftp_user_list));
    return Code::ok;
}

/// Whether what is written to the file is synced whenever that is done for the other's journal.
bool is_synced_with(const NewFile& file, const char* path) {
    struct stat own = {};
    struct stat other = {};
    return ::fstat(file.get(), &own) == 0 && ::stat(directory_of(path).c_str(), &other) == 0 &&
           own.st_dev == other.st_dev;
}

/// Takes a user from the FTP server. With its file the user would go on reaching the share: one
/// that stays is Code::ftp_user_file_unwritten.
Code remove_user_file(std::string_view user) {
    merge_user('d', user);
    const std::string path = ftp_user_path(user);
    remove_new_file(path); // of a binding that was cut short
    if (::unlink(path.c_str()) != 0) {
        const bool is_gone = errno == ENOENT;
        return is_gone ? Code::ok : fail_with_errno(Code::ftp_user_file_unwritten);
    }
    return sync_names_beside(path) ? Code::ok : fail_with_errno(Code::ftp_user_file_unwritten);
}

} // namespace

bool AccountLock::take() {
    if (!fd_) {
        fd_ = FileDescriptor::open(accounts_lock_path, O_WRONLY | O_CREAT | O_NOFOLLOW,
                                   S_IRUSR | S_IWUSR);
        if (fd_ && !lock_and_wait(fd_.get())) {
            fd_.close();
        }
    }
    return bool(fd_);
}

Code rewrite_home(std::string_view user, std::string_view home, AccountLock& accounts) {
    if (!accounts.take() || !finish_replacement(passwd_path)) {
        return Code::lines_unread;
    }
    const Capture copy("/tmp/passwd.XXXXXX");
    const auto lines = read_file_lines(passwd_path);
    if (!lines) {
        return lines.code();
    }
    const std::string text = passwd_text(*lines, user, home);
    const std::string command = format_text(move_command, copy.path(), passwd_path);
    if (!write_copy(copy.path(), text, passwd_path)) {
        // An incomplete file must not become the system's.
        ignore(refuse_command(command, "its copy of the file is incomplete",
                              FailureWording::no_blanks_around_for));
        return Code::command_failed;
    }
    if (replace_by_command(passwd_path, text, [&command] {
            return run_and_log(command, FailureWording::no_blanks_around_for);
        }) != Replacement::done) {
        return Code::command_failed;
    }
    ignore(conf_save(passwd_path));
    return Code::ok;
}

void finish_account_change() {
    if (!has_journal(passwd_path)) {
        return;
    }
    const FileDescriptor lock = FileDescriptor::open(accounts_lock_path, O_WRONLY | O_NOFOLLOW);
    if (lock && try_lock(lock.get()) == LockResult::locked) {
        ignore(finish_replacement(passwd_path)); // logged; the next change of an account needs it
    }
}

Code check_ftp_user(std::string_view user, AccountLock& accounts) {
    if (user == default_ftp_user) {
        return Code::ok;
    }
    if (!is_ftp_user_name(user)) {
        return Code::ftp_user_file_unopened;
    }
    for (const std::string& path : {std::string(passwd_path), ftp_user_path(default_ftp_user)}) {
        if (const auto lines = read_file_lines(path.c_str()); !lines) {
            return lines.code();
        }
    }
    struct stat status = {};
    const bool is_there = ::lstat(ftp_user_path(user).c_str(), &status) == 0;
    if (is_there && !S_ISREG(status.st_mode)) {
        return Code::ftp_user_file_unopened;
    }
    return accounts.take() ? Code::ok : Code::lines_unread; // last: it makes the lock's file
}

Code check_bound_user(AccountLock& accounts) {
    const auto lines = read_file_lines(passwd_path);
    return !lines ? lines.code() : accounts.take() ? Code::ok : Code::lines_unread;
}

Code ftp_user_set(const share_info& share) {
    auto file = make_user_file(share);
    if (!file) {
        return file.code();
    }
    return ::fsync(file->get()) == 0 ? put_user_file(share.users, *file) : code_of_unwritten_file();
}

Code ftp_user_remove(std::string_view user, AccountLock& accounts) {
    if (!is_ftp_user_name(user) || failed(rewrite_home(user, own_home(user), accounts))) {
        return log_return(Code::home_not_rewritten);
    }
    const Code removed = remove_user_file(user);
    ignore(conf_save(ftp_user_list));
    return removed;
}

Code ftp_bind(const share_info& share, AccountLock& accounts) {
    if (share.users == default_ftp_user) {
        return Code::ok;
    }
    if (!is_ftp_user_name(share.users)) {
        return Code::ftp_user_file_unopened;
    }
    auto file = make_user_file(share);
    if (!file) {
        return file.code();
    }
    const Code result = rewrite_home(share.users, ftp_home, accounts);
    if (failed(result)) {
        return result;
    }
    return is_synced_with(*file, passwd_path) || ::fsync(file->get()) == 0
               ? put_user_file(share.users, *file)
               : code_of_unwritten_file();
}

Code ftp_mod(const share_info& share, const std::vector<std::string>& old_users) {
    AccountLock accounts;
    const bool can_be_freed = std::ranges::all_of(old_users, is_ftp_user_name);
    const Code usable = can_be_freed ? check_ftp_user(share.users, accounts) : Code::ok;
    if (failed(usable)) {
        log_failure(usable);
        return Code::share_not_edited;
    }
    for (const std::string& user : old_users) {
        if (!can_be_freed || failed(rewrite_home(user, own_home(user), accounts))) {
            return log_return(Code::share_not_edited, LogSite::numbered(679));
        }
        if (failed(remove_user_file(user))) {
            return log_return(Code::share_not_edited);
        }
    }
    if (const Code result = ftp_bind(share, accounts); failed(result)) {
        log_failure(result);
        return Code::share_not_edited;
    }
    return Code::ok;
}

} // namespace zav
