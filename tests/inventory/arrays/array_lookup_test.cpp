// SPDX-License-Identifier: MIT
// Looking up one array by its name: whether it runs, its type, its member disks.
#include "fixtures/array_machine.h"
#include "fixtures/library.h"
#include "inventory/arrays.h"

namespace zav::test {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

class ArrayLookup : public testing::Test {
  protected:
    ArrayLookup() { machine.box(6); }
    int check(const char* name) {
        run = machine.operation([&] { return check_raid_state(name, printed()); });
        return run.returned;
    }
    // Prints the type.
    int type(const char* name) {
        run = machine.operation([&] {
            const auto found = get_raid_type(name, printed());
            std::puts(found ? found->c_str() : "");
            return found.code();
        });
        return run.returned;
    }
    // Prints the members, one per line.
    int members(const char* name) {
        run = machine.operation([&] {
            disk_list disks;
            const auto result = get_disks_from_md(name, disks, printed());
            for (const disk_info& disk : disks) {
                std::printf("%s %d %s %d\n", disk.name.c_str(), disk.channel, disk.device.c_str(),
                            disk.hotspare);
            }
            return result;
        });
        return run.returned;
    }
    ArrayMachine machine;
    Result run;
};

TEST_F(ArrayLookup, AnArrayThatRunsHasGoodState) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    EXPECT_EQ(check("md1"), 0);
    EXPECT_THAT(outside(run), ElementsAreArray(array_list_commands({"md1"})));
}

TEST_F(ArrayLookup, ADegradedArrayHasGoodState) {
    machine.array("md1", "raid1", "clean, degraded", 2, {{"sda", "in_sync"}});
    EXPECT_EQ(check("md1"), 0);
}

TEST_F(ArrayLookup, AnInactiveArrayHasBadState) {
    machine.array("md1", "raid5", "clean, degraded", 3, {{"sda", "in_sync"}});
    EXPECT_EQ(check("md1"), -421);
}

TEST_F(ArrayLookup, AnArrayWithoutDetailsHasBadState) {
    machine.running("md1", "raid1", {"sda", "sdb"}).detail("md1").exits(1);
    EXPECT_EQ(check("md1"), -421);
}

TEST_F(ArrayLookup, AnUnknownArrayHasNoState) {
    machine.running("md10", "raid1", {"sda", "sdb"});
    EXPECT_EQ(check("md1"), -127);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ArrayLookup, StateNeedsTheArrayList) {
    machine.without_array_list();
    EXPECT_EQ(check("md1"), -422);
}

TEST_F(ArrayLookup, TypeIsCopied) {
    machine.running("md2", "raid1", {"sdc", "sdd"}).running("md1", "linear", {"sda", "sdb"});
    EXPECT_EQ(type("md1"), 0);
    EXPECT_EQ(run.out, "linear\n");
    EXPECT_THAT(outside(run), ElementsAreArray(array_list_commands({"md2", "md1"})));
}

TEST_F(ArrayLookup, TypeOfAnUnknownArrayIsNone) {
    EXPECT_EQ(type("md1"), -127);
    EXPECT_EQ(run.out, "\n");
}

TEST_F(ArrayLookup, TypeNeedsTheArrayList) {
    machine.without_array_list();
    EXPECT_EQ(type("md1"), -422);
}

TEST_F(ArrayLookup, MembersAreCopiedFromTheDiskList) {
    machine.running("md1", "raid1", {"sdb"}).running("md2", "raid1", {"sdc"});
    machine.hotspares("sdb");
    EXPECT_EQ(members("md1"), 0);
    EXPECT_EQ(run.out, "sdb 2 1 1\n");
    EXPECT_THAT(outside(run), ElementsAreArray(joined(
                                  {array_list_commands({"md1", "md2"}), disk_list_commands()})));
}

TEST_F(ArrayLookup, MembersAreInTheOrderOfTheArray) {
    machine.running("md1", "raid5", {"sdc", "sda", "sdb"});
    EXPECT_EQ(members("md1"), 0);
    const std::string order = machine.in_directory_order(
        "md1", {{"sda", "sda 1 1 0\n"}, {"sdb", "sdb 2 1 0\n"}, {"sdc", "sdc 3 1 0\n"}});
    std::string expected = order;
    std::erase(expected, ',');
    EXPECT_EQ(run.out, expected);
}

TEST_F(ArrayLookup, MembersWithMarksAreFoundAndMissingOnesAreNot) {
    machine.array("md1", "raid6", "clean, degraded", 4, {{"sda", "faulty"}});
    EXPECT_EQ(members("md1"), 0);
    EXPECT_EQ(run.out, "sda 1 1 0\n");
}

// The first disk whose name the member begins with.
TEST_F(ArrayLookup, AMemberIsFoundByItsBeginning) {
    machine.box({{"sda", 1}, {"sdaa", 2}}).running("md1", "raid0", {"sdaa"});
    EXPECT_EQ(members("md1"), 0);
    EXPECT_EQ(run.out, "sda 1 1 0\n");
}

TEST_F(ArrayLookup, MembersOfAllArraysWithoutAName) {
    machine.running("md1", "raid1", {"sdb"}).running("md2", "raid1", {"sdc"});
    EXPECT_EQ(members(nullptr), 0);
    EXPECT_EQ(run.out, "sdb 2 1 0\nsdc 3 1 0\n");
}

TEST_F(ArrayLookup, MembersOfAnUnknownArrayAreNone) {
    machine.running("md10", "raid1", {"sdb"});
    EXPECT_EQ(members("md1"), -423);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(outside(run), ElementsAreArray(array_list_commands({"md10"})));
}

TEST_F(ArrayLookup, MembersNeedTheArrayList) {
    machine.without_array_list();
    EXPECT_EQ(members("md1"), -422);
}

TEST_F(ArrayLookup, MembersNeedTheDiskList) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    machine.without_disk_controller();
    EXPECT_EQ(members("md1"), -205);
    EXPECT_THAT(last_message(machine), MatchesRegex("get_disks_from_md\\[[0-9]+\\]: return with "
                                                    "-205"));
}

} // namespace
} // namespace zav::test
