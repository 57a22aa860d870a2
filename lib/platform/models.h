// SPDX-License-Identifier: MIT
/// \file
/// The product models: an appliance's identity file names one, and operations choose tools and
/// sources by it.
#pragma once

#include "records/filesystem.h"

#include <optional>
#include <string_view>

namespace zav {

/// The model that keeps its disks and arrays behind its own RAID controller.
inline constexpr std::string_view controller_model = "VEL7205U";

/// How many fans a model has; nothing for an unknown one.
std::optional<int> fan_count(std::string_view model);

/// The type of the file systems that a model makes: "reiserfs" or "xfs".
std::string_view fs_type_of(std::string_view model);

/// Whether the model is of the server family.
bool is_server_family(std::string_view model);

} // namespace zav
