// SPDX-License-Identifier: MIT
// Adding a disk to an array.
#include "actions/arrays/changes.h"
#include "fixtures/array_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAreArray;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

class AddDisk : public testing::Test {
  protected:
    AddDisk() { machine.box(6); }

    int add(const std::string& array, const std::string& channel) {
        run =
            machine.operation([&] { return add_disk(array.c_str(), channel.c_str(), printed()); });
        return run.returned;
    }
    void expect_refused(const std::string& message) {
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_EQ(last_message(machine), message);
    }

    ArrayMachine machine;
    Result run;
};

TEST_F(AddDisk, RunsTheListsThenMdadm) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"});
    EXPECT_EQ(add("md1", "4"), 0);
    EXPECT_THAT(outside(run), ElementsAreArray(joined(
                                  {disk_list_commands(),
                                   array_list_commands({"md1"}),
                                   group_list_commands({"md1"}),
                                   {"/sbin/mdadm --manage /dev/md1 --add /dev/sdd > /dev/null"}})));
    EXPECT_THAT(machine.log(), IsEmpty());
    EXPECT_EQ(run.out, "");
}

TEST_F(AddDisk, ReportsAFailedCommand) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"});
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm --manage").exits(1);
    EXPECT_EQ(add("md1", "4"), -11000);
    EXPECT_THAT(last_message(machine),
                StartsWith("system(\"/sbin/mdadm --manage /dev/md1 --add /dev/sdd > /dev/null\") "
                           "return normal with exit(1) for '"));
}

TEST_F(AddDisk, ReportsAKilledCommand) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"});
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm --manage").killed_by(9);
    EXPECT_EQ(add("md1", "4"), -11000);
    EXPECT_THAT(last_message(machine), testing::HasSubstr("return unnormal with exit(0) for '"));
}

TEST_F(AddDisk, RefusesAnUnknownArraySilently) {
    machine.running("md10", "raid5", {"sda", "sdb", "sdc"});
    EXPECT_EQ(add("md1", "4"), -2038);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(AddDisk, RefusesAnUnknownArrayBeforeAnUnknownChannel) {
    EXPECT_EQ(add("md1", "9"), -2038);
}

TEST_F(AddDisk, RefusesAChannelThatNoDiskHas) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"});
    EXPECT_EQ(add("md1", "9"), -2033);
    expect_refused("'9' is not invalid disk");
}

TEST_F(AddDisk, RefusesAChannelThatOnlyAnotherDeviceHas) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"}).disk("sdx", 7);
    EXPECT_EQ(add("md1", "7"), -2033);
    expect_refused("'7' is not invalid disk");
}

TEST_F(AddDisk, RefusesTwoChannels) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"});
    EXPECT_EQ(add("md1", "4,5"), -2033);
    expect_refused("'4,5' is not invalid disk");
}

TEST_F(AddDisk, RefusesAChannelOfMoreThanSevenCharacters) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"});
    EXPECT_EQ(add("md1", "12345678"), -2033);
    expect_refused("'1234567' is not invalid disk");
    EXPECT_EQ(add("md1", ",,,,,,4,9"), -2033);
    expect_refused("',,,,,,4' is not invalid disk");
    EXPECT_EQ(add("md1", ",,,,,,4"), 0);
}

TEST_F(AddDisk, RefusesAnUnknownChannelBeforeTheLevel) {
    machine.running("md1", "raid0", {"sda", "sdb"});
    EXPECT_EQ(add("md1", "9"), -2033);
}

TEST_F(AddDisk, RefusesARaid0) {
    machine.running("md1", "raid0", {"sda", "sdb"});
    EXPECT_EQ(add("md1", "4"), -2037);
    expect_refused("'md1' is not support add disk");
}

TEST_F(AddDisk, RefusesAnUnknownLevel) {
    machine.running("md1", "raid10", {"sda", "sdb"});
    EXPECT_EQ(add("md1", "4"), -2037);
    expect_refused("'md1' is not support add disk");
}

TEST_F(AddDisk, RefusesTheLevelBeforeAUsedDisk) {
    machine.running("md1", "raid0", {"sda", "sdb"});
    EXPECT_EQ(add("md1", "1"), -2037);
}

TEST_F(AddDisk, TakesTheLevelsThatCanGrowOrHeal) {
    for (const char* level : {"raid6", "raid5", "raid1", "linear"}) {
        ArrayMachine other;
        other.box(6).running("md1", level, {"sda", "sdb"});
        const Result added = other.operation([] { return add_disk("md1", "4", printed()); });
        EXPECT_EQ(added.returned, 0) << level;
    }
}

TEST_F(AddDisk, RefusesAMember) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"});
    EXPECT_EQ(add("md1", "2"), -2030);
    expect_refused("'2' used in md1");
}

TEST_F(AddDisk, RefusesAMemberWithAMark) {
    machine.array("md1", "raid5", "clean, degraded", 3,
                  {{"sda", "in_sync"}, {"sdb", "faulty"}, {"sdc", "in_sync"}});
    EXPECT_EQ(add("md1", "2"), -2030);
    expect_refused("'2' used in md1");
}

TEST_F(AddDisk, RefusesAPhysicalVolume) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"}).group("vg1", {"/dev/sdd"});
    EXPECT_EQ(add("md1", "4"), -2030);
    expect_refused("'4' used in pv");
}

TEST_F(AddDisk, RefusesAMemberBeforeItLooksAtTheVolumes) {
    machine.running("md1", "raid5", {"sda", "sdb", "sdc"}).without_group_list();
    EXPECT_EQ(add("md1", "2"), -2030);
}

TEST_F(AddDisk, LooksNeitherAtOtherArraysNorAtHotspares) {
    machine.running("md1", "raid1", {"sda", "sdb"}).running("md2", "raid1", {"sdd", "sde"});
    machine.hotspares("sdd");
    EXPECT_EQ(add("md1", "4"), 0);
    EXPECT_EQ(changes(run).back(), "/sbin/mdadm --manage /dev/md1 --add /dev/sdd > /dev/null");
}

TEST_F(AddDisk, NeedsTheDiskList) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    machine.without_disk_controller();
    EXPECT_EQ(add("md1", "4"), -205);
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -205"));
}

TEST_F(AddDisk, NeedsTheArrayList) {
    machine.without_array_list();
    EXPECT_EQ(add("md1", "4"), -422);
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -422"));
}

TEST_F(AddDisk, NeedsTheGroupList) {
    machine.running("md1", "raid1", {"sda", "sdb"}).without_group_list();
    EXPECT_EQ(add("md1", "4"), -11000);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(last_message(machine), EndsWith("]: return with -11000"));
}

// Behind the RAID controller a disk has no name that the command could use.
TEST(AddDiskOnTheController, RunsNoCommandWithoutADisk) {
    ArrayMachine machine("VEL7205U");
    machine.tool(ArrayMachine::vexadm)
        .on("/usr/local/bin/vexadm --misc --scan")
        .prints("==\n3 /ST3/500/Normal/Free\n");
    machine.tool(ArrayMachine::vexadm)
        .on("/usr/local/bin/vexadm --display --scan")
        .prints("==\nmd1 /5/x/Normal/1000/0/#1 #2 #3\n");
    const Result run = machine.operation([] { return add_disk("md1", "4", printed()); });
    EXPECT_EQ(run.returned, -11000);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(log_texts(machine),
                ElementsAre(StartsWith("system(\"/sbin/mdadm --manage /dev/md1 --add /dev/ > "
                                       "/dev/null\") return unnormal with exit(255) for '"),
                            "'/sbin/mdadm --manage /dev/md1 --add /dev/ > /dev/null' was not run: "
                            "it names no disk of the kernel"));
}

} // namespace
} // namespace zav::test
