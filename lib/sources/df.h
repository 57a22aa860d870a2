// SPDX-License-Identifier: MIT
/// \file
/// df.
#pragma once

#include <string_view>
#include <vector>

namespace zav {

/// The captured output's path.
inline constexpr char mounted_command[] = "/bin/df > %s";

/// The device names, without "/dev/", of the mounted file systems that are on disks.
std::vector<std::string_view> parse_mounted_disks(std::string_view df_output);

/// Whether df printed the heading of its table, in whatever language: it does so even when nothing
/// is mounted.
bool has_df_header(std::string_view df_output);

} // namespace zav
