// SPDX-License-Identifier: MIT
/// \file
/// smartctl: a disk's identity and health.
#pragma once

#include "records/smart.h"

#include <string_view>

namespace zav {

// The disk, the captured output's path.
inline constexpr char smart_summary_command[] =
    "/usr/local/sbin/smartctl -d marvell -T permissive -Hi /dev/%s > %s";
inline constexpr char smart_attributes_command[] =
    "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/%s > %s";

/// The identity and health that smartctl prints. What it does not print stays empty.
smart_summary parse_smart_summary(std::string_view output);

/// Adds the chosen attributes of smartctl's table to the list, in its order, at most seven.
void parse_smart_attributes(std::string_view output, smart_attribute_list& list);

} // namespace zav
