// SPDX-License-Identifier: MIT
// The rows of the disk listings.
#include "actions/arrays/changes.h"
#include "fixtures/disk_root.h"
#include "fixtures/library.h"
#include "sources/mdadm.h"
#include "sources/share_lines.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A disk with every field set.
void fill(disk_info& disk) {
    disk.space = 931;
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

/// The text that a function prints.
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

TEST(DiskShow, TreatsOnlyTheExactModelAsAVirtualDisk) {
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

TEST(DiskShow, OfItsPlaceIsOneLine) {
    const std::string text = printed_by([] {
        disk_list list;
        fill(add_disk(list, "sda", -15, "4"));
        disk_place_show(*list.begin(), printed());
        disk_place_show(disk_info(), printed());
    });
    EXPECT_EQ(text, "disk : ch = -15, devcie = 4, name = sda\n"
                    "disk : ch = 0, devcie = , name = \n");
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

constexpr char listing_header[] =
    "diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\traid\tuse\thotspare\n"
    "*****************************************************\n";

display_disk_info& add_shown(display_disk_list& list, const char* name, int hotspare) {
    display_disk_info& disk = list.append();
    disk.diskname = name;
    disk.channel = 3;
    disk.space = 931;
    disk.status = "running";
    disk.model = "DISK MODEL";
    disk.state = "RAID";
    disk.device = "0";
    disk.raid = "md1";
    disk.use = 1;
    disk.hotspare = hotspare;
    return disk;
}

TEST(DiskListing, HasHeaderRuleAndARowOfTenColumnsForEachDisk) {
    const std::string text = printed_by([] {
        display_disk_list list;
        add_shown(list, "sda", 1);
        add_shown(list, "sdb", 0);
        display_disk_list_show(&list);
    });
    const std::string row = "\t'3'\t'931'\t'running'\t'DISK MODEL'\t'RAID'\t'0'\t'md1'\t'1'\t";
    EXPECT_EQ(text, listing_header + ("'sda'" + row + "'H'\n") + ("'sdb'" + row + "'NH'\n"));
}

TEST(DiskListing, MarksOnlyTheValueOneAsAHotSpare) {
    const std::string text = printed_by([] {
        display_disk_list list;
        display_disk_show(add_shown(list, "sda", -1));
        display_disk_show(add_shown(list, "sda", 2));
    });
    EXPECT_THAT(split(text, "\n"),
                ElementsAre(testing::EndsWith("'NH'"), testing::EndsWith("'NH'")));
}

TEST(DiskListing, PrintsSpaceAsASignedNumberOf64Bits) {
    const std::string text = printed_by([] {
        display_disk_list list;
        display_disk_info& disk = add_shown(list, "sda", 0);
        disk.space = LLONG_MIN;
        disk.channel = INT_MIN;
        display_disk_show(disk);
    });
    EXPECT_THAT(text, testing::StartsWith("'sda'\t'-2147483648'\t'-9223372036854775808'\t"));
}

TEST(DiskListing, WithoutDisksHasHeaderAndRule) {
    EXPECT_EQ(printed_by([] {
                  const display_disk_list list;
                  display_disk_list_show(&list);
              }),
              listing_header);
}

TEST(DiskListing, OfNoListIsAMessageAlone) {
    EXPECT_EQ(printed_by([] { display_disk_list_show(nullptr); }), "Can't show NULL disklist\n");
}

TEST(DiskListing, IsEmptiedSilently) {
    display_disk_list list;
    add_shown(list, "sda", 0);
    EXPECT_EQ(display_disk_list_destroy(&list), 0);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(display_disk_list_destroy(&list), 0);
    EXPECT_THAT(printed_by([] {
                    display_disk_list none;
                    display_disk_list_destroy(&none);
                }),
                IsEmpty());
}

TEST(DiskListing, ThatIsNoListIsNotEmptied) {
    EXPECT_EQ(printed_by([] { EXPECT_EQ(display_disk_list_destroy(nullptr), -1); }),
              "Can't destory NULL disklist\n");
}

} // namespace
} // namespace zav::test
