// SPDX-License-Identifier: MIT
/// \file
/// The tool that clears a disk.
#pragma once

namespace zav {

/// The disk.
inline constexpr char format_disk_command[] = "/usr/local/bin/diskformat /dev/%s";

} // namespace zav
