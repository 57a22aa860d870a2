// SPDX-License-Identifier: MIT
/// \file
/// What is known of each RAID level.
#pragma once

#include "records/array.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace zav {

struct RaidLevel {
    std::string_view type;
    int number; ///< for mdadm
    int fewest_disks;
    int most_disks;
    bool changes_members; ///< takes disks while it runs, and gives them up
    std::optional<int>
        tolerated_losses; ///< members it runs without; nothing: it needs all, even a spare
};

inline constexpr int most_array_disks = 16;

inline constexpr std::array<RaidLevel, 5> raid_levels = {{
    {raid_type::raid1, 1, 2, 2, true, 1}, // always two disks, by product decision
    {raid_type::raid5, 5, 3, most_array_disks, true, 1},
    {raid_type::raid6, 6, 4, most_array_disks, true, 2},
    {raid_type::raid0, 0, 2, most_array_disks, false, std::nullopt},
    {raid_type::linear, 0, 2, most_array_disks, true, std::nullopt},
}};

/// Null for any other type.
const RaidLevel* find_raid_level(std::string_view type);

/// The type that a level on the command line asks for; empty if invalid. "10" becomes raid10, which
/// creation refuses.
std::string raid_type_of(std::string_view level);

} // namespace zav
