// SPDX-License-Identifier: MIT
// Recovering an array takes nothing apart that runs, and creates nothing with other members than
// the array has slots.
#include "actions/arrays/recovery.h"
#include "fixtures/array_machine.h"
#include "fixtures/held_lock.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class SafeRecovery : public testing::Test {
  protected:
    SafeRecovery() { machine.box(6); }

    void details(int raid_devices, const Texts& slots) {
        std::string text = "/dev/md1:\n   Raid Devices : " + std::to_string(raid_devices) + "\n";
        for (const std::string& slot : slots) {
            text += "  " + slot + "\n";
        }
        machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -D /dev/md1").prints(text);
    }
    void kernel_says(const std::string& state, const std::string& degraded,
                     const MemberStates& members = {
                         {"sda", "in_sync\n"}, {"sdb", "in_sync\n"}, {"sdc", "in_sync\n"}}) {
        machine.remove("/sys/block/md1");
        machine.members("md1", "3\n", members);
        machine.file("/sys/block/md1/md/array_state", state + "\n");
        if (!degraded.empty()) {
            machine.file("/sys/block/md1/md/degraded", degraded + "\n");
        }
    }
    void recover(const char* type = "raid5") {
        run = machine.operation([=] { return raid_recover("md1", type, printed()); });
    }
    void expect_kept(const std::string& why) {
        EXPECT_EQ(run.returned, -411);
        EXPECT_THAT(run.commands, Not(Contains(HasSubstr("mdadm -S"))));
        EXPECT_THAT(run.commands, Not(Contains(HasSubstr("mdadm -C"))));
        EXPECT_THAT(log_texts(machine), Contains("'md1' is not recovered: " + why));
        EXPECT_THAT(last_message(machine),
                    testing::MatchesRegex("raid_recover\\[[0-9]+\\]: return with -411"));
    }
    const Texts three = {"0 8 0 0 active sync /dev/sda", "1 8 16 1 active sync /dev/sdb",
                         "2 8 32 2 active sync /dev/sdc"};
    ArrayMachine machine;
    Result run;
};

// Four slots, of which one is "removed" under a number that is none.
TEST_F(SafeRecovery, NeedsAsManyDisksAsTheArrayHasSlots) {
    Texts slots = three;
    slots.emplace_back("- 0 0 3 removed");
    details(4, slots);
    recover();
    expect_kept("it has 4 slots, and 3 disks are found");
}

TEST_F(SafeRecovery, TakesNoMoreDisksThanTheArrayHasSlots) {
    Texts slots = three;
    slots.emplace_back("3 8 48 - faulty /dev/sdd");
    slots.emplace_back("4 8 64 - spare /dev/sde");
    details(3, slots);
    recover();
    expect_kept("it has 3 slots, and 5 disks are found");
}

TEST_F(SafeRecovery, CountsTheDiskThatFillsTheHole) {
    details(4, {"0 8 0 0 active sync /dev/sda", "1 0 0 1 removed", "2 0 0 2 removed",
                "3 8 48 3 active sync /dev/sdd"});
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -E").exits(1);
    machine.tool(ArrayMachine::mdadm)
        .on("/sbin/mdadm -E /dev/sdb")
        .prints("  0 8 0 0 active sync /dev/sda\n");
    recover();
    expect_kept("it has 4 slots, and 3 disks are found");
}

// It has held the data of its slot until it failed: to take it back is what a recovery is for.
TEST_F(SafeRecovery, TakesAFaultyMemberBack) {
    details(4, {"0 8 0 0 active sync /dev/sda", "1 8 16 1 active sync /dev/sdb",
                "3 8 48 3 active sync /dev/sdd", "2 8 32 - faulty /dev/sdc"});
    recover();
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(run.commands,
                Contains(HasSubstr("-l 5 -n 4 -R /dev/sda /dev/sdb /dev/sdc /dev/sdd")));
}

TEST_F(SafeRecovery, CountsNoSpare) {
    machine.tool(ArrayMachine::mdadm)
        .on("/sbin/mdadm -D /dev/md1")
        .prints(recorded("raid5_initial_recovery_detail").text);
    recover();
    expect_kept("of its 3 disks 1 are spares");
}

TEST_F(SafeRecovery, KeepsTheOrderOfTheSlots) {
    details(3, {"1 8 16 1 active sync /dev/sdb", "2 8 32 2 active sync /dev/sdc",
                "3 8 48 0 active sync /dev/sdd"});
    recover();
    expect_kept("its disks are numbered in another order than its slots");
    details(3, {"0 8 0 0 active sync /dev/sda", "1 8 16 2 active sync /dev/sdb",
                "2 8 32 1 active sync /dev/sdc"});
    recover();
    expect_kept("its disks are numbered in another order than its slots");
    details(3, {"0 8 0 0 active sync /dev/sda", "1 8 16 1 active sync /dev/sdb",
                "5 8 80 2 active sync /dev/sdf"});
    recover();
    EXPECT_EQ(run.returned, 0);
}

class FilledHole : public SafeRecovery {
  protected:
    FilledHole() {
        details(3, {"0 8 0 0 active sync /dev/sda", "1 0 0 1 removed",
                    "2 8 32 2 active sync /dev/sdc"});
        machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -E").exits(1).optional();
        machine.tool(ArrayMachine::mdadm)
            .on("/sbin/mdadm -E /dev/sdb")
            .prints("  0 0 8 0 0 active sync /dev/sda\n");
    }
};

TEST_F(FilledHole, TakesNoDiskThatTheKernelHolds) {
    machine.directory("/sys/block/sdb/sdb1/holders/dm-0");
    recover();
    expect_kept("'sdb' is held by the kernel");
    machine.remove("/sys/block/sdb").file("/proc/mounts", "/dev/sdb2 /srv xfs rw 0 0\n");
    recover();
    expect_kept("'sdb' is held by the kernel");
}

TEST_F(FilledHole, TakesNoDiskThatAnotherCommandUses) {
    const HeldLock claim(machine, claim_on("sdb"));
    recover();
    expect_kept("'sdb' is held by another command");
}

// Another command may clear the disk as soon as its superblock is read.
TEST_F(FilledHole, TakesADiskThatItHasClaimedBeforeItLookedAtIt) {
    machine.tool(ArrayMachine::mdadm)
        .on("/sbin/mdadm -E /dev/sdb")
        .does("[ -e /run/zavbox/disk-sdb ] && [ -e /run/zavbox/disk-md1 ] && mkdir /var/claimed")
        .prints("  0 0 8 0 0 active sync /dev/sda\n");
    recover();
    EXPECT_EQ(run.returned, 0);
    EXPECT_TRUE(machine.exists("/var/claimed"));
    EXPECT_THAT(run.commands, Contains(HasSubstr("-R /dev/sda /dev/sdb /dev/sdc")));
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

TEST_F(SafeRecovery, LooksAtNoArrayOrMemberThatAnotherCommandUses) {
    kernel_says("clean", "1");
    for (const char* device : {"md1", "sdc"}) {
        const HeldLock claim(machine, claim_on(device));
        recover();
        EXPECT_EQ(run.returned, -411);
        EXPECT_THAT(run.commands, testing::IsEmpty()) << device;
    }
}

TEST_F(SafeRecovery, ReadsRecordedArraysThatFailed) {
    for (const char* capture :
         {"raid5_failed_detail", "raid5_degraded_two_faulty_one_missing_detail"}) {
        machine.tool(ArrayMachine::mdadm)
            .on("/sbin/mdadm -D /dev/md1")
            .prints(recorded(capture).text);
        machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -E").exits(1).optional();
        recover();
        EXPECT_THAT(run.returned, testing::AnyOf(-410, -411)) << capture;
        EXPECT_THAT(run.commands, Not(Contains(HasSubstr("mdadm -S")))) << capture;
    }
}

TEST_F(SafeRecovery, IsNotForAnArrayThatRunsWithAllItsMembers) {
    details(3, three);
    for (const char* state : {"clean", "active", "read-auto"}) {
        kernel_says(state, "0");
        recover();
        expect_kept("it runs with all its members");
        recover("raid1");
        expect_kept("it runs with all its members");
    }
}

TEST_F(SafeRecovery, IsNotForAnArrayWhoseStateCannotBeRead) {
    details(3, three);
    for (const char* attribute : {"array_state", "level", "raid_disks", "degraded"}) {
        kernel_says("clean", "0");
        const std::string path = std::string("/sys/block/md1/md/") + attribute;
        machine.remove(path).directory(path);
        recover();
        expect_kept("it may run: its state cannot be read");
        machine.remove(path);
    }
}

TEST_F(SafeRecovery, IsNotForAStripeThatRuns) {
    details(3, three);
    kernel_says("clean", ""); // levels that do not degrade have no such file
    recover("raid0");
    expect_kept("it runs with all its members");
}

// An array that has nothing to write does not notice that a disk was pulled out.
TEST_F(SafeRecovery, IsForAnArrayWithAMemberThatWasPulledOut) {
    details(3, three);
    kernel_says("clean", "0");
    machine.directory("/sys/devices/sdb")
        .symlink("/sys/devices/sdb", "/sys/block/md1/md/dev-sdb/block");
    recover();
    expect_kept("it runs with all its members");
    machine.remove("/sys/devices/sdb");
    recover();
    EXPECT_EQ(run.returned, 0);
}

TEST_F(SafeRecovery, IsForArraysThatDoNotRunOrLackAMember) {
    details(3, three);
    for (const auto& [state, degraded] :
         {std::pair{"inactive", "0"}, {"clear", "0"}, {"clean", "1"}, {"broken", ""}}) {
        kernel_says(state, degraded);
        recover();
        EXPECT_EQ(run.returned, 0) << state << degraded;
        EXPECT_THAT(run.commands, Contains(HasSubstr("mdadm -C /dev/md1 -l 5 -n 3")));
    }
}

} // namespace
} // namespace zav::test
