// SPDX-License-Identifier: MIT
// The kernel's partition table.
#include "sources/partitions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PartitionTable, GivesTheWholeScsiDisksInItsOrder) {
    EXPECT_THAT(parse_partition_disks(recorded("partitions_disks").text),
                ElementsAre("sda", "sdb", "sdc", "sdd", "sde", "sdf", "sdg", "sdh"));
    EXPECT_THAT(parse_partition_disks("   8 32 9 sdc\n   8 0 9 sda\n"), ElementsAre("sdc", "sda"));
}

TEST(PartitionTable, PartitionsAndOtherDevicesAreLeftOut) {
    EXPECT_THAT(parse_partition_disks("major minor  #blocks  name\n\n"
                                      " 8 0 9 sda\n 8 1 9 sda1\n 8 2 9 sda15\n 9 0 9 md0\n"
                                      " 3 0 9 hda\n 8 5 9 sdab\n 8 6 9 SDC\n 8 7 9 xsdd\n"),
                ElementsAre("sda", "sdab"));
}

TEST(PartitionTable, EachDiskIsGivenOnce) {
    EXPECT_THAT(parse_partition_disks("8 0 9 sda\n8 0 9 sdb\n8 0 9 sda\n"),
                ElementsAre("sda", "sdb"));
}

TEST(PartitionTable, ShortLinesCarriageReturnsAndGarbageDoNoHarm) {
    EXPECT_THAT(parse_partition_disks("8\n8 0\n8 0 9\n8 0 9 sda \r\n" + std::string(1 << 20, 's')),
                ElementsAre("sda"));
    EXPECT_THAT(parse_partition_disks(""), IsEmpty());
}

TEST(PartitionArrays, AreTheFourthFieldsThatBeginWithMd) {
    EXPECT_THAT(parse_partition_arrays("major minor  #blocks  name\n\n"
                                       "   8        0    1228800 sda\n"
                                       "   9        0    2453504 md0\n"
                                       "   9\t1\t2453504\tmd1\n"
                                       " 254        0    2097152 dm-0\n"),
                ElementsAre("md0", "md1"));
}

TEST(PartitionArrays, NeedFourFields) {
    EXPECT_THAT(parse_partition_arrays("9 0 md0\nmd1\n"), IsEmpty());
}

TEST(PartitionArrays, ThatAreNotPlainAreLeftOut) {
    EXPECT_THAT(parse_partition_arrays("9 0 1 md0;reboot\n"), IsEmpty());
}

TEST(PartitionArrays, MayStandOnLinesWithCarriageReturns) {
    EXPECT_THAT(parse_partition_arrays("9 0 1 md0\r\n"), ElementsAre("md0"));
}

} // namespace
} // namespace zav::test
