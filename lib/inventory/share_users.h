// SPDX-License-Identifier: MIT
/// \file
/// The users of shares: the appliance's own, those of the system, those of the FTP server.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// The secret of a user in /etc/nas_userfile.conf; empty for one that has none. 0, -1 for no user,
/// or error::user_secrets_unread.
int get_user_secret(std::string_view user, std::string& secret);

/// Whether the appliance or the system has a user. 0, error::user_file_unread,
/// error::passwd_unread or error::unknown_user.
int check_username(std::string_view user);

/// The trimmed lines of a file that no other process has locked, without empty ones and comments.
/// 0; -1 when it is missing, locked or cannot be read; -2 for more than 301 lines.
int read_file_lines(const char* path, std::vector<std::string>& lines);

/// The names of the files in /etc/vsftpd, at most `count`, cut at `length` characters, in the
/// directory's order. Their number, or -1.
int get_user(std::vector<std::string>& names, std::size_t count, std::size_t length);

/// Whether an FTP user has a file: 1; -1 when it has none, or without the directory; -2 when that
/// cannot be listed.
int check_user_from_vsftpd(std::string_view user);

/// The FTP user whose files go to `path`. 0 or -1.
int user_of_path(std::string_view path, std::string& user);

} // namespace zav
