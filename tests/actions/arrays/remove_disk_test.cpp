// SPDX-License-Identifier: MIT
// Removing a faulty disk from an array.
#include "actions/arrays/changes.h"
#include "fixtures/array_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAreArray;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

class RemoveDisk : public testing::Test {
  protected:
    RemoveDisk() { machine.box(6); }

    // md1 with sdb faulty.
    void degraded(const std::string& level) {
        machine.array("md1", level, "clean, degraded", 3,
                      {{"sda", "in_sync"}, {"sdb", "faulty"}, {"sdc", "in_sync"}});
    }
    int remove(const std::string& array, const std::string& channel) {
        run = machine.operation(
            [&] { return remove_disk(array.c_str(), channel.c_str(), printed()); });
        return run.returned;
    }
    void expect_refused(const std::string& message) {
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_EQ(last_message(machine), message);
    }

    ArrayMachine machine;
    Result run;
};

TEST_F(RemoveDisk, RunsTheListsThenMdadm) {
    degraded("raid5");
    EXPECT_EQ(remove("md1", "2"), 0);
    EXPECT_THAT(outside(run),
                ElementsAreArray(joined({disk_list_commands(),
                                         array_list_commands({"md1"}),
                                         {"/sbin/mdadm --manage /dev/md1 -r /dev/sdb > "
                                          "/dev/null"}})));
    EXPECT_THAT(machine.log(), IsEmpty());
    EXPECT_EQ(run.out, "");
}

TEST_F(RemoveDisk, ReportsAFailedCommand) {
    degraded("raid5");
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm --manage").exits(1);
    EXPECT_EQ(remove("md1", "2"), -11000);
    EXPECT_THAT(last_message(machine),
                StartsWith("system(\"/sbin/mdadm --manage /dev/md1 -r /dev/sdb > /dev/null\") "
                           "return normal with exit(1) for '"));
}

TEST_F(RemoveDisk, RefusesAnUnknownArraySilently) {
    EXPECT_EQ(remove("md1", "9"), -2038);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(RemoveDisk, RefusesAChannelThatNoDiskHas) {
    degraded("raid5");
    EXPECT_EQ(remove("md1", "9"), -2033);
    expect_refused("'9' is not invalid disk");
}

TEST_F(RemoveDisk, RefusesAChannelOfMoreThanSevenCharacters) {
    degraded("raid5");
    EXPECT_EQ(remove("md1", "12345678"), -2033);
    expect_refused("'1234567' is not invalid disk");
}

TEST_F(RemoveDisk, RefusesALevelThatGivesUpNoDisks) {
    for (const char* level : {"raid0", "raid10"}) {
        degraded(level);
        EXPECT_EQ(remove("md1", "2"), -2037);
        expect_refused("'md1' is not support remove disk");
    }
}

TEST_F(RemoveDisk, RefusesTheLevelBeforeADiskThatIsNoMember) {
    degraded("raid0");
    EXPECT_EQ(remove("md1", "4"), -2037);
}

TEST_F(RemoveDisk, TakesTheLevelsThatGiveUpDisks) {
    for (const char* level : {"raid6", "raid5", "raid1", "linear"}) {
        ArrayMachine other;
        other.box(6).array("md1", level, "clean", 2, {{"sda", "in_sync"}, {"sdb", "faulty"}});
        const Result removed = other.operation([] { return remove_disk("md1", "2", printed()); });
        EXPECT_EQ(removed.returned, 0) << level;
    }
}

TEST_F(RemoveDisk, RefusesADiskThatIsNoMember) {
    degraded("raid5");
    EXPECT_EQ(remove("md1", "4"), -2033);
    expect_refused("'4' is not in md1");
}

TEST_F(RemoveDisk, DoesNotMistakeAMemberForOneThatBeginsAlike) {
    machine.box({{"sda", 1}, {"sdb", 2}, {"sdaa", 3}});
    machine.array("md1", "raid1", "clean", 2, {{"sdaa", "faulty"}, {"sdb", "in_sync"}});
    EXPECT_EQ(remove("md1", "1"), -2033);
    expect_refused("'1' is not in md1");
}

TEST_F(RemoveDisk, RefusesAMemberThatIsInSync) {
    degraded("raid5");
    EXPECT_EQ(remove("md1", "1"), -2036);
    expect_refused("'1' in md1 is not fauty");
}

TEST_F(RemoveDisk, RefusesASpareMember) {
    machine.array("md1", "raid5", "clean", 2,
                  {{"sda", "in_sync"}, {"sdb", "spare"}, {"sdc", "in_sync"}});
    EXPECT_EQ(remove("md1", "2"), -2036);
    expect_refused("'2' in md1 is not fauty");
}

// Only a capital F marks a faulty member.
TEST_F(RemoveDisk, RefusesAMemberWithAnotherMark) {
    machine.array("md1", "raid5", "clean", 2, {{"sda", "in_sync"}, {"sdb(f)", "in_sync"}});
    EXPECT_EQ(remove("md1", "2"), -2036);
    expect_refused("'2' in md1 is not fauty");
}

TEST_F(RemoveDisk, DoesNotMistakeALetterOfTheNameForAMark) {
    machine.box({{"sda", 1}, {"sdF", 2}});
    machine.array("md1", "raid1", "clean", 2, {{"sda", "in_sync"}, {"sdF", "in_sync"}});
    EXPECT_EQ(remove("md1", "2"), -2036);
}

// The controller's scan may print any member text.
TEST(RemoveDiskOnTheController, FindsNoMemberForADiskWithoutAName) {
    ArrayMachine machine("VEL7205U");
    machine.tool(ArrayMachine::vexadm)
        .on("/usr/local/bin/vexadm --misc --scan")
        .prints("==\n0 /ST3/500/Normal/Free\n");
    machine.tool(ArrayMachine::vexadm)
        .on("/usr/local/bin/vexadm --display --scan")
        .prints("==\nmd1 /5/x/Normal/1000/0/#1(F) #2\n");
    const Result run = machine.operation([] { return remove_disk("md1", "1", printed()); });
    EXPECT_EQ(run.returned, -2033);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_EQ(last_message(machine), "'1' is not in md1");
}

TEST_F(RemoveDisk, DoesNotLookAtGroups) {
    degraded("raid5");
    machine.without_group_list();
    EXPECT_EQ(remove("md1", "2"), 0);
}

TEST_F(RemoveDisk, NeedsTheDiskList) {
    degraded("raid5");
    machine.without_disk_controller();
    EXPECT_EQ(remove("md1", "2"), -205);
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -205"));
}

TEST_F(RemoveDisk, NeedsTheArrayList) {
    machine.without_array_list();
    EXPECT_EQ(remove("md1", "2"), -422);
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -422"));
}

} // namespace
} // namespace zav::test
