// SPDX-License-Identifier: MIT
/// \file
/// vmstat.
#pragma once

#include <optional>
#include <string_view>

namespace zav {

/// The captured output's path.
inline constexpr char vmstat_command[] = "/usr/bin/vmstat > %s";

/// Percent of the processor in use: what its first line of figures does
/// not give as idle. Nothing when there is no such line or figure.
std::optional<float> processor_in_use(std::string_view vmstat);

} // namespace zav
