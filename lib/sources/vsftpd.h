// SPDX-License-Identifier: MIT
/// \file
/// The files of the FTP server: one for each user, beside that of the default user.
#pragma once

#include "records/share.h"
#include "sources/share_lines.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

inline constexpr const char* ftp_users_directory = "/etc/vsftpd";

/// Whether a user's name can be that of a file there.
bool is_ftp_user_name(std::string_view user);

/// The file of one FTP user.
std::string ftp_user_path(std::string_view user);

/// The list of the users' files, and the command that takes a file in ('a') or out ('d').
inline constexpr const char* ftp_user_list = "/etc/vsftpd_user.xml";
inline constexpr char merge_user_command[] =
    "/usr/local/bin/fxml --merge -f /etc/vsftpd_user.xml -%c %s > /dev/null";

/// Where a user's files go, by the user's file; nothing when it does not say.
std::optional<std::string_view> local_root(std::string_view file);

/// For listings: access and user of the FTP share that a user's file goes to.
void scan_ftp_user(std::string_view file, std::string_view user, share_list& list);

/// The lines of an FTP user's file, made from those of the default user's.
Lines ftp_user_lines(const std::vector<std::string>& defaults, const share_info& share);

} // namespace zav
