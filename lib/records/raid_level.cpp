// SPDX-License-Identifier: MIT
#include "records/raid_level.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

const RaidLevel* find_raid_level(std::string_view type) {
    const auto* found = std::ranges::find(raid_levels, type, &RaidLevel::type);
    return found != raid_levels.end() ? found : nullptr;
}

std::string raid_type_of(std::string_view level) {
    if (!level.empty() && std::string_view("0156").find(level.front()) != std::string_view::npos) {
        return "raid" + std::string(level);
    }
    return equal_ignoring_case(level, "JBOD") ? std::string(raid_type::linear) : "";
}

} // namespace zav
