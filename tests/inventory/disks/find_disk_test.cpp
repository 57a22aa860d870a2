// SPDX-License-Identifier: MIT
// Finding a disk by its channel and device.
#include "fixtures/disk_root.h"
#include "fixtures/library.h"
#include "inventory/disks.h"
#include "sources/share_lines.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;

class FindDisk : public testing::Test {
  public:
    FindDisk() {
        add_disk(list, "sda", 1, "0");
        add_disk(list, "sdb", 1, "3");
        add_disk(list, "sdc", 2, "0");
        add_disk(list, "sdd", 2, "0");
        add_disk(list, "sde", -7, "");
    }
    disk_list list;
    disk_list found;
};

TEST_F(FindDisk, NeedsTheChannelAndTheDevice) {
    EXPECT_EQ(find_disk(list, found, 1, "3"), 0);
    EXPECT_THAT(places(found), ElementsAre("sdb 1 3"));
}

TEST_F(FindDisk, GivesTheFirstOfSeveral) {
    EXPECT_EQ(find_disk(list, found, 2, "0"), 0);
    EXPECT_THAT(places(found), ElementsAre("sdc 2 0"));
}

TEST_F(FindDisk, ComparesTheWholeDeviceText) {
    EXPECT_EQ(find_disk(list, found, 1, "30"), -202);
}

TEST_F(FindDisk, GivesADiskWithoutADevice) {
    EXPECT_EQ(find_disk(list, found, -7, ""), 0);
    EXPECT_THAT(places(found), ElementsAre("sde -7 "));
}

TEST_F(FindDisk, EmptiesTheSearchedListWhenFound) {
    ignore(find_disk(list, found, 1, "0"));
    EXPECT_TRUE(list.empty());
}

TEST_F(FindDisk, EmptiesTheSearchedListWhenNotFound) {
    EXPECT_EQ(find_disk(list, found, 3, "0"), -202);
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(found.empty());
}

TEST_F(FindDisk, OfAnEmptyListFails) {
    list.clear();
    EXPECT_EQ(find_disk(list, found, 1, "0"), -202);
}

TEST_F(FindDisk, AddsToWhatTheTargetHas) {
    add_disk(found, "sdz", 9);
    ignore(find_disk(list, found, 1, "0"));
    EXPECT_THAT(places(found), ElementsAre("sdz 9 0", "sda 1 0"));
}

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

TEST_F(FindDisk, CopiesTheRecordWithoutItsSmartData) {
    for (disk_info& disk : list) {
        fill(disk);
    }
    ignore(find_disk(list, found, 1, "0"));
    EXPECT_THAT(rows(found), ElementsAre("sda|1|931|running|DISK MODEL|RAID md0|0|1"));
    EXPECT_TRUE(found.begin()->smart.health.empty());
    EXPECT_TRUE(found.begin()->smart_attributes.empty());
}

} // namespace
} // namespace zav::test
