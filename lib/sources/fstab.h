// SPDX-License-Identifier: MIT
/// \file
/// The layout of fstab, which the registers of file systems on pools (mdfstab.h) and of network
/// disks (netfstab.h) share. The mount point, the second word of a line, is its key.
#pragma once

#include "records/filesystem.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zav {

/// Adds a record with `mntpoint` and `fstype` for every line that has at least three words, and has
/// `fill` take the rest from the first word.
void parse_register(std::string_view text, fs_list& list,
                    const std::function<void(fs_info&, std::string_view)>& fill);

/// Whether a line of a register has that mount point for its second word.
bool register_has(std::string_view text, std::string_view mntpoint);

/// A register without the lines of that mount point, without comments and empty lines; nothing when
/// there is no such line.
std::optional<std::string> register_without(std::string_view text, std::string_view mntpoint);

} // namespace zav
