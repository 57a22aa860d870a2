// SPDX-License-Identifier: MIT
/// \file
/// /proc/meminfo.
#pragma once

#include <optional>
#include <string_view>

namespace zav {

/// The captured output's path.
inline constexpr char meminfo_command[] = "cat /proc/meminfo > %s";

/// Percent of the memory in use: what is neither free nor buffers
/// nor cache. Nothing when one of the four figures is missing.
std::optional<float> memory_in_use(std::string_view meminfo);

} // namespace zav
