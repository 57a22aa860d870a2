// SPDX-License-Identifier: MIT
#include "records/smart.h"

#include <cstdio>

namespace zav {

void smart_summary_show(const smart_summary& summary) {
    std::puts("=== START OF INFORMATION SECTION ===");
    std::printf("Device Model:     %s\n", summary.device_model.c_str());
    std::printf("Serial Number:    %s\n", summary.serial_number.c_str());
    std::printf("Firmware Version: %s\n", summary.firmware_version.c_str());
    std::printf("User Capacity:    %s\n", summary.user_capacity.c_str());
    std::printf("ATA Version is:   %s\n", summary.ata_version.c_str());
    std::printf("ATA Standard is:  %s\n", summary.ata_standard.c_str());
    std::printf("SMART support is: %s\n", summary.support.c_str());
    std::printf("SMART support is: %s\n", summary.support_enabled.c_str());
    std::puts("=== START OF READ SMART DATA SECTION ===");
    std::printf("'%s'\n", summary.health.c_str());
}

void smart_attribute_show(const smart_attribute& attribute) {
    std::printf("'%s'\t'%s'\t'%u'\t'%u'\t'%u'\t'%s'\t'%u'\n", attribute.id.c_str(),
                attribute.name.c_str(), attribute.value, attribute.worst, attribute.threshold,
                attribute.when_failed.c_str(), attribute.raw);
}

} // namespace zav
