// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace zav::test {

// When a fault is set for this command of the run, the last one in the journal: acts it out in the
// place of the command and exits, or lets a child go on with the command. Otherwise returns.
void act_out_fault(std::string_view text);

} // namespace zav::test
