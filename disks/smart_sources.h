// SPDX-License-Identifier: MIT
/// \file
/// The parsers of what tells about a disk's health. They take text and give records.
#pragma once

#include "disks/smart.h"

#include <string_view>

namespace zav {

/// The identity and health that smartctl prints. What it does not print stays empty.
smart_summary parse_smart_summary(std::string_view output);

/// Adds the chosen attributes of smartctl's table to the list, in its order, at most seven.
void parse_smart_attributes(std::string_view output, smart_attribute_list& list);

/// The same from the RAID controller's tool: one line an attribute, its name, a colon, then value,
/// worst, threshold and raw value as far as they are there; one of them may be in parentheses.
void parse_controller_attributes(std::string_view output, smart_attribute_list& list);

} // namespace zav
