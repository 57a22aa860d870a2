// SPDX-License-Identifier: MIT
/// \file
/// The tool that keeps the list of global hot spares.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

// The captured output's path; the disk.
inline constexpr char hotspare_list_command[] = "/usr/local/bin/hotspare --list > %s";
inline constexpr char add_hotspare_command[] = "/usr/local/bin/hotspare -a /dev/%s";
inline constexpr char remove_hotspare_command[] = "/usr/local/bin/hotspare -r /dev/%s";

/// The names on the "Global hotspare disk" line: at most 16, of at most 5 characters each.
/// Nothing when there is no such line.
std::optional<std::vector<std::string>> parse_hotspare_list(std::string_view file);

} // namespace zav
