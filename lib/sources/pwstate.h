// SPDX-License-Identifier: MIT
/// \file
/// The tool that tells the state of the power supplies.
#pragma once

#include <optional>
#include <string_view>

namespace zav {

/// The captured output's path.
inline constexpr char power_command[] = "/usr/local/bin/pwstate > %s";

/// What stands behind the last ":" of the first line; nothing without a line.
std::optional<std::string_view> parse_power_state(std::string_view output);

} // namespace zav
