// SPDX-License-Identifier: MIT
/// \file
/// The appliance's own users: lines "name|...|secret".
#pragma once

#include <string>
#include <string_view>

namespace zav {

inline constexpr const char* user_file_path = "/etc/nas_userfile.conf";

/// The secret of a user in the appliance's user file; empty when it has none.
std::string secret_of_user(std::string_view user_file, std::string_view user);

/// Whether the file has a user of that name.
bool has_appliance_user(std::string_view user_file, std::string_view user);

} // namespace zav
