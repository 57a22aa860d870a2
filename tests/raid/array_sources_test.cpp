// SPDX-License-Identifier: MIT
// The parsers of names, details and the RAID controller's scan.
#include "raid/array_sources.h"

#include <gmock/gmock.h>

namespace zav {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(ArrayNames, AreWhatStandsBeforeTheColonOfEachMdLine) {
    EXPECT_THAT(
        parse_mdstat_names("Personalities : [raid1] [raid6]\n"
                           "md1 : active raid5 sdc[3] sdb[1] sda[0]\n"
                           "      2453504 blocks super 1.2 level 5 [3/3] [UUU]\n"
                           "      [>....]  recovery =  0.5% (1/2) finish=3min speed=6K/sec\n"
                           "      bitmap: 0/1 pages [0KB], 16384KB chunk\n"
                           "\n"
                           "md0 : inactive sda[0](S)\n"
                           "unused devices: <none>\n"),
        ElementsAre("md1", "md0"));
}

TEST(ArrayNames, LoseSurroundingBlanks) {
    EXPECT_THAT(parse_mdstat_names("  \tmd3  : active raid1\nmd4:active\n"),
                ElementsAre("md3", "md4"));
}

TEST(ArrayNames, MayBeAnyPlainTextThatBeginsWithMd) {
    EXPECT_THAT(parse_mdstat_names("md127 : active\nmd_d0 : active\nmd1p2 : active\n"),
                ElementsAre("md127", "md_d0", "md1p2"));
}

TEST(ArrayNames, NeedAColonOnTheirLine) {
    EXPECT_THAT(parse_mdstat_names("md1 active raid5\nmd2\n"), IsEmpty());
}

TEST(ArrayNames, NeedMdAtTheirBeginning) {
    EXPECT_THAT(parse_mdstat_names("Md1 : active\ndm1 : active\n : md2\n"), IsEmpty());
}

TEST(ArrayNames, ThatAreNotPlainAreLeftOut) {
    EXPECT_THAT(parse_mdstat_names("md1;reboot : active\nmd$(reboot) : active\nmd1 2 : active\n"
                                   "md`reboot` : active\nmd/../1 : active\nmd&1 : active\n"
                                   "md'1 : active\nmd1>x : active\nmd\x80 : active\n"),
                IsEmpty());
}

TEST(ArrayNames, StandOnLinesWithCarriageReturnsToo) {
    EXPECT_THAT(parse_mdstat_names("md1\r : active raid5\r\nmd2 : active\r\n"),
                ElementsAre("md1", "md2"));
}

TEST(ArrayNames, MayStandOnALastLineWithoutItsEnd) {
    EXPECT_THAT(parse_mdstat_names("md1 : active"), ElementsAre("md1"));
}

TEST(ArrayNames, AreNotLookedForBehindANul) {
    EXPECT_THAT(parse_mdstat_names(std::string_view("\0md1 : active\nmd2 : active\n", 27)),
                ElementsAre("md2"));
}

TEST(ArrayNames, AreNoneInGarbage) {
    EXPECT_THAT(parse_mdstat_names(""), IsEmpty());
    EXPECT_THAT(parse_mdstat_names(":::::\n\n\n:"), IsEmpty());
    EXPECT_THAT(parse_mdstat_names(std::string(1 << 20, 'x')), IsEmpty());
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

constexpr std::string_view detail = "/dev/md1:\n"
                                    "        Raid Level : raid5\n"
                                    "     Used Dev Size : 1226752 (1198.00 MiB 1256.19 MB)\n"
                                    "     Creation Time : Fri Nov 20 23:55:20 2026\n"
                                    "             State : clean, degraded \r\n"
                                    "    Number   Major   Minor   RaidDevice State\n";

TEST(DetailValue, IsTheTextBehindTheColonWithoutBlanks) {
    EXPECT_EQ(parse_detail_value(detail, "Raid Level"), "raid5");
    EXPECT_EQ(parse_detail_value(detail, "State"), "clean, degraded");
}

TEST(DetailValue, EndsAtAFurtherColon) {
    EXPECT_EQ(parse_detail_value(detail, "Creation Time"), "Fri Nov 20 23");
}

TEST(DetailValue, NeedsTheWholeKey) {
    EXPECT_EQ(parse_detail_value(detail, "Dev Size"), std::nullopt);
    EXPECT_EQ(parse_detail_value(detail, "raid level"), std::nullopt);
    EXPECT_EQ(parse_detail_value(detail, "Array Size"), std::nullopt);
}

TEST(DetailValue, IsTakenFromTheFirstLineWithTheKey) {
    EXPECT_EQ(parse_detail_value("State : clean\nState : active\n", "State"), "clean");
}

TEST(DetailValue, IsEmptyWhenNothingStandsBehindTheColon) {
    EXPECT_EQ(parse_detail_value("State :\n", "State"), "");
}

TEST(Gigabytes, AreRoundedHalfUp) {
    EXPECT_EQ(kilobytes_to_gigabytes(976759936), 932U);
    EXPECT_EQ(kilobytes_to_gigabytes(524287), 0U);
    EXPECT_EQ(kilobytes_to_gigabytes(524288), 1U);
    EXPECT_EQ(kilobytes_to_gigabytes(1048576 + 524287), 1U);
    EXPECT_EQ(kilobytes_to_gigabytes(1048576 + 524288), 2U);
}

TEST(Gigabytes, OfTheLargestNumberDoNotWrapAround) {
    EXPECT_EQ(kilobytes_to_gigabytes(UINT64_MAX), UINT64_MAX >> 20);
}

// An example of the controller's scan.
constexpr const char* scan = "RAID arrays\n"
                             "Name /Level/Disks/Status/Size/Device/Members\n"
                             "md9 /5/3/before the table/1/sdz/#9\n"
                             "  ==========  \n"
                             "md0 /5/3/Normal /1862 /sda/ #1 #2 #3\n"
                             "   \t \n"
                             "md1 /0/2/ Degraded now/931/sdb/#4,#5\n"
                             "==========\n"
                             "Disks in no array: 2\n"
                             "md2 /6/4/Normal/100/sdc/#6 spare #7\n";

class ControllerArrays : public testing::Test {
  protected:
    void parse(std::string_view text) { parse_controller_arrays(text, list); }
    [[nodiscard]] mdinfo& only() {
        EXPECT_EQ(list.size(), 1U);
        return *list.begin();
    }
    mdinfo_list list;
};

TEST_F(ControllerArrays, AreTheMdLinesBehindTheFirstRule) {
    parse(scan);
    std::vector<std::string> names;
    for (const mdinfo& array : list) {
        names.emplace_back(array.name.view());
    }
    EXPECT_THAT(names, ElementsAre("md0", "md1", "md2"));
}

TEST_F(ControllerArrays, HaveTheirFieldsBetweenSlashes) {
    parse("=\nmd0 /5/3/Normal /1862 /sda/ #1 #2 #3\n");
    EXPECT_EQ(only().name, "md0");
    EXPECT_EQ(only().type, "raid5");
    EXPECT_EQ(only().status, "Normal");
    EXPECT_EQ(only().allsize, 1862U);
    EXPECT_EQ(only().device, "sda");
    EXPECT_EQ(only().members, "1,2,3");
}

TEST_F(ControllerArrays, HaveNoUsedSizeSparesOrProgress) {
    parse(scan);
    for (const mdinfo& array : list) {
        EXPECT_EQ(array.usedsize, 0U);
        EXPECT_EQ(array.spare, "");
        EXPECT_EQ(array.progress, "");
    }
}

TEST_F(ControllerArrays, HaveValuesThatEndAtTheFirstBlank) {
    parse("=\nmd0 / 5 x/3/ Degraded now/ 931 GB/ sdb x/#1\n");
    EXPECT_EQ(only().type, "raid5");
    EXPECT_EQ(only().status, "Degraded");
    EXPECT_EQ(only().allsize, 931U);
    EXPECT_EQ(only().device, "sdb");
}

TEST_F(ControllerArrays, HaveOnlyMembersThatBeginWithTheSign) {
    parse("=\nmd0 /5/3/N/1/sda/#6 spare x#8 #7\n");
    EXPECT_EQ(only().members, "6,7");
}

TEST_F(ControllerArrays, KeepAllOfAMemberWord) {
    parse("=\nmd0 /5/3/N/1/sda/#4,#5 #6\n");
    EXPECT_EQ(only().members, "4,#5,6");
}

TEST_F(ControllerArrays, AreCutToTheirFields) {
    parse("=\nmd0 /" + std::string(10, '5') + "/3/" + std::string(60, 's') + "/1/" +
          std::string(9, 'd') + "/#1\n");
    EXPECT_EQ(only().type, "raid555");
    EXPECT_EQ(only().status, std::string(47, 's'));
    EXPECT_EQ(only().device, std::string(7, 'd'));
}

TEST_F(ControllerArrays, MayLackTheirLastFields) {
    parse("=\nmd0 /5\n");
    EXPECT_EQ(only().type, "raid5");
    EXPECT_EQ(only().status, "");
    EXPECT_EQ(only().allsize, 0U);
    EXPECT_EQ(only().members, "");
}

TEST_F(ControllerArrays, MayBeIndented) {
    parse("=\n  \tmd0 /5/3/N/1/sda/#1\r\n");
    EXPECT_EQ(only().name, "md0");
    EXPECT_EQ(only().members, "1");
}

TEST_F(ControllerArrays, WithNamesThatAreNotPlainAreLeftOut) {
    parse("=\nmd0;reboot /5/3/N/1/sda/#1\nmd$(reboot) /5/3/N/1/sda/#1\n");
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(ControllerArrays, AreNoneWithoutARule) {
    parse("md0 /5/3/N/1/sda/#1\n= =\n=x\nmd1 /5/3/N/1/sda/#1\n");
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(ControllerArrays, DoNotBeginBehindAnEmptyLine) {
    parse("\n \t \nmd0 /5/3/N/1/sda/#1\n");
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(ControllerArrays, AreNoneInGarbage) {
    parse("");
    parse("=\n////\n#\n\n" + std::string(1 << 20, '/'));
    EXPECT_THAT(list, IsEmpty());
}

} // namespace
} // namespace zav
