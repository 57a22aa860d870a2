// SPDX-License-Identifier: MIT
#include "sources/vmstat.h"

#include "base/text.h"

namespace zav {

namespace {

constexpr std::size_t vmstat_data_line = 2;
constexpr std::size_t vmstat_idle_field = 14;

} // namespace

std::optional<float> processor_in_use(std::string_view vmstat) {
    const auto line = get_line(vmstat, nullptr, vmstat_data_line, "");
    if (!line) {
        return std::nullopt;
    }
    const std::string_view idle = field(*line, blanks, vmstat_idle_field);
    if (idle.empty() || !is_digit(idle.front())) {
        return std::nullopt;
    }
    return static_cast<float>(100 - decimal_int(idle));
}

} // namespace zav
