// SPDX-License-Identifier: MIT
/// \file
/// The FTP server's configuration, as far as limits go.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zav {

inline constexpr const char* vsftpd_conf_path = "/etc/vsftpd.conf";

/// How many limits there are: local_max_rate, max_clients, max_per_ip, in this order everywhere.
inline constexpr std::size_t ftp_limit_count = 3;

/// The limits that the file has; of several lines the last one counts.
using FtpLimits = std::array<std::optional<unsigned long>, ftp_limit_count>;
FtpLimits parse_ftp_limits(std::string_view text);

/// The file with other values for the limits that it has, without comments and empty lines.
std::string with_ftp_limits(std::string_view text, const std::array<int, ftp_limit_count>& values);

} // namespace zav
