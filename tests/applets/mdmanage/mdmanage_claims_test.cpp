// SPDX-License-Identifier: MIT
// mdmanage and disks that another command uses, or that no list shows as used.
#include "fixtures/array_machine.h"
#include "fixtures/held_lock.h"

#include <algorithm>

namespace zav::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

class ClaimedDisks : public testing::Test {
  protected:
    ClaimedDisks() { machine.box(6); }
    Texts creation(const std::string& name, const std::string& channels) const {
        return {"mdmanage", "-C", "-n", name, "-l", "1", "-d", "1", channels};
    }
    void expect_refused(const Texts& arguments, int code) {
        const Result run = machine.run(arguments);
        EXPECT_EQ(run.exit_status, code & 0xff);
        EXPECT_EQ(run.out, "for errno '" + std::to_string(code) + "'\n");
        Texts commands = changes(run);
        std::erase_if(commands,
                      [](const std::string& command) { return command.starts_with("/bin/df "); });
        EXPECT_THAT(commands, IsEmpty());
    }
    ArrayMachine machine;
};

TEST_F(ClaimedDisks, AreUsedForACreation) {
    const HeldLock claim(machine, claim_on("sdb"));
    expect_refused(creation("md1", "1,2"), -2030);
    EXPECT_THAT(log_texts(machine),
                Contains("'sda,sdb' or '' includes a disk that another command uses"));
    EXPECT_EQ(machine.run(creation("md1", "1,3")).exit_status, 0);
}

TEST_F(ClaimedDisks, AreUsedForAnAddition) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    const HeldLock claim(machine, claim_on("sdc"));
    expect_refused({"mdmanage", "-a", "3", "md1"}, -2030);
}

// Another command has put it into an array since the arrays were listed.
TEST_F(ClaimedDisks, AreNotAddedWhenTheKernelHoldsThem) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    machine.directory("/sys/block/sdc/holders/md2");
    expect_refused({"mdmanage", "-a", "3", "md1"}, -2030);
    EXPECT_THAT(log_texts(machine), Contains("'3' is held by the kernel"));
}

TEST_F(ClaimedDisks, KeepTheirArray) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    const HeldLock claim(machine, claim_on("sdb"));
    expect_refused({"mdmanage", "-D", "-n", "md1"}, -415);
}

TEST_F(ClaimedDisks, KeepAnArrayThatAGroupIsMadeOn) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    const HeldLock claim(machine, claim_on("md1"));
    expect_refused({"mdmanage", "-D", "-n", "md1"}, -2035);
}

TEST_F(ClaimedDisks, AreNotMadeAnArrayAgain) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    machine.tool(ArrayMachine::mdadm)
        .on("/sbin/mdadm -D /dev/md1")
        .prints("  Raid Devices : 2\n  0 8 0 0 active sync /dev/sda\n"
                "  1 8 16 1 active sync /dev/sdb\n");
    const HeldLock claim(machine, claim_on("sda"));
    const Result run = machine.run({"mdmanage", "-R", "-n", "md1"});
    EXPECT_EQ(run.exit_status, -411 & 0xff);
    EXPECT_THAT(run.commands, testing::Not(Contains(HasSubstr("mdadm -S"))));
}

TEST_F(ClaimedDisks, AreFreeAgainWhenTheCommandEnds) {
    EXPECT_EQ(machine.run(creation("md1", "1,2")).exit_status, 0);
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

TEST_F(ClaimedDisks, AreUsedWhenThatCannotBeTold) {
    machine.directory("/run/zavbox/" + claim_on("sda") + "/in/the/way");
    expect_refused(creation("md1", "1,2"), -2030);
    EXPECT_THAT(log_texts(machine), Contains(HasSubstr("'sda' cannot be claimed for ")));
}

// The second one looks at the disks while the first one clears them.
TEST_F(ClaimedDisks, OfACreationUnderWayAreUsedForAnother) {
    machine.tool(ArrayMachine::diskformat)
        .any()
        .does("if mkdir /var/first 2>/dev/null; then "
              "while ! [ -e /var/go ]; do sleep 0.01; done; fi");
    StartedRun first = machine.start(creation("md1", "1,2"));
    ASSERT_TRUE(machine.appears("/var/first"));
    expect_refused(creation("md2", "2,3"), -2030);
    expect_refused({"vgmanage", "-C", "-n", "data", "-c", "1", "-d", "1"}, -2043);
    expect_refused({"diskmanage", "-H", "-a", "1", "-d", "1"}, -201);
    expect_refused({"diskmanage", "-I", "-n", "2", "-d", "1"}, -201);
    machine.file("/var/go", "");
    EXPECT_EQ(first.wait().exit_status, 0);
}

TEST_F(ClaimedDisks, GoToOneOfManyCreationsAtOnce) {
    machine.tool(ArrayMachine::mdadm)
        .on_prefix("/sbin/mdadm -C")
        .does("name=$(echo \"$*\" | grep -o 'md[0-9]*' | head -n 1); "
              "for disk in $(echo \"$*\" | grep -o '/dev/sd.'); do "
              "mkdir -p /sys/block/$name/md/dev-${disk#/dev/}; "
              "echo in_sync > /sys/block/$name/md/dev-${disk#/dev/}/state; done; "
              "echo 2 > /sys/block/$name/md/raid_disks; "
              "echo \"$name : active raid1\" >> /proc/mdstat");
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm --detail").optional();
    machine.tool(ArrayMachine::diskformat).any().does("sleep 0.02");
    std::vector<StartedRun> runs;
    for (int number = 0; number < 8; ++number) {
        runs.push_back(machine.start(
            creation("md" + std::to_string(10 + number), number % 2 == 0 ? "1,2" : "2,3")));
    }
    int succeeded = 0;
    for (StartedRun& run : runs) {
        const int status = run.wait().exit_status;
        EXPECT_THAT(status, testing::AnyOf(0, -2030 & 0xff, -412 & 0xff));
        succeeded += status == 0 ? 1 : 0;
    }
    EXPECT_EQ(succeeded, 1);
}

// What no list shows.

TEST_F(ClaimedDisks, AreUsedByAnArrayOnAPartition) {
    machine.array("md1", "raid1", "clean", 2, {{"sda1", "in_sync\n"}, {"sde1", "in_sync\n"}});
    expect_refused(creation("md2", "1,2"), -2030);
}

TEST_F(ClaimedDisks, AreUsedByAVolumeOnAPartition) {
    machine.group("data", {"/dev/sdb1"});
    expect_refused(creation("md2", "1,2"), -2030);
}

TEST_F(ClaimedDisks, AreUsedWhenTheKernelHoldsThem) {
    machine.directory("/sys/block/sdb/holders/dm-0");
    expect_refused(creation("md2", "1,2"), -2030);
    machine.remove("/sys/block/sdb").directory("/sys/block/sdb/sdb1/holders/md9");
    expect_refused(creation("md2", "1,2"), -2030);
    machine.remove("/sys/block/sdb").file("/proc/mounts", "/dev/sdb1 /srv xfs rw 0 0\n");
    expect_refused(creation("md2", "1,2"), -2030);
    EXPECT_THAT(log_texts(machine), Contains("'sdb' is held by the kernel"));
}

TEST_F(ClaimedDisks, AreNotClearedWhenTheKernelHoldsThemAfterTheirArrayIsStopped) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    machine.tool(ArrayMachine::mdadm)
        .on("/sbin/mdadm -S /dev/md1")
        .does("mkdir -p /sys/block/sdb/holders/md9");
    const Result run = machine.run({"mdmanage", "-D", "-n", "md1"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_THAT(changes(run), testing::ElementsAre("/sbin/mdadm -S /dev/md1 > /dev/null",
                                                   "/usr/local/bin/diskformat /dev/sda"));
    EXPECT_THAT(log_texts(machine),
                Contains("'/usr/local/bin/diskformat /dev/sdb' was not run: the kernel holds the "
                         "device"));
}

// Channels of which the record would keep seven characters.
TEST_F(ClaimedDisks, AreNotChosenByHalfAText) {
    machine.running("md1", "raid1", {"sda", "sdb"});
    machine.array("md2", "raid1", "clean", 2, {{"sdc", "faulty\n"}, {"sdd", "in_sync\n"}});
    expect_refused({"mdmanage", "-a", "11,12,5,1", "md1"}, -2033);
    expect_refused({"mdmanage", "-r", "11,12,3,1", "md2"}, -2033);
    EXPECT_THAT(log_texts(machine), Contains("'11,12,5' is not invalid disk"));
}

} // namespace
} // namespace zav::test
