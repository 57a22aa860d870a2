// SPDX-License-Identifier: MIT
// Many commands at once on one machine.
#pragma once

#include "report.h"

#include <vector>

namespace zav::campaign {

// Each with that many rounds.
std::vector<Figure> contend_for_shares(int rounds);
std::vector<Figure> contend_for_disks(int rounds);
std::vector<Figure> contend_for_mounts(int rounds);
std::vector<Figure> contend_for_accounts(int rounds);

} // namespace zav::campaign
