// SPDX-License-Identifier: MIT
/// \file
/// What the iSCSI target daemon exports now.
#pragma once

#include "records/share.h"

#include <string_view>

namespace zav {

inline constexpr const char* volumes_path = "/proc/net/iet/volume";

/// The captured output's path.
inline constexpr char volumes_command[] = "cat /proc/net/iet/volume > %s";

/// Adds what the iSCSI target daemon exports now. A share that is registered with another service,
/// or as a forbidden one, stays as it is.
void scan_iscsi_volumes(std::string_view output, share_list& list);

} // namespace zav
