// SPDX-License-Identifier: MIT
// The disk that a device of the kernel is on.
#include "records/disk.h"

#include <gtest/gtest.h>
#include <utility>

namespace zav {
namespace {

TEST(WholeDisk, IsTheDeviceWithoutItsPartition) {
    for (const auto& [device, disk] : {std::pair{"sda", "sda"},
                                       {"sda1", "sda"},
                                       {"sdaa12", "sdaa"},
                                       {"hda3", "hda"},
                                       {"vdb2", "vdb"},
                                       {"xvdc3", "xvdc"},
                                       {"nvme0n1", "nvme0n1"},
                                       {"nvme0n1p2", "nvme0n1"},
                                       {"nvme10n12p34", "nvme10n12"},
                                       {"mmcblk0", "mmcblk0"},
                                       {"mmcblk0p1", "mmcblk0"},
                                       {"mmcblk0boot0", "mmcblk0boot0"},
                                       {"md0", "md0"},
                                       {"md127p1", "md127"},
                                       {"", ""},
                                       {"dm-0", "dm-0"},
                                       {"ram2", "ram2"},
                                       {"p1", "p1"},
                                       {"3", "3"}}) {
        EXPECT_EQ(whole_disk_name(device), disk) << device;
    }
}

TEST(WholeDisk, OfARecordIsCutAsTheRecordHasIt) {
    EXPECT_TRUE(is_whole_disk_of("nvme10n1p2", "nvme10n"));
    EXPECT_TRUE(is_whole_disk_of("sdb3", "sdb"));
    EXPECT_FALSE(is_whole_disk_of("sdba3", "sdb"));
    EXPECT_FALSE(is_whole_disk_of("nvme0n2p1", "nvme0n1"));
    EXPECT_FALSE(is_whole_disk_of("", ""));
}

TEST(KindOfDisk, IsToldByTheName) {
    for (const char* device : {"sda", "sdz9", "vda1", "xvda", "nvme0n1", "mmcblk0p2"}) {
        EXPECT_TRUE(is_kind_of_disk(device)) << device;
    }
    for (const char* device : {"hda", "sr0", "md0", "dm-1", "loop0", "ram1", "mapper/x", ""}) {
        EXPECT_FALSE(is_kind_of_disk(device)) << device;
    }
}

} // namespace
} // namespace zav
