// SPDX-License-Identifier: MIT
// The attributes of a disk as the RAID controller's tool prints them.
#include "fuzz.h"
#include "sources/vexadm.h"

#include <algorithm>
#include <array>

namespace zav::fuzz {

namespace {

constexpr std::array<std::string_view, 7> names = {
    "Raw Read Error Rate", "Spin Up Time",     "Reallocated Sector Ct",
    "Seek Error Rate",     "Spin Retry Count", "Calibration Retry Count",
    "Temperature Celsius"};

} // namespace

void run(std::string_view input) {
    smart_attribute_list attributes;
    parse_controller_attributes(input, attributes);
    const auto lines = static_cast<std::size_t>(std::ranges::count(input, '\n')) + 1;
    require(attributes.size() <= std::min<std::size_t>(7, lines + input.size() / 255),
            "a line has one attribute, and there are at most seven");
    const bool has_digit = input.find_first_of("0123456789") != input.npos;
    for (const smart_attribute& attribute : attributes) {
        require(std::ranges::find(names, attribute.name.view()) != names.end(),
                "only the chosen attributes are taken");
        require(input.find(attribute.name.view()) != input.npos, "the output has the name");
        require(attribute.id.empty() && attribute.when_failed.empty(),
                "the tool has neither ids nor failures");
        require(has_digit || (attribute.value == 0 && attribute.worst == 0 &&
                              attribute.threshold == 0 && attribute.raw == 0),
                "numbers are made of digits");
    }
}

} // namespace zav::fuzz
