// SPDX-License-Identifier: MIT
// What must hold however a run of an action was disturbed.
#pragma once

#include "campaign/campaign.h"
#include "campaign/undisturbed.h"

#include <map>
#include <string>

namespace zav::test {

// The permission bits of the files below /etc.
using Modes = std::map<std::string, mode_t>;
Modes modes_of(const Appliance& appliance);

// It has not crashed, has left no process, and its status is that of a code that its command has.
void check_end(const Action& action, const Result& run, Violations& found);

// No temporary file, lock or journal is left.
void check_remains(const Appliance& appliance, Violations& found);

// Each file below /etc is the old or the new one as a whole; only those are new that the action may
// change. Of the registers of mounts, lines may be old and new.
void check_files(const Undisturbed& base, const State& after, Violations& found);

// No file is open to more than before; a new one to no more than all readers, except for the FTP
// server's files of users.
void check_modes(const Modes& before, const Modes& after, Violations& found);

} // namespace zav::test
