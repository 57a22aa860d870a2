// SPDX-License-Identifier: MIT
// Many commands at once on one machine.
#pragma once

#include "campaign.h"

#include <functional>
#include <string>
#include <vector>

namespace zav::campaign {

// Runs the rounds one after another, as each begins with what the one before has left.
test::Figure run_rounds(const test::CampaignOptions& options, const std::string& what, int rounds,
                        const std::function<test::Violations(int round)>& run);

// The violations of a round and, when there are any, the commands that it ran.
test::Violations with_commands(test::Violations wrong, const std::string& commands);

// Each with that many rounds.
std::vector<test::Figure> contend_for_shares(const test::CampaignOptions& options, int rounds);
std::vector<test::Figure> contend_for_disks(const test::CampaignOptions& options, int rounds);
std::vector<test::Figure> contend_for_mounts(const test::CampaignOptions& options, int rounds);
std::vector<test::Figure> contend_for_accounts(const test::CampaignOptions& options, int rounds);

} // namespace zav::campaign
