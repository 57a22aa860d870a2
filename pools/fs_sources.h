// SPDX-License-Identifier: MIT
/// \file
/// The parsers of what tells about file systems: the registers /etc/mdfstab and, in the same
/// layout, /etc/netfstab, and the kernel's figures. They take those and give records or text.
#pragma once

#include "pools/fs_record.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/statfs.h>

namespace zav {

/// Adds a record with `mntpoint` and `fstype` for every line that has at least three words, and has
/// `fill` take the rest from the first word.
void parse_register(std::string_view text, fs_list& list,
                    const std::function<void(fs_info&, std::string_view)>& fill);

/// Adds the file systems of /etc/mdfstab to the list, each with its name and its group. Comments
/// are not known: one of three words is a file system.
void parse_mdfstab(std::string_view text, fs_list& list);

/// Whether a line of a register has that mount point for its second word.
bool register_has(std::string_view text, std::string_view mntpoint);

/// A register without the lines of that mount point, without comments and empty lines; nothing when
/// there is no such line.
std::optional<std::string> register_without(std::string_view text, std::string_view mntpoint);

/// Sets the sizes by the kernel's figures. Blocks of less than 1 KiB count for nothing; what only
/// root may use counts as used.
void set_sizes(const struct statfs& figures, fs_info& fs);

} // namespace zav
