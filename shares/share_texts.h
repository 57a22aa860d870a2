// SPDX-License-Identifier: MIT
/// \file
/// What the share register and the services' files hold for a share, line by line. Pure text.
#pragma once

#include "shares/share_record.h"

#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

using Lines = std::vector<std::string>;

/// Its section in /etc/sharefolder.conf.
Lines register_lines(const share_info& share);

/// Its section in a Samba file; `access_key` is the key of the access, which the two files spell
/// differently.
Lines samba_lines(const share_info& share, std::string_view access_key);

/// Its line in an exports file.
Lines export_line(const share_info& share);

/// Its block in /etc/ietd.conf. A name without a "." gets the time `now`; `secret_of` tells a
/// user's secret.
Lines target_lines(const share_info& share, std::time_t now,
                   const std::function<std::string(std::string_view user)>& secret_of);

/// The lines of an FTP user's file, made from those of the default user's.
Lines ftp_user_lines(const std::vector<std::string>& defaults, const share_info& share);

/// A line of /etc/passwd with another home; one that is none stays as it is.
std::string with_home(const std::string& line, std::string_view home);

} // namespace zav
