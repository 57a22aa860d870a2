// SPDX-License-Identifier: MIT
/// \file
/// A file that is there as a whole, or as it was before.
#pragma once

#include <string>
#include <string_view>

namespace zavinfo {

/// Writes a file beside the path, to the disk, and renames it: whoever reads the path, and a crash,
/// find the old file or the new one. Its mode is 0644 whatever the umask. A symbolic link is
/// replaced, not followed. Throws std::runtime_error that says what failed and why; then the old
/// file is as it was, and nothing is left beside it. A run that is killed may leave PATH.new, which
/// the next one takes.
void write_whole_file(const std::string& path, std::string_view text);

} // namespace zavinfo
