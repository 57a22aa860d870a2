// SPDX-License-Identifier: MIT
/// \file
/// Files whose new content a command moves into their place. The command may be cut short, and
/// where it has to copy there is a time without the file: the journal of the file has the new
/// content until it is verified, and the old file stays beside it as ".NAME.zav.old". What the
/// command has written then gives way to a copy that was synced with the journal. Whoever replaces
/// a file needs a lock that keeps others from doing the same: the one on the file goes with the old
/// inode.
#pragma once

#include "base/command.h"

#include <functional>
#include <string_view>

namespace zav {

/// Puts the content that a run of this program was about to give the file into its place, unless
/// somebody has changed the file since; either is logged. Also true when there is nothing to
/// finish, false when the file cannot be made whole. To be called under the lock, before the file
/// is read.
bool finish_replacement(const char* path);

enum class Replacement {
    done,
    failed,    ///< the old content is there
    not_begun, ///< the command was not run; errno says why
};

/// Runs the command that gives the file its new content, verifies that and makes it durable. When
/// it fails, or the content is another one, the old content is put back.
Replacement replace_by_command(const char* path, std::string_view text,
                               const std::function<WaitStatus()>& run);

} // namespace zav
