// SPDX-License-Identifier: MIT
// A disk's identity and health as smartctl prints them.
#include "fuzz.h"
#include "sources/smartctl.h"

namespace zav::fuzz {

namespace {

void check_field(std::string_view input, std::string_view key, std::string_view value) {
    if (value.empty()) {
        return;
    }
    require(value.find('\n') == value.npos, "a value stands on one line");
    require(value.front() != ' ' && value.front() != '\t', "a value begins with no blank");
    std::size_t at = input.find(key);
    require(at != input.npos, "a value has its key");
    do {
        at = input.find(value, at + 1);
        require(at != input.npos, "a value stands behind its key, a colon and blanks");
    } while (input[at - 1] != ':' && input[at - 1] != ' ' && input[at - 1] != '\t');
}

} // namespace

void run(std::string_view input) {
    const smart_summary summary = parse_smart_summary(input);
    check_field(input, "Device Model", summary.device_model);
    check_field(input, "Serial Number", summary.serial_number);
    check_field(input, "Firmware Version", summary.firmware_version);
    check_field(input, "User Capacity", summary.user_capacity);
    check_field(input, "ATA Version is", summary.ata_version);
    check_field(input, "ATA Standard is", summary.ata_standard);
    check_field(input, "SMART support is", summary.support);
    check_field(input, "SMART support is", summary.support_enabled);
    check_field(input, "SMART overall-health self-assessment test result", summary.health);
    if (!summary.support_enabled.empty()) {
        constexpr std::string_view key = "SMART support is";
        require(input.find(key) != input.rfind(key), "the second support line is not the first");
    }
}

} // namespace zav::fuzz
