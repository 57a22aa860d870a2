// SPDX-License-Identifier: MIT
// The device tables in mdadm's details and in superblocks.
#include "sources/mdadm.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Paths = std::vector<std::string>;

// The details of an array of that many devices with these table lines.
std::string details(const std::string& raid_devices, const std::string& table) {
    return "/dev/md1:\n     Raid Level : raid5\n   Raid Devices : " + raid_devices +
           "\n          State : clean\n\n    Number   Major   Minor   RaidDevice State\n" + table;
}

std::string member(int slot, const std::string& path) {
    return "       " + std::to_string(slot) + "       8        0        0      active sync   " +
           path + "\n";
}

std::string removed(int slot) {
    return "       " + std::to_string(slot) + "       0        0        0      removed\n";
}

TEST(MemberTable, HasThePathsOfARecordedArray) {
    const auto table = parse_member_table(recorded("mdadm_D_raid5").text);
    ASSERT_TRUE(table);
    // The third member replaced another one and has number 3.
    EXPECT_THAT(table->members, ElementsAre("/dev/sda", "/dev/sdb", "/dev/sdc"));
    EXPECT_EQ(table->hole, 0U);
    EXPECT_EQ(table->raid_devices, 3U);
}

TEST(MemberTable, OfVersion090HasThePathsToo) {
    const auto table = parse_member_table(recorded("raid5_v090_clean_detail").text);
    ASSERT_TRUE(table);
    EXPECT_THAT(table->members, ElementsAre("/dev/sda", "/dev/sdb", "/dev/sdc"));
}

// A removed slot has no number, so that no line begins with it.
TEST(MemberTable, HasNoHoleForASlotWithoutANumber) {
    const auto table = parse_member_table(recorded("v090_two_of_three_detail").text);
    ASSERT_TRUE(table);
    EXPECT_THAT(table->members, ElementsAre("/dev/sda", "/dev/sdc"));
    EXPECT_EQ(table->hole, 0U);
    EXPECT_EQ(table->raid_devices, 3U);
}

TEST(MemberTable, HasFaultyMembersByTheirNumbers) {
    const auto table = parse_member_table(recorded("raid5_one_faulty_detail").text);
    ASSERT_TRUE(table);
    EXPECT_THAT(table->members, ElementsAre("/dev/sda", "/dev/sdb", "/dev/sdc"));
}

TEST(MemberTable, CannotBeReadWithoutTheNumberOfDevices) {
    EXPECT_FALSE(parse_member_table(recorded("raid5_incremental_two_disks_inactive_detail").text));
    EXPECT_FALSE(parse_member_table(""));
    EXPECT_FALSE(parse_member_table(member(0, "/dev/sda")));
}

TEST(MemberTable, IsInTheOrderOfTheSlots) {
    const auto table = parse_member_table(
        details("3", member(2, "/dev/sda") + member(0, "/dev/sdc") + member(1, "/dev/sdb")));
    ASSERT_TRUE(table);
    EXPECT_THAT(table->members, ElementsAre("/dev/sdc", "/dev/sdb", "/dev/sda"));
}

TEST(MemberTable, TakesTheFirstLineOfASlot) {
    const auto table =
        parse_member_table(details("1", member(0, "/dev/sda") + member(0, "/dev/sdb")));
    ASSERT_TRUE(table);
    EXPECT_THAT(table->members, ElementsAre("/dev/sda"));
}

TEST(MemberTable, ReadsTheSlotsFrom0To16) {
    std::string lines;
    for (int slot = 0; slot <= 17; ++slot) {
        lines += member(slot, "/dev/sd" + std::string(1, static_cast<char>('a' + slot)));
    }
    const auto table = parse_member_table(details("17", lines));
    ASSERT_TRUE(table);
    ASSERT_THAT(table->members, SizeIs(17));
    EXPECT_EQ(table->members.front(), "/dev/sda");
    EXPECT_EQ(table->members.back(), "/dev/sdq");
}

TEST(MemberTable, CountsTheHoleFromOne) {
    const auto first = parse_member_table(details("2", removed(0) + member(1, "/dev/sdb")));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->hole, 1U);
    const auto second = parse_member_table(details("2", member(0, "/dev/sda") + removed(1)));
    ASSERT_TRUE(second);
    EXPECT_EQ(second->hole, 2U);
    EXPECT_THAT(second->members, ElementsAre("/dev/sda"));
}

TEST(MemberTable, HasTheLastOfSeveralHoles) {
    const auto table = parse_member_table(
        details("4", removed(0) + member(1, "/dev/sdb") + removed(2) + member(3, "/dev/sdd")));
    ASSERT_TRUE(table);
    EXPECT_EQ(table->hole, 2U);
}

TEST(MemberTable, HasNoHoleForASlotWithoutALine) {
    const auto table =
        parse_member_table(details("3", member(0, "/dev/sda") + member(2, "/dev/sdc")));
    ASSERT_TRUE(table);
    EXPECT_EQ(table->hole, 0U);
}

TEST(MemberTable, TakesThePathFromTheFirstNineWords) {
    const auto ninth = parse_member_table(details("1", "0 1 2 3 4 5 6 7 /dev/sda\n"));
    ASSERT_TRUE(ninth);
    EXPECT_THAT(ninth->members, ElementsAre("/dev/sda"));
    const auto tenth = parse_member_table(details("1", "0 1 2 3 4 5 6 7 8 /dev/sda\n"));
    ASSERT_TRUE(tenth);
    EXPECT_THAT(tenth->members, IsEmpty());
    EXPECT_EQ(tenth->hole, 1U);
}

TEST(MemberTable, TakesTheFirstOfSeveralPaths) {
    const auto table = parse_member_table(details("1", "0 /dev/sda /dev/sdb\n"));
    ASSERT_TRUE(table);
    EXPECT_THAT(table->members, ElementsAre("/dev/sda"));
}

TEST(MemberTable, IsReadWithCarriageReturnsTabsAndWithoutAFinalNewline) {
    const auto table =
        parse_member_table("Raid Devices : 2\r\n\t0\t8\t0\t/dev/sda\r\n1 8 /dev/sdb");
    ASSERT_TRUE(table);
    EXPECT_THAT(table->members, ElementsAre("/dev/sda", "/dev/sdb"));
    EXPECT_EQ(table->raid_devices, 2U);
}

// The path would become part of commands.
TEST(MemberTable, IsRefusedWithAPathThatIsNotAPlainDevice) {
    for (const char* path : {"/dev/sda;reboot", "/dev/$(reboot)", "/dev/`reboot`", "/dev/a|b",
                             "/dev/../etc/passwd", "/dev/", "/dev/a'b"}) {
        EXPECT_FALSE(parse_member_table(details("2", member(0, path)))) << path;
    }
}

TEST(Hole, TakesTheLastMemberWhenAllAreThere) {
    MemberTable table = {{"/dev/sda", "/dev/sdc", "/dev/sdb"}, 2, 3};
    close_hole(table);
    EXPECT_THAT(table.members, ElementsAre("/dev/sda", "/dev/sdb", "/dev/sdc"));
    EXPECT_EQ(table.hole, 0U);
}

TEST(Hole, AtTheFirstPlaceMovesAllOthers) {
    MemberTable table = {{"/dev/sdb", "/dev/sdc", "/dev/sda"}, 1, 3};
    close_hole(table);
    EXPECT_THAT(table.members, ElementsAre("/dev/sda", "/dev/sdb", "/dev/sdc"));
}

TEST(Hole, AfterTheLastMemberMovesNothing) {
    for (const std::size_t hole : {3U, 4U}) {
        MemberTable table = {{"/dev/sda", "/dev/sdb", "/dev/sdc"}, hole, 3};
        close_hole(table);
        EXPECT_THAT(table.members, ElementsAre("/dev/sda", "/dev/sdb", "/dev/sdc"));
        EXPECT_EQ(table.hole, 0U);
    }
}

TEST(Hole, InAnEmptyTableIsClosed) {
    MemberTable table = {{}, 1, 0};
    close_hole(table);
    EXPECT_THAT(table.members, IsEmpty());
    EXPECT_EQ(table.hole, 0U);
}

TEST(Hole, StaysWhileAMemberIsMissing) {
    MemberTable table = {{"/dev/sda", "/dev/sdc"}, 2, 3};
    close_hole(table);
    EXPECT_THAT(table.members, ElementsAre("/dev/sda", "/dev/sdc"));
    EXPECT_EQ(table.hole, 2U);
}

TEST(Hole, ThatIsMissingMovesNothing) {
    MemberTable table = {{"/dev/sda", "/dev/sdc", "/dev/sdb"}, 0, 3};
    close_hole(table);
    EXPECT_THAT(table.members, ElementsAre("/dev/sda", "/dev/sdc", "/dev/sdb"));
}

TEST(MemberTable, CountsMembersWithData) {
    EXPECT_EQ(count_with_data(*parse_member_table(recorded("mdadm_D_raid5").text)), 3U);
    EXPECT_EQ(count_with_data(*parse_member_table(recorded("raid5_one_faulty_detail").text)), 3U);
    EXPECT_EQ(count_with_data(*parse_member_table(recorded("raid5_initial_recovery_detail").text)),
              2U);
    EXPECT_EQ(count_with_data({{"/dev/sda", "/dev/sdb"}, 0, 2}), 2U)
        << "a table that tells nothing";
}

TEST(MemberTable, TellsTheOrderOfItsSlots) {
    EXPECT_TRUE(is_in_slot_order(*parse_member_table(recorded("mdadm_D_raid5").text)));
    const auto table = [](const std::string& rows) {
        return *parse_member_table(details("3", rows));
    };
    const std::string first = "0 8 0 0 active sync /dev/sda\n";
    EXPECT_FALSE(is_in_slot_order(table("1 8 0 1 active /dev/sdb\n3 8 0 0 active /dev/sdd\n")));
    EXPECT_FALSE(is_in_slot_order(table(first + "2 8 0 2 active /dev/sdb\n")));
    EXPECT_TRUE(is_in_slot_order(table("0 /dev/sda\n1 /dev/sdb\n"))) << "a table that tells none";
    MemberTable filled = table(first + "1 0 0 2 removed\n2 8 0 1 active sync /dev/sdc\n");
    filled.members.insert(filled.members.begin() + 1, "/dev/sdb");
    EXPECT_FALSE(is_in_slot_order(filled)) << "the hole is the last slot";
    filled.members = {"/dev/sda", "/dev/sdc", "/dev/sdb"};
    EXPECT_TRUE(is_in_slot_order(filled));
}

// With version 0.90 a member that failed has a number behind the others.
TEST(MemberTable, TellsTheOrderOfMembersThatFailed) {
    const auto is_in_order = [](const std::string& rows) {
        return is_in_slot_order(*parse_member_table(details("3", rows)));
    };
    const std::string first = "0 8 0 0 active sync /dev/sda\n";
    EXPECT_FALSE(is_in_order(first + "- 0 0 1 removed\n2 8 32 2 active sync /dev/sdc\n"
                                     "3 8 16 - faulty /dev/sdb\n"));
    EXPECT_TRUE(is_in_order(first + "1 8 16 1 active sync /dev/sdb\n- 0 0 2 removed\n"
                                    "3 8 32 - faulty /dev/sdc\n"))
        << "it can only be the last one";
    EXPECT_TRUE(is_in_order(first + "1 8 16 - faulty /dev/sdb\n2 8 32 - faulty /dev/sdc\n"));
    EXPECT_FALSE(is_in_order(first + "3 8 32 - faulty /dev/sdc\n4 8 16 - faulty /dev/sdb\n"))
        << "nothing tells which was which";
}

TEST(Superblock, OfVersion090NamesTheOtherMembers) {
    const std::string examination = recorded("mdadm_E_raid5_v090").text;
    EXPECT_TRUE(superblock_names_one_of(examination, {"/dev/sdx", "/dev/sdc"}));
    EXPECT_FALSE(superblock_names_one_of(examination, {"/dev/sdx", "/dev/sdd"}));
}

TEST(Superblock, OfVersion12NamesNoMember) {
    EXPECT_FALSE(superblock_names_one_of(recorded("mdadm_E_raid5_v12").text,
                                         {"/dev/sda", "/dev/sdb", "/dev/sdc"}));
}

TEST(Superblock, DoesNotCountItsOwnLine) {
    EXPECT_FALSE(
        superblock_names_one_of("this     1       8  active sync   /dev/sdb\n", Paths{"/dev/sdb"}));
}

TEST(Superblock, NamesADiskByItsWholePath) {
    const std::string examination = "   0     0       8        0        0      active   /dev/sda\n";
    EXPECT_TRUE(superblock_names_one_of(examination, {"/dev/sda"}));
    EXPECT_FALSE(superblock_names_one_of(examination, {"/dev/sdaa"}));
    EXPECT_FALSE(superblock_names_one_of(examination, {"/dev/sd"}));
}

TEST(Superblock, NamesADiskInTheFirstNineWordsOnly) {
    EXPECT_TRUE(superblock_names_one_of("0 1 2 3 4 5 6 7 /dev/sda\n", {"/dev/sda"}));
    EXPECT_FALSE(superblock_names_one_of("0 1 2 3 4 5 6 7 8 /dev/sda\n", {"/dev/sda"}));
}

TEST(Superblock, ThatIsMissingNamesNoMember) {
    EXPECT_FALSE(superblock_names_one_of("", {"/dev/sda"}));
    EXPECT_FALSE(superblock_names_one_of(std::string(100000, 'x'), {"/dev/sda"}));
}

} // namespace
} // namespace zav::test
