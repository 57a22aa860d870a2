// SPDX-License-Identifier: MIT
// The table of attributes that smartctl prints.
#include "fuzz.h"
#include "sources/smartctl.h"

#include <algorithm>
#include <array>

namespace zav::fuzz {

namespace {

constexpr std::size_t lines_above = 18;
constexpr std::array<std::string_view, 7> names = {
    "Raw_Read_Error_Rate", "Spin_Up_Time",     "Reallocated_Sector_Ct",
    "Seek_Error_Rate",     "Spin_Retry_Count", "Calibration_Retry_Count",
    "Temperature_Celsius"};

} // namespace

void run(std::string_view input) {
    smart_attribute_list attributes;
    parse_smart_attributes(input, attributes);
    const auto lines = static_cast<std::size_t>(std::ranges::count(input, '\n')) + 1;
    const std::size_t pieces = lines + input.size() / 255;
    require(attributes.size() <= 7, "there are at most seven attributes");
    require(attributes.empty() || attributes.size() + lines_above <= pieces,
            "the first lines have no attributes");
    for (const smart_attribute& attribute : attributes) {
        require(std::ranges::find(names, attribute.name.view()) != names.end(),
                "only the chosen attributes are taken");
        require(!attribute.id.empty(), "an attribute has an id before its name");
        for (const std::string_view word : {attribute.id.view(), attribute.when_failed.view()}) {
            require(word.find_first_of(" \t\n") == word.npos, "a word has no blank");
        }
    }
}

} // namespace zav::fuzz
