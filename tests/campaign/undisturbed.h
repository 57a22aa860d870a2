// SPDX-License-Identifier: MIT
// An action's run without any disturbance, which the others are compared with.
#pragma once

#include "campaign/actions.h"
#include "campaign/campaign.h"

#include <optional>
#include <string>
#include <vector>

namespace zav::test {

struct Undisturbed {
    const Action* action = nullptr;
    Texts commands; // with the templates of temporary files, without the redirection of errors
    State before;
    State after;
};

Undisturbed undisturbed(const Action& action);

// The same for all actions that the options choose by the beginning of their cases' names.
std::vector<Undisturbed> undisturbed_actions(const CampaignOptions& options);

// The code that a run has printed for the front end; nothing if it has printed none.
std::optional<int> printed_code(const Result& run);

} // namespace zav::test
