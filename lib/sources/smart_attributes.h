// SPDX-License-Identifier: MIT
/// \file
/// The attributes of a disk's health that the tools print.
#pragma once

#include "base/text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace zav {

inline constexpr std::size_t most_attributes = 7;

struct AttributeName {
    std::string_view smartctl;   ///< as smartctl spells it
    std::string_view controller; ///< as vexadm does
    bool is_shown;
};

/// The attributes that both tools know, in their two spellings, and which of them are shown.
inline constexpr std::array<AttributeName, 18> attribute_names = {{
    {"Raw_Read_Error_Rate", "Raw Read Error Rate", true},
    {"Spin_Up_Time", "Spin Up Time", true},
    {"Start_Stop_Count", "Start Stop Count", false},
    {"Reallocated_Sector_Ct", "Reallocated Sector Ct", true},
    {"Seek_Error_Rate", "Seek Error Rate", true},
    {"Power_On_Hours", "Power On Hours", false},
    {"Spin_Retry_Count", "Spin Retry Count", true},
    {"Calibration_Retry_Count", "Calibration Retry Count", true},
    {"Power_Cycle_Count", "Power Cycle Count", false},
    {"Unknown_Attribute", "Unknown Attribute", false},
    // The controller's tool keeps one underscore.
    {"Power-Off_Retract_Count", "Power-Off Retract_Count", false},
    {"Load_Cycle_Count", "Load Cycle Count", false},
    {"Temperature_Celsius", "Temperature Celsius", true},
    {"Reallocated_Event_Count", "Reallocated Event Count", false},
    {"Current_Pending_Sector", "Current Pending Sector", false},
    {"Offline_Uncorrectable", "Offline Uncorrectable", false},
    {"UDMA_CRC_Error_Count", "UDMA CRC Error Count", false},
    {"Multi_Zone_Error_Rate", "Multi Zone Error Rate", false},
}};

/// Whether the attribute of that name, in one of the spellings, is shown.
inline bool is_shown(std::string_view name, std::string_view AttributeName::*spelling) {
    return std::ranges::any_of(attribute_names, [&](const AttributeName& known) {
        return known.is_shown && known.*spelling == name;
    });
}

/// A number of an attribute; the largest one when it does not fit.
inline std::uint32_t attribute_number(std::string_view text) {
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(decimal(text), std::numeric_limits<std::uint32_t>::max()));
}

/// Takes the first word off the text; empty when there is none.
inline std::string_view take_word(std::string_view& text) {
    text = trim(text);
    const std::string_view word = cut_at(text, blanks);
    text.remove_prefix(word.size());
    return word;
}

} // namespace zav
