// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

namespace zav {

/// Percent of the memory in use, from the text of /proc/meminfo: what is neither free nor buffers
/// nor cache. Nothing when one of the four figures is missing.
std::optional<float> memory_in_use(std::string_view meminfo);

/// Percent of the processor in use, from the output of vmstat: what its first line of figures does
/// not give as idle. Nothing when there is no such line or figure.
std::optional<float> processor_in_use(std::string_view vmstat);

} // namespace zav
