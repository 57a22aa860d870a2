// SPDX-License-Identifier: MIT
// For the tests of the disks' health: the files in smart_outputs, and records as short texts.
#pragma once

#include "base/text.h"
#include "records/smart.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace zav::test {

/// tests/sources/smart_outputs/NAME.txt; the test fails if it does not exist.
inline std::string smart_output(const std::string& name) {
    std::ifstream file(ZAV_TEST_SMART_OUTPUTS "/" + name + ".txt", std::ios::binary);
    EXPECT_TRUE(file.is_open()) << "no output " << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The nine fields, in the record's order.
inline std::vector<std::string> fields(const smart_summary& summary) {
    return {summary.device_model.c_str(),
            summary.serial_number.c_str(),
            summary.firmware_version.c_str(),
            summary.user_capacity.c_str(),
            summary.ata_version.c_str(),
            summary.ata_standard.c_str(),
            summary.support.c_str(),
            summary.support_enabled.c_str(),
            summary.health.c_str()};
}

/// "id|name|value|worst|threshold|when failed|raw value" of each attribute.
inline std::vector<std::string> rows(const smart_attribute_list& list) {
    std::vector<std::string> texts;
    for (const smart_attribute& attribute : list) {
        texts.push_back(format_text(
            "%s|%s|%u|%u|%u|%s|%u", attribute.id.c_str(), attribute.name.c_str(), attribute.value,
            attribute.worst, attribute.threshold, attribute.when_failed.c_str(), attribute.raw));
    }
    return texts;
}

} // namespace zav::test
