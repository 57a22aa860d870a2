// SPDX-License-Identifier: MIT
/// \file
/// The register of the file systems on pools, in the layout of fstab.
#pragma once

#include "records/filesystem.h"

#include <string_view>

namespace zav {

inline constexpr const char* mdfstab_path = "/etc/mdfstab";

/// Of the copy that takes its place.
inline constexpr const char* mdfstab_copy_template = "/tmp/mdfstab.XXXXXX";

/// Group, pool, mount point, type.
inline constexpr char mdfstab_line[] = "/dev/%s/%s\t%s\t%s\tdefaults\t0 0";

/// Adds the file systems to the list, each with its name and its group. Comments
/// are not known: one of three words is a file system.
void parse_mdfstab(std::string_view text, fs_list& list);

} // namespace zav
