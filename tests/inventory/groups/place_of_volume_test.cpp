// SPDX-License-Identifier: MIT
// The place of a physical volume: on an array, on a disk, behind the RAID controller.
#include "fixtures/library.h"
#include "inventory/groups.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

// The disks sdc on channel 3 of device "1" and sdd on channel 4 of an unknown device; the arrays
// md0 on device "2" and md1 on none.
class PlaceOfVolume : public testing::Test {
  protected:
    PlaceOfVolume() {
        add_disk("sdc", 3, "1");
        add_disk("sdd", 4, "");
        add_array("md0", "2");
        add_array("md1", "");
    }
    void add_disk(const char* name, int channel, const char* device) {
        disk_info& disk = disks.append();
        disk.name = name;
        disk.channel = channel;
        disk.device = device;
    }
    void add_array(const char* name, const char* device) {
        mdinfo& array = arrays.append();
        array.name = name;
        array.device = device;
    }
    void on_disks(const char* name) {
        volume.name = name;
        locate_on_disks(volume, group, disks, arrays);
    }
    void on_controller(const char* name) {
        volume.name = name;
        locate_on_controller(volume, group, arrays);
    }
    disk_list disks;
    mdinfo_list arrays;
    vginfo group;
    pvinfo volume;
};

TEST_F(PlaceOfVolume, OnAnArrayIsTheArraysDevice) {
    on_disks("md0");
    EXPECT_EQ(volume.name, "md0");
    EXPECT_EQ(volume.device, "2");
    EXPECT_EQ(group.device, "2");
}

TEST_F(PlaceOfVolume, OnADiskIsTheDisksDeviceAndItsChannelTheName) {
    on_disks("sdc");
    EXPECT_EQ(volume.name, "3");
    EXPECT_EQ(volume.device, "1");
    EXPECT_EQ(group.device, "1");
}

TEST_F(PlaceOfVolume, OnSomethingUnknownChangesNothing) {
    group.device = "7";
    for (const char* name : {"md9", "sdx", "sdc1", "sd", "ram2", "hdc", "dm-0", ""}) {
        on_disks(name);
        EXPECT_EQ(volume.name, name);
        EXPECT_EQ(volume.device, "");
        EXPECT_EQ(group.device, "7");
    }
}

TEST_F(PlaceOfVolume, IsNoArrayUnderADisksName) {
    add_array("sdx", "2");
    add_disk("mdx", 9, "1");
    on_disks("sdx");
    EXPECT_EQ(volume.device, "");
    on_disks("mdx");
    EXPECT_EQ(volume.name, "mdx");
}

TEST_F(PlaceOfVolume, IsNoDiskOfAnotherKind) {
    add_disk("hdc", 9, "1");
    on_disks("hdc");
    EXPECT_EQ(volume.name, "hdc");
    EXPECT_EQ(volume.device, "");
}

TEST_F(PlaceOfVolume, IsTheGroupsAfterTheLastOneThatHasADevice) {
    on_disks("md0");
    on_disks("sdc");
    EXPECT_EQ(group.device, "1");
    for (const char* name : {"md1", "sdd"}) {
        on_disks(name);
        EXPECT_EQ(volume.device, "");
        EXPECT_EQ(group.device, "1");
    }
}

TEST_F(PlaceOfVolume, BehindTheControllerIsTheArrayThatHasTheDisksNameAsADevice) {
    add_array("md5", "sda");
    on_controller("sda");
    EXPECT_EQ(volume.name, "md5");
    EXPECT_EQ(volume.device, "0");
    EXPECT_EQ(group.device, "0");
}

TEST_F(PlaceOfVolume, BehindTheControllerIsTheFirstSuchArray) {
    add_array("md5", "sda");
    add_array("md6", "sda");
    on_controller("sda");
    EXPECT_EQ(volume.name, "md5");
}

TEST_F(PlaceOfVolume, BehindTheControllerIsNeverLookedUpForAnArray) {
    add_array("md7", "md7");
    for (const char* name : {"md0", "md7"}) {
        on_controller(name);
        EXPECT_EQ(volume.name, name);
        EXPECT_EQ(volume.device, "");
        EXPECT_EQ(group.device, "");
    }
}

TEST_F(PlaceOfVolume, BehindTheControllerStaysUnknownWithoutSuchAnArray) {
    on_controller("sdc");
    EXPECT_EQ(volume.name, "sdc");
    EXPECT_EQ(volume.device, "");
}

} // namespace
} // namespace zav::test
