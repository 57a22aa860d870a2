// SPDX-License-Identifier: MIT
/// \file
/// The users of the system: lines "name:...:home:shell".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

inline constexpr const char* passwd_path = "/etc/passwd";

/// Whether the file has a user of that name.
bool has_system_user(std::string_view passwd, std::string_view user);

/// Whether a user of that name has that number. Several lines may have a name.
bool has_system_user_id(std::string_view passwd, std::string_view user, std::uint64_t id);

/// A line of /etc/passwd with another home; a line with fewer fields stays as it is.
std::string with_home(const std::string& line, std::string_view home);

/// The text of the lines, with another home for the user.
std::string passwd_text(const std::vector<std::string>& lines, std::string_view user,
                        std::string_view home);

} // namespace zav
