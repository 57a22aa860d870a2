// SPDX-License-Identifier: MIT
/// \file
/// What a command does before anything else, whatever it is about to do.
#pragma once

namespace zav::commands {

/// Finishes the changes of files that were cut short: other programs read these files, and know
/// nothing of journals.
void finish_interrupted_changes();

} // namespace zav::commands
