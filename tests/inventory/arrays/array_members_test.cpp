// SPDX-License-Identifier: MIT
// Member lists: which disks the channels mean, what is already in use.
#include "inventory/array_members.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace zav {
namespace {

void add(disk_list& disks, std::string_view name, int channel, std::string_view device) {
    disk_info& disk = disks.append();
    disk.name = name;
    disk.channel = channel;
    disk.device = device;
}

// The channels in the order of the disk list: 3 first.
class ChannelTranslation : public testing::Test {
  protected:
    ChannelTranslation() {
        add(disks, "sdc", 3, "0");
        add(disks, "sda", 1, "0");
        add(disks, "sdb", 2, "0");
        add(disks, "sdx", 1, "1");
    }
    int translate(int expected, std::string_view device = "0") {
        return ch_to_disks(disks, list, device, expected);
    }
    disk_list disks;
    std::string list;
};

TEST_F(ChannelTranslation, RewritesTheListWithKernelNames) {
    list = "1";
    EXPECT_EQ(translate(1), 1);
    EXPECT_EQ(list, "sda");
}

TEST_F(ChannelTranslation, KeepsTheOrderOfTheDiskListNotTheTypedOne) {
    list = "1,2,3";
    EXPECT_EQ(translate(3), 3);
    EXPECT_EQ(list, "sdc,sda,sdb");
}

TEST_F(ChannelTranslation, TakesOnlyDisksOfTheDevice) {
    list = "1";
    EXPECT_EQ(translate(1, "1"), 1);
    EXPECT_EQ(list, "sdx");
}

TEST_F(ChannelTranslation, FindsNothingOnAnotherDevice) {
    list = "3";
    EXPECT_EQ(translate(1, "1"), 0);
    EXPECT_EQ(list, "3");
}

TEST_F(ChannelTranslation, FindsNothingOnTheBeginningOfADevice) {
    disks.clear();
    add(disks, "sda", 1, "10");
    list = "1";
    EXPECT_EQ(translate(1, "1"), 0);
    EXPECT_EQ(translate(1, ""), 0);
}

TEST_F(ChannelTranslation, LeavesTheListAloneWhenTooFewMatch) {
    list = "1,9";
    EXPECT_EQ(translate(2), 1);
    EXPECT_EQ(list, "1,9");
}

TEST_F(ChannelTranslation, LeavesTheListAloneWhenTooManyMatch) {
    add(disks, "sdd", 1, "0");
    list = "1";
    EXPECT_EQ(translate(1), 2);
    EXPECT_EQ(list, "1");
}

TEST_F(ChannelTranslation, CountsAChannelOnceThatIsNamedTwice) {
    list = "1,1";
    EXPECT_EQ(translate(2), 1);
    EXPECT_EQ(list, "1,1");
}

TEST_F(ChannelTranslation, ComparesChannelsAsText) {
    list = "01";
    EXPECT_EQ(translate(1), 0);
}

TEST_F(ChannelTranslation, DoesNotTakePartOfAChannel) {
    list = "11";
    EXPECT_EQ(translate(1), 0);
}

TEST_F(ChannelTranslation, PassesOverEmptyEntries) {
    list = ",,1,,2,";
    EXPECT_EQ(translate(2), 2);
    EXPECT_EQ(list, "sda,sdb");
}

TEST_F(ChannelTranslation, TakesAListThatIsOneKernelName) {
    list = "sdb";
    EXPECT_EQ(translate(1), 1);
    EXPECT_EQ(list, "sdb");
}

TEST_F(ChannelTranslation, DoesNotTakeKernelNamesInALongerList) {
    list = "sda,sdb";
    EXPECT_EQ(translate(2), 0);
}

TEST_F(ChannelTranslation, FindsNothingForAnEmptyList) {
    EXPECT_EQ(translate(0), 0);
    EXPECT_EQ(list, "");
}

TEST_F(ChannelTranslation, DoesNotMatchADiskWithoutANameWithAnEmptyList) {
    disks.clear();
    add(disks, "", 1, "0");
    EXPECT_EQ(translate(1), 0);
}

TEST(Overlap, OfListsWithACommonEntry) {
    EXPECT_TRUE(lists_overlap("sda,sdb", "sdc,sdb"));
}

TEST(Overlap, NotOfListsWithoutOne) {
    EXPECT_FALSE(lists_overlap("sda,sdb", "sdc,sdd"));
}

TEST(Overlap, LeavesOutTheMarksOfTheExistingList) {
    EXPECT_TRUE(lists_overlap("sda,sdb(F)", "sdb"));
    EXPECT_TRUE(lists_overlap("sdb(S)(F)", "sdb"));
}

TEST(Overlap, TakesTheNewListAsItIs) {
    EXPECT_FALSE(lists_overlap("sdb", "sdb(F)"));
    EXPECT_FALSE(lists_overlap("sdb(F)", "sdb(F)"));
}

TEST(Overlap, NotOfNamesThatBeginAlike) {
    EXPECT_FALSE(lists_overlap("sdaa", "sda"));
    EXPECT_FALSE(lists_overlap("sda", "sdaa"));
}

TEST(Overlap, NeverOfEmptyLists) {
    EXPECT_FALSE(lists_overlap("", ""));
    EXPECT_FALSE(lists_overlap("sda", ""));
    EXPECT_FALSE(lists_overlap("", "sda"));
}

TEST(Overlap, NotThroughAMissingMember) {
    EXPECT_FALSE(lists_overlap("sda,*(M)", "sdb"));
}

// An array with two members and a spare.
class ArrayOverlap : public testing::Test {
  protected:
    ArrayOverlap() {
        array.members = "sda,sdb(F)";
        array.spare = "sdc";
    }
    mdinfo array;
};

TEST_F(ArrayOverlap, OfMembersWithMembers) {
    EXPECT_TRUE(overlaps_array(array, "sdx,sdb"));
}

TEST_F(ArrayOverlap, OfSparesWithMembers) {
    EXPECT_TRUE(overlaps_array(array, "sdx", "sdy,sda"));
}

TEST_F(ArrayOverlap, OfMembersWithSpares) {
    EXPECT_TRUE(overlaps_array(array, "sdc,sdx"));
}

TEST_F(ArrayOverlap, OfSparesWithSpares) {
    EXPECT_TRUE(overlaps_array(array, "sdx", "sdc"));
}

TEST_F(ArrayOverlap, OfOtherDisksIsNone) {
    EXPECT_FALSE(overlaps_array(array, "sdx,sdy", "sdz"));
    EXPECT_FALSE(overlaps_array(array, ""));
}

TEST(FindMember, GivesTheEntryWithItsMark) {
    EXPECT_EQ(find_member("sda,sdb(F),sdc", "sdb"), "sdb(F)");
    EXPECT_EQ(find_member("sda,sdb(F),sdc", "sdc"), "sdc");
}

TEST(FindMember, CutsAtTheLastParenthesisOnly) {
    EXPECT_EQ(find_member("sda(S)(F)", "sda"), "");
    EXPECT_EQ(find_member("sda(S)(F)", "sda(S)"), "sda(S)(F)");
}

TEST(FindMember, FindsNothingByPartOfAName) {
    EXPECT_EQ(find_member("sdaa", "sda"), "");
    EXPECT_EQ(find_member("sda", "sdaa"), "");
}

// A group with one physical volume.
class VolumeUse : public testing::Test {
  protected:
    VolumeUse() {
        add(disks, "sda", 1, "0");
        add(disks, "sdb", 2, "0");
        add(disks, "sdx", 2, "1");
    }
    void volume(std::string_view name, std::string_view device) {
        pvinfo& added = groups.append().physical_volumes.append();
        added.name = name;
        added.device = device;
    }
    bool is_used(std::string_view list) { return is_used_in_volume(list, groups, disks); }
    disk_list disks;
    vginfo_list groups;
};

TEST_F(VolumeUse, FindsADiskByTheChannelOfTheVolume) {
    volume("2", "0");
    EXPECT_TRUE(is_used("sda,sdb"));
    EXPECT_FALSE(is_used("sda"));
}

TEST_F(VolumeUse, TakesTheChannelOnTheDeviceOfTheVolume) {
    volume("2", "1");
    EXPECT_TRUE(is_used("sdx"));
    EXPECT_FALSE(is_used("sdb"));
}

TEST_F(VolumeUse, ComparesOtherNamesAsTheyAre) {
    volume("md0", "0");
    EXPECT_TRUE(is_used("md0"));
    EXPECT_FALSE(is_used("sda,sdb"));
}

TEST_F(VolumeUse, TreatsZeroAsNoChannel) {
    add(disks, "sdz", 0, "0");
    volume("0", "0");
    EXPECT_FALSE(is_used("sdz"));
    EXPECT_TRUE(is_used("0"));
}

TEST_F(VolumeUse, ComparesAChannelThatNoDiskHasAsItIs) {
    volume("7", "0");
    EXPECT_FALSE(is_used("sda"));
    EXPECT_TRUE(is_used("7"));
}

TEST_F(VolumeUse, LeavesOutTheMarksOfTheList) {
    volume("2", "0");
    EXPECT_TRUE(is_used("sdb(S)"));
}

TEST_F(VolumeUse, LooksAtAllVolumesOfAllGroups) {
    volume("md0", "0");
    volume("md1", "0");
    pvinfo& second = groups.begin()->physical_volumes.append();
    second.name = "1";
    second.device = "0";
    EXPECT_TRUE(is_used("sda"));
    EXPECT_TRUE(is_used("md1"));
}

TEST_F(VolumeUse, FindsNothingInAnEmptyList) {
    volume("1", "0");
    EXPECT_FALSE(is_used(""));
}

TEST_F(VolumeUse, FindsNothingWithoutGroups) {
    EXPECT_FALSE(is_used("sda"));
}

} // namespace
} // namespace zav
