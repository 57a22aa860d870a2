// SPDX-License-Identifier: MIT
#include "sources/smartctl.h"

#include "base/text.h"
#include "sources/smart_attributes.h"

namespace zav {

namespace {

/// Lines above it are not looked at: smartctl prints the disk's identity there.
constexpr int first_attribute_line = 18;

/// A row of smartctl's table: id, name, flag, value, worst, threshold, type, when it is updated,
/// when it failed, raw value.
void get_smart_detail_value(std::string_view row, smart_attribute& attribute) {
    attribute.id = take_word(row);
    attribute.name = take_word(row);
    take_word(row);
    attribute.value = attribute_number(take_word(row));
    attribute.worst = attribute_number(take_word(row));
    attribute.threshold = attribute_number(take_word(row));
    take_word(row);
    take_word(row);
    attribute.when_failed = take_word(row);
    attribute.raw = attribute_number(take_word(row));
}

} // namespace

smart_summary parse_smart_summary(std::string_view output) {
    const auto value = [output](const char* key, std::size_t occurrence = 0) {
        return get_value_from_file(output, key, occurrence, ":").value_or("");
    };
    smart_summary summary;
    summary.device_model = value("Device Model");
    summary.serial_number = value("Serial Number");
    summary.firmware_version = value("Firmware Version");
    summary.user_capacity = value("User Capacity");
    summary.ata_version = value("ATA Version is");
    summary.ata_standard = value("ATA Standard is");
    summary.support = value("SMART support is");
    summary.support_enabled = value("SMART support is", 1);
    summary.health = value("SMART overall-health self-assessment test result");
    return summary;
}

void parse_smart_attributes(std::string_view output, smart_attribute_list& list) {
    CountedLines lines(output);
    std::string_view line;
    std::size_t taken = 0;
    for (int index = 0; taken < most_attributes && lines.next(line); ++index) {
        if (index >= first_attribute_line &&
            is_shown(field(line, blanks, 1), &AttributeName::smartctl)) {
            get_smart_detail_value(line, list.append());
            ++taken;
        }
    }
}

} // namespace zav
