// SPDX-License-Identifier: MIT
/// \file
/// What binds users to FTP shares: their home directories and their files for the FTP server. The
/// default user is left alone by all callers. Names that are no plain file names are refused.
#pragma once

#include "base/codes.h"
#include "base/file.h"
#include "records/share.h"

#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// The lock on the system's accounts, which programs such as useradd respect.
class AccountLock {
  public:
    /// Takes it, unless this one has it, waiting at most for longest_wait. False when it cannot be
    /// had.
    bool take();

    void release() { fd_.close(); }

  private:
    FileDescriptor fd_;
};

/// Gives a user of the system another home, under the lock. Runs mv; /etc/passwd is as before when
/// that fails. Code::ok; a code of read_file_lines(), also without the lock; Code::command_failed.
Code rewrite_home(std::string_view user, std::string_view home, AccountLock& accounts);

/// Finishes a change of /etc/passwd that was cut short, unless the accounts are locked: then it is
/// under way. Without the file nobody can log in.
void finish_account_change();

/// Writes the file of the share's user and hands it to the FTP server. Runs fxml. Code::ok; a code
/// of read_file_lines(); Code::ftp_user_file_unopened or Code::ftp_user_file_unwritten.
Code ftp_user_set(const share_info& share);

/// Takes a user from the FTP server and gives it its own home again. Runs mv, fxml. Code::ok,
/// Code::home_not_rewritten, or Code::ftp_user_file_unwritten when its file stays.
Code ftp_user_remove(std::string_view user, AccountLock& accounts);

/// Whether a user can be bound, before anything is changed for it: reads /etc/passwd and the
/// default user's file, and takes the lock. Nothing is asked for the default user. Code::ok; a code
/// of read_file_lines(), also without the lock; Code::ftp_user_file_unopened.
Code check_ftp_user(std::string_view user, AccountLock& accounts);

/// Whether a user can be given its own home again, before anything is changed for it: reads
/// /etc/passwd and takes the lock. Code::ok, or a code of read_file_lines(), also without the lock.
Code check_bound_user(AccountLock& accounts);

/// Binds the share's user, new homes first, instead of the old ones. Code::ok or
/// Code::share_not_edited.
Code ftp_mod(const share_info& share, const std::vector<std::string>& old_users);

/// The home of the users that are bound to shares.
inline constexpr std::string_view ftp_home = "/home/ftpuser";

/// Binds the share's user, unless it is the default one: its home first, once its file is written
/// and waits for its place. Code::ok or the code of the step that failed.
Code ftp_bind(const share_info& share, AccountLock& accounts);

} // namespace zav
