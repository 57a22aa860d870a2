// SPDX-License-Identifier: MIT
#include "disks/smart_sources.h"

#include "frame/text.h"

#include <algorithm>
#include <array>
#include <limits>

namespace zav {

namespace {

constexpr std::size_t most_attributes = 7;
/// Lines above it are not looked at: smartctl prints the disk's identity there.
constexpr int first_attribute_line = 18;

struct AttributeName {
    std::string_view smartctl;
    std::string_view controller;
    bool is_shown;
};

/// The attributes that both tools know, in their two spellings, and which of them are shown.
constexpr std::array<AttributeName, 18> attribute_names = {{
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

bool is_taken(std::string_view name, std::string_view AttributeName::*spelling) {
    return std::ranges::any_of(attribute_names, [&](const AttributeName& known) {
        return known.is_shown && known.*spelling == name;
    });
}

std::uint32_t number(std::string_view text) {
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(decimal(text), std::numeric_limits<std::uint32_t>::max()));
}

/// Takes the first word off the text; empty when there is none.
std::string_view take_word(std::string_view& text) {
    text = trim(text);
    const std::string_view word = cut_at(text, blanks);
    text.remove_prefix(word.size());
    return word;
}

/// A row of smartctl's table: id, name, flag, value, worst, threshold, type, when it is updated,
/// when it failed, raw value.
void get_smart_detail_value(std::string_view row, smart_attribute& attribute) {
    attribute.id = take_word(row);
    attribute.name = take_word(row);
    take_word(row);
    attribute.value = number(take_word(row));
    attribute.worst = number(take_word(row));
    attribute.threshold = number(take_word(row));
    take_word(row);
    take_word(row);
    attribute.when_failed = take_word(row);
    attribute.raw = number(take_word(row));
}

/// The numbers behind a name. Words that are no numbers are passed over.
void get_smart_value_vexadm(std::string_view values, smart_attribute& attribute) {
    for (std::uint32_t* target :
         {&attribute.value, &attribute.worst, &attribute.threshold, &attribute.raw}) {
        std::string_view word;
        do {
            word = take_word(values);
            if (word.starts_with('(')) {
                word.remove_prefix(1);
            }
        } while (!values.empty() && (word.empty() || !is_digit(word.front())));
        *target = number(word);
    }
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
            is_taken(field(line, blanks, 1), &AttributeName::smartctl)) {
            get_smart_detail_value(line, list.append());
            ++taken;
        }
    }
}

void parse_controller_attributes(std::string_view output, smart_attribute_list& list) {
    CountedLines lines(output);
    std::string_view line;
    std::size_t taken = 0;
    while (taken < most_attributes && lines.next(line)) {
        const std::string_view name = trim(cut_at(line, ":"));
        if (is_taken(name, &AttributeName::controller)) {
            smart_attribute& attribute = list.append();
            attribute.name = name;
            const std::size_t values = std::min(cut_at(line, ":").size() + 1, line.size());
            get_smart_value_vexadm(line.substr(values), attribute);
            ++taken;
        }
    }
}

} // namespace zav
