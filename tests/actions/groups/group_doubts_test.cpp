// SPDX-License-Identifier: MIT
// Restoring a group gives up no array, and replaces no volume on one, that the kernel does not show
// as lost: a tool that fails is no proof.
#include "fixtures/group_recovery.h"
#include "fixtures/held_lock.h"

namespace zav::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

class DoubtfulArray : public testing::Test {
  protected:
    DoubtfulArray() { machine.sees(live("a", "/dev/md1")); }

    // md1 with these members, and what the kernel says of it.
    void array(const std::string& level, const std::vector<MachineMember>& members,
               const std::string& array_state, int raid_disks = 0) {
        machine.array(
            {.name = "md1", .level = level, .raid_disks = raid_disks, .members = members});
        machine.file("/sys/block/md1/md/array_state", array_state + "\n");
        machine.file("/sys/block/md1/md/level", level + "\n");
    }
    void no_details() {
        machine.tool(RecoveryMachine::mdadm).on("/sbin/mdadm --detail /dev/md1").exits(1);
    }
    void no_volumes(bool fails) {
        Rule rule = machine.tool(RecoveryMachine::pvdisplay).on("/sbin/pvdisplay -c");
        rule.exits(fails ? 5 : 0);
    }
    // A volume on a plain disk comes first: it is not touched either.
    void restore() { run = restore_group(machine, backup_of({{"b", "sdx"}, {"a", "md1"}})); }
    void expect_stopped(int code = -2) {
        restore();
        EXPECT_EQ(run.returned, code);
        EXPECT_THAT(actions(run), IsEmpty());
        EXPECT_THAT(machine.logged(), Contains("'md1' is not known to be lost: it is not given "
                                               "up"));
    }
    void expect_given_up() {
        restore();
        EXPECT_EQ(run.returned, 0);
        EXPECT_THAT(actions(run), Contains(HasSubstr("of=/dev/md1")));
        EXPECT_THAT(actions(run), Contains("/sbin/pvcreate -u a /dev/ram3"));
    }
    RecoveryMachine machine;
    Result run;
};

using DoubtfulVolume = DoubtfulArray;

TEST_F(DoubtfulArray, IsKeptWhenItsDetailsCannotBeReadAndItRuns) {
    for (const char* state : {"clean", "active", "active-idle", "write-pending", "readonly",
                              "read-auto", "suspended"}) {
        array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, state);
        no_details();
        expect_stopped();
    }
}

TEST_F(DoubtfulArray, IsKeptWhenItRunsWithFewerMembers) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde", "faulty"}}, "clean");
    no_details();
    expect_stopped();
    array("raid1", {{"sdc"}, {"sdd", "faulty"}}, "active");
    no_details();
    expect_stopped();
    array("raid6", {{"sdc"}, {"sdd"}}, "active", 4);
    no_details();
    expect_stopped();
    array("raid5", {{"sdc", "in_sync,write_mostly"}, {"sdd"}, {"sde", "spare"}}, "clean");
    no_details();
    expect_stopped();
}

TEST_F(DoubtfulArray, IsKeptWhenItsLevelIsNotKnown) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde", "faulty"}}, "clean");
    machine.remove("/sys/block/md1/md/level");
    no_details();
    expect_stopped();
}

TEST_F(DoubtfulArray, IsKeptWhenItHasAllMembersAndWasNotStarted) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, "inactive");
    no_details();
    expect_stopped();
}

// udev found some of its disks: it has no number of them before it was started.
TEST_F(DoubtfulArray, IsKeptWhenItWasAssembledInPartAndNeverStarted) {
    array("raid5", {{"sdc"}, {"sdd"}}, "inactive");
    machine.file("/sys/block/md1/md/raid_disks", "\n");
    no_details();
    expect_stopped();
    machine.file("/sys/block/md1/md/raid_disks", "0\n");
    expect_stopped();
}

// Too many open files, an I/O error: what makes a tool fail makes this fail, too.
TEST_F(DoubtfulArray, IsKeptWhenTheKernelsAccountCannotBeRead) {
    for (const char* unreadable : {"array_state", "dev-sdd/state"}) {
        array("raid1", {{"sdc"}, {"sdd"}}, "clean");
        machine.file("/sys/block/md1/md/dev-sdc/state", "faulty\n");
        const std::string path = std::string("/sys/block/md1/md/") + unreadable;
        machine.remove(path).directory(path);
        no_details();
        expect_stopped();
        machine.remove(path);
    }
}

TEST_F(DoubtfulArray, IsGivenUpWhenTheKernelShowsItLost) {
    for (const char* state : {"clean", "active", "inactive", "write-pending"}) {
        array("raid5", {{"sdc"}, {"sdd", "faulty"}, {"sde", "faulty,blocked"}}, state);
        expect_given_up();
        no_details();
        expect_given_up();
    }
    array("raid0", {{"sdc"}, {"sdd"}}, "broken");
    no_details();
    expect_given_up();
    array("raid0", {{"sdc"}}, "clean", 2);
    expect_given_up();
}

TEST_F(DoubtfulArray, IsGivenUpByTheDetailsWithoutAStateOfTheKernel) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, "clean");
    machine.remove("/sys/block/md1/md/array_state");
    no_details();
    expect_given_up();
}

TEST_F(DoubtfulArray, IsKeptWhenARecordedArrayRuns) {
    machine.recorded_array("raid5_one_of_three_inactive"); // it runs without one of its members
    machine.tool(RecoveryMachine::mdadm).on("/sbin/mdadm --detail /dev/md1").exits(1);
    expect_stopped();
}

// Another command may just be bringing it back.
TEST_F(DoubtfulArray, IsKeptWhileAnotherCommandUsesIt) {
    array("raid5", {{"sdc"}, {"sdd", "faulty"}, {"sde", "faulty"}}, "inactive");
    const HeldLock other(machine, claim_on("md1"));
    restore();
    EXPECT_EQ(run.returned, -2);
    EXPECT_THAT(actions(run), IsEmpty());
    EXPECT_THAT(machine.logged(), Contains("'md1' is used by another command"));
}

TEST_F(DoubtfulArray, IsClaimedUntilItsGroupIsRestored) {
    array("raid5", {{"sdc"}, {"sdd", "faulty"}, {"sde", "faulty"}}, "inactive");
    machine.tool(RecoveryMachine::vgcfgrestore).any().does("ls /run/zavbox");
    expect_given_up();
    EXPECT_EQ(run.out, "vg restore: yes\ndisk-md1\ndisk-ram2\ndisk-ram3\n");
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

// mdmanage --recover stops an array before it makes it again: LVM misses its volume meanwhile.
TEST_F(DoubtfulVolume, IsKeptWhileAnotherCommandMakesItsArrayAgain) {
    machine.remove_array("md1");
    machine.remove("/sys/block/md1");
    const HeldLock other(machine, claim_on("md1"));
    for (const std::string& listed :
         {live("a", "unknown device"), live("a", "[unknown]"), std::string()}) {
        machine.remove("/var/log/log.libzav");
        machine.sees(live("x", "/dev/md0") + listed);
        restore();
        EXPECT_EQ(run.returned, -2) << listed;
        EXPECT_THAT(actions(run), IsEmpty()) << listed;
        EXPECT_THAT(machine.logged(), testing::ElementsAre("'md1' is used by another command"));
    }
}

TEST_F(DoubtfulVolume, IsReplacedByNoRamDiskThatAnotherCommandUses) {
    array("raid5", {{"sdc"}, {"sdd", "faulty"}, {"sde", "faulty"}}, "inactive");
    const HeldLock other(machine, claim_on("ram2"));
    restore();
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(actions(run), AllOf(Contains("/sbin/pvcreate -u b /dev/ram3"),
                                    Contains("/sbin/pvcreate -u a /dev/ram4")));
}

TEST_F(DoubtfulArray, IsGivenUpWhenARecordedArrayFailed) {
    machine.recorded_array("raid5_failed");
    machine.tool(RecoveryMachine::mdadm).on("/sbin/mdadm --detail /dev/md1").exits(1);
    expect_given_up();
}

TEST_F(DoubtfulVolume, IsKeptWhenWhatIsPrintedIsNoListOfVolumes) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, "clean");
    const std::string other = live("b", "/dev/sdf");
    for (const std::string& output :
         {std::string("\xff\xfe::::::::\n[[[ = ;\nmd1\n"), other + "md1\n",
          other + "  /dev/md1:vg1:49", other.substr(0, other.size() - 1),
          other + ":::::::::::::::::\n"}) {
        SCOPED_TRACE(output);
        machine.sees(output);
        expect_stopped();
    }
}

// An array that runs is kept also when the whole list does not name it.
TEST_F(DoubtfulVolume, IsReplacedWhenTheWholeListDoesNotNameItsArrayWhichIsLost) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, "clean");
    machine.sees(live("b", "/dev/ram2"));
    expect_stopped();
    array("raid5", {{"sdc"}, {"sdd", "faulty"}, {"sde", "faulty"}}, "inactive");
    for (const std::string remark :
         {"", "  \"/dev/sdg\" is a new physical volume of \"1 GiB\"\n",
          "  Physical volume \"/dev/sdf\" of volume group \"vg1\" is exported\n"}) {
        SCOPED_TRACE(remark);
        machine.sees(remark + live("b", "/dev/ram2"));
        restore();
        EXPECT_EQ(run.returned, 0);
        EXPECT_THAT(actions(run), Contains(HasSubstr("/sbin/pvcreate -u a /dev/ram")));
    }
}

TEST_F(DoubtfulVolume, IsKeptWhenTheToolFailsOrPrintsNothing) {
    for (const bool fails : {true, false}) {
        array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, "clean");
        no_volumes(fails);
        expect_stopped();
    }
    machine.sees_nothing_that_can_be_read();
    expect_stopped(-1);
}

TEST_F(DoubtfulVolume, IsKeptWhenTheToolFailsHalfway) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, "clean");
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .prints(live("x", "/dev/md0"))
        .exits(5);
    expect_stopped();
}

TEST_F(DoubtfulVolume, IsReplacedWhenTheToolKnowsThatItIsMissing) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, "clean");
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .prints(live("a", "[unknown]"))
        .exits(5);
    restore();
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(actions(run), Contains("/sbin/pvcreate -u a /dev/ram3"));
}

// LVM lists a missing volume too, on no device: an output without it was cut short, or is none.
TEST_F(DoubtfulVolume, IsKeptWhenTheToolIsSilentAboutIt) {
    array("raid5", {{"sdc"}, {"sdd"}, {"sde"}}, "clean");
    for (const std::string& output : {live("x", "/dev/md0"), std::string("garbage garbage\n"),
                                      live("a", "/dev/md1").substr(0, 40)}) {
        machine.sees(output);
        expect_stopped();
    }
}

class DoubtfulDisk : public testing::Test {
  protected:
    void expect_stopped(const std::string& device, int code = -2) {
        restore(device);
        EXPECT_EQ(run.returned, code);
        EXPECT_THAT(actions(run), IsEmpty());
        EXPECT_THAT(machine.logged(), Contains("'" + device +
                                               "' is not known to be lost: it is "
                                               "not given up"));
    }
    void restore(const std::string& device) {
        machine.remove("/var/log/log.libzav");
        run = restore_group(machine, backup_of({{"b", "sdx"}, {"a", device}}));
    }
    Rule list() { return machine.tool(RecoveryMachine::pvdisplay).on("/sbin/pvdisplay -c"); }
    RecoveryMachine machine;
    Result run;
};

TEST_F(DoubtfulDisk, IsKeptWhenItIsThereAndNoSureListHasNoVolumeOnIt) {
    const std::string other = live("x", "/dev/md0");
    for (const std::string device : {"sdf", "sdf1"}) {
        list().exits(5);
        expect_stopped(device);
        list().prints(other).exits(5);
        expect_stopped(device);
        list().prints(other).killed_by(9);
        expect_stopped(device);
        for (const std::string& output :
             {std::string(), std::string("garbage garbage\n"), std::string("a:b:c\n"),
              other + live("a", "/dev/sdf").substr(0, 40), other + "  /dev/sd",
              live("x", "[unknown]")}) {
            list().prints(output);
            expect_stopped(device);
        }
    }
    machine.sees_nothing_that_can_be_read();
    expect_stopped("sdf", -1);
}

TEST_F(DoubtfulDisk, IsKeptWhenItCannotBeToldWhichItIs) {
    list().exits(5);
    expect_stopped("wwn-0x5000c500a1b2c3d4");
    machine.symlink("sdq", "/sys/block/sdq");
    expect_stopped("sdq");
}

TEST_F(DoubtfulDisk, IsReplacedWhenASureListHasNoVolumeOnIt) {
    list().prints("  \"/dev/sdc\" is a new physical volume of \"1.17 GiB\"\n" +
                  live("x", "/dev/md0") + live("y", "[unknown]"));
    restore("sdf");
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(actions(run), Contains("/sbin/pvcreate -u a /dev/ram3"));
}

TEST_F(DoubtfulDisk, IsReplacedWhenTheToolKnowsThatItsVolumeIsMissing) {
    list().prints(live("a", "[unknown]"));
    restore("sdf");
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(actions(run), Contains("/sbin/pvcreate -u a /dev/ram3"));
}

TEST_F(DoubtfulDisk, IsReplacedWhenTheKernelHasNoSuchDisk) {
    machine.directory("/sys/block/ram2");
    for (const std::string device : {"sdy", "ram2", "unknown device"}) {
        list().exits(5);
        restore(device);
        EXPECT_EQ(run.returned, 0) << device;
        EXPECT_THAT(actions(run), Contains("/sbin/pvcreate -u a /dev/ram3"));
    }
}

TEST_F(DoubtfulVolume, IsReplacedWhenItsArrayIsLostOrGone) {
    no_volumes(false);
    array("raid5", {{"sdc"}, {"sdd", "faulty"}, {"sde", "faulty"}}, "clean");
    restore();
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(actions(run), Contains("/sbin/pvcreate -u a /dev/ram3"));
    machine.remove_array("md1");
    restore();
    EXPECT_EQ(run.returned, 0);
}

} // namespace
} // namespace zav::test
