// SPDX-License-Identifier: MIT
#include "undisturbed.h"

#include <cstdlib>

namespace zav::test {

Undisturbed undisturbed(const Action& action) {
    Appliance appliance(action.model);
    prepare(action, appliance);
    Undisturbed result{.action = &action, .commands = {}, .before = appliance.state(), .after = {}};
    result.commands = outside(appliance.run(action.arguments));
    result.after = appliance.state();
    return result;
}

std::vector<Undisturbed> undisturbed_actions(const CampaignOptions& options) {
    const std::string wanted = options.only.substr(0, options.only.find(','));
    std::vector<Undisturbed> all;
    for (const Action& action : actions()) {
        if (action.name.find(wanted) != std::string::npos) {
            all.push_back(undisturbed(action));
        }
    }
    return all;
}

std::optional<int> printed_code(const Result& run) {
    const std::string beginning = "for errno '";
    const size_t at = run.out.rfind(beginning);
    if (at == std::string::npos) {
        return std::nullopt;
    }
    return std::atoi(run.out.c_str() + at + beginning.size());
}

} // namespace zav::test
