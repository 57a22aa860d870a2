// SPDX-License-Identifier: MIT
// Disks with what they say about their health.
#include "applets/disksmart.h"
#include "applets/tables.h"
#include "fixtures/disk_root.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

/// A disk with every field set.
void fill(disk_info& disk) {
    disk.space = {931};
    disk.status = "running";
    disk.model = "DISK MODEL";
    disk.usage = "RAID md0";
    disk.hotspare = 1;
    disk.smart.device_model = "MODEL";
    disk.smart.serial_number = "SERIAL";
    disk.smart.firmware_version = "FW1";
    disk.smart.user_capacity = "1 TB";
    disk.smart.ata_version = "8";
    disk.smart.ata_standard = "ATA-8";
    disk.smart.support = "Available";
    disk.smart.support_enabled = "Enabled";
    disk.smart.health = "PASSED";
    smart_attribute& attribute = disk.smart_attributes.append();
    attribute.id = "194";
    attribute.name = "Temperature_Celsius";
    attribute.value = 110;
    attribute.worst = 92;
    attribute.threshold = 7;
    attribute.when_failed = "-";
    attribute.raw = 4000000000U;
}

/// What a function prints.
std::string printed_by(const std::function<void()>& print) {
    PrivateRoot root;
    const auto run = [&] {
        print();
        return 0;
    };
    return root.call(run).out;
}

constexpr char empty_smart[] = "=== START OF INFORMATION SECTION ===\n"
                               "Device Model:     \n"
                               "Serial Number:    \n"
                               "Firmware Version: \n"
                               "User Capacity:    \n"
                               "ATA Version is:   \n"
                               "ATA Standard is:  \n"
                               "SMART support is: \n"
                               "SMART support is: \n"
                               "=== START OF READ SMART DATA SECTION ===\n"
                               "''\n";

TEST(DiskShow, PrintsTheRecordThenItsSmartData) {
    const std::string text = printed_by([] {
        disk_list list;
        fill(add_disk(list, "sda", 3, "4"));
        disk_show(*list.begin());
    });
    EXPECT_EQ(text, "'sda'\t'3'\t'931'\t'running'\t'DISK MODEL'\t'RAID md0'\t'4'\t'1'\n"
                    "=== START OF INFORMATION SECTION ===\n"
                    "Device Model:     MODEL\n"
                    "Serial Number:    SERIAL\n"
                    "Firmware Version: FW1\n"
                    "User Capacity:    1 TB\n"
                    "ATA Version is:   8\n"
                    "ATA Standard is:  ATA-8\n"
                    "SMART support is: Available\n"
                    "SMART support is: Enabled\n"
                    "=== START OF READ SMART DATA SECTION ===\n"
                    "'PASSED'\n"
                    "'194'\t'Temperature_Celsius'\t'110'\t'92'\t'7'\t'-'\t'4000000000'\n");
}

TEST(DiskShow, PrintsEmptyFieldsToo) {
    EXPECT_EQ(printed_by([] { disk_show(disk_info()); }),
              std::string("''\t'0'\t'0'\t''\t''\t''\t''\t'0'\n") + empty_smart);
}

TEST(DiskShow, PrintsNegativeChannels) {
    const std::string text = printed_by([] {
        disk_list list;
        disk_show(add_disk(list, "sda", -15));
    });
    EXPECT_THAT(text, testing::StartsWith("'sda'\t'-15'\t'0'\t"));
}

TEST(DiskShow, OfAVirtualDiskPrintsTheRecordOnly) {
    const std::string text = printed_by([] {
        disk_list list;
        disk_info& disk = add_disk(list, "sda", 3, "5");
        fill(disk);
        disk.model = "VIRTUAL-DISK";
        disk_show(disk);
    });
    EXPECT_EQ(text, "'sda'\t'3'\t'931'\t'running'\t'VIRTUAL-DISK'\t'RAID md0'\t'5'\t'1'\n");
}

TEST(DiskShow, TakesOnlyTheExactModelForAVirtualDisk) {
    for (const char* model : {"VIRTUAL-DISK2", "virtual-disk", "VIRTUAL"}) {
        const std::string text = printed_by([model] {
            disk_info disk;
            disk.model = model;
            disk_show(disk);
        });
        EXPECT_EQ(text,
                  std::string("''\t'0'\t'0'\t''\t'") + model + "'\t''\t''\t'0'\n" + empty_smart);
    }
}

TEST(DiskShow, OfAListPrintsEachDisk) {
    const std::string text = printed_by([] {
        disk_list list;
        add_disk(list, "sda", 1);
        add_disk(list, "sdb", 2);
        show_list(&list, disk_show);
        show_list(static_cast<disk_list*>(nullptr), disk_show);
    });
    EXPECT_EQ(text, std::string("'sda'\t'1'\t'0'\t''\t''\t''\t'0'\t'0'\n") + empty_smart +
                        "'sdb'\t'2'\t'0'\t''\t''\t''\t'0'\t'0'\n" + empty_smart +
                        "Can't show NULL list\n");
}

} // namespace
} // namespace zav::test
