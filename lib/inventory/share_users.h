// SPDX-License-Identifier: MIT
/// \file
/// The users of shares: the appliance's own, those of the system, those of the FTP server.
#pragma once

#include "base/codes.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// The secret of a user in /etc/nas_userfile.conf; empty for one that has none. Code::user_missing
/// for no user, or Code::user_secrets_unread.
Result<std::string> get_user_secret(std::string_view user);

/// Whether the appliance or the system has a user. Code::user_file_unread, Code::passwd_unread or
/// Code::unknown_user.
Code check_username(std::string_view user);

/// Whether the system knows the user as one with uid 0, whatever its name, or may: when /etc/passwd
/// is there and cannot be read.
bool is_superuser(std::string_view user);

/// The trimmed lines of a file that no other process has locked, without empty ones and comments.
/// Code::lines_unread when it is missing, locked or cannot be read; Code::too_many_lines for more
/// than 301.
Result<std::vector<std::string>> read_file_lines(const char* path);

/// The names of the files in /etc/vsftpd, at most `count`, cut at `length` characters, in the
/// directory's order. Nothing when it cannot be listed, which is logged.
std::optional<std::vector<std::string>> get_user(std::size_t count, std::size_t length);

/// Whether an FTP user has a file; unknown, which is logged, when the directory cannot be listed.
Presence check_user_from_vsftpd(std::string_view user);

/// The FTP users, other than the default one, that the server takes to a directory of the share's
/// name, in the directory's order; with `directory` only those that it takes to exactly that.
/// Code::lines_unread when a user's file, or the directory of them, is there and cannot be read: a
/// user that is left out would keep what is to be taken from it.
Result<std::vector<std::string>> users_of_share(std::string_view share,
                                                std::string_view directory = "");

} // namespace zav
