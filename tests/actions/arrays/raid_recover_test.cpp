// SPDX-License-Identifier: MIT
// Recovering an array that does not start: the mdadm calls, what is printed, and the order of the
// disks in the command that re-creates it.
#include "actions/arrays/recovery.h"
#include "fixtures/array_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

// A line of the table: a member, or a slot that has lost its member. A member that replaced another
// one has its slot, and a number of its own.
struct Slot {
    int number;
    const char* path;
    int slot = number;
};

std::string table(const std::vector<Slot>& slots) {
    std::string lines = "    Number   Major   Minor   RaidDevice State\n";
    for (const auto& [number, path, slot] : slots) {
        lines += "       " + std::to_string(number) + "       8        0        " +
                 std::to_string(slot) + "      " +
                 (path == nullptr ? "removed" : std::string("active sync   ") + path) + "\n";
    }
    return lines;
}

class Recover : public testing::Test {
  protected:
    Recover() { machine.box(6); }

    void details(int raid_devices, const std::vector<Slot>& slots) {
        detail_rule().prints("/dev/md1:\n   Raid Devices : " + std::to_string(raid_devices) +
                             "\n          State : clean, degraded, Not Started\n\n" + table(slots));
    }
    Rule detail_rule() { return machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -D /dev/md1"); }
    // The superblock of a disk; no slots: the disk has none.
    void superblock(const std::string& disk, const std::vector<Slot>& slots) {
        Rule rule = examine_rule(disk);
        if (slots.empty()) {
            rule.complains("mdadm: No md superblock detected on /dev/" + disk + ".\n").exits(1);
        } else {
            rule.prints("/dev/" + disk + ":\n          Magic : a92b4efc\n" + table(slots));
        }
    }
    Rule examine_rule(const std::string& disk) {
        return machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -E /dev/" + disk);
    }
    int recover(const char* type = "raid5", const char* name = "md1") {
        run = machine.operation([=] { return raid_recover(name, type, printed()); });
        return run.returned;
    }
    std::string recreated() {
        for (const std::string& command : outside(run)) {
            if (command.starts_with("/sbin/mdadm -C")) {
                return command;
            }
        }
        return "";
    }
    void expect_failure_logged(int code) {
        EXPECT_THAT(last_message(machine),
                    MatchesRegex("raid_recover\\[[0-9]+\\]: return with " + std::to_string(code)));
    }

    ArrayMachine machine;
    Result run;
};

TEST_F(Recover, RecreatesACompleteArrayFromItsMembers) {
    details(3, {{0, "/dev/sdb"}, {1, "/dev/sda"}, {2, "/dev/sdc"}});
    EXPECT_EQ(recover(), 0);
    EXPECT_THAT(
        outside(run),
        ElementsAre("/sbin/mdadm -D /dev/md1 > /tmp/mdinfo.XXXXXX",
                    "/sbin/mdadm -S /dev/md1 > /dev/null",
                    "/sbin/mdadm -C /dev/md1 -l 5 -n 3 -R /dev/sdb /dev/sda /dev/sdc > /dev/null",
                    "/sbin/vgscan > /dev/null"));
    EXPECT_EQ(run.out, "disk: /dev/sdb\ndisk: /dev/sda\ndisk: /dev/sdc\n");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(Recover, ReadsRecordedDetails) {
    detail_rule().replays("mdadm_D_raid5");
    EXPECT_EQ(recover(), 0);
    EXPECT_EQ(run.out, "disk: /dev/sda\ndisk: /dev/sdb\ndisk: /dev/sdc\n");
    EXPECT_EQ(recreated(),
              "/sbin/mdadm -C /dev/md1 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST_F(Recover, LooksForTheMissingDiskOnEveryDiskThatIsNoMember) {
    details(3, {{0, "/dev/sda"}, {1, nullptr}, {2, "/dev/sdc"}});
    superblock("sdb", {{0, "/dev/sda"}, {1, "/dev/sdb"}, {2, "/dev/sdc"}});
    for (const char* disk : {"sdd", "sde", "sdf"}) {
        superblock(disk, {});
    }
    EXPECT_EQ(recover(), 0);
    EXPECT_THAT(outside(run),
                ElementsAreArray(joined(
                    {{"/sbin/mdadm -D /dev/md1 > /tmp/mdinfo.XXXXXX"},
                     disk_list_commands(),
                     {"/sbin/mdadm -E /dev/sdb > /tmp/diskinfo.XXXXXX",
                      "/sbin/mdadm -E /dev/sdd > /tmp/diskinfo.XXXXXX",
                      "/sbin/mdadm -E /dev/sde > /tmp/diskinfo.XXXXXX",
                      "/sbin/mdadm -E /dev/sdf > /tmp/diskinfo.XXXXXX",
                      "/sbin/mdadm -S /dev/md1 > /dev/null",
                      "/sbin/mdadm -C /dev/md1 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null",
                      "/sbin/vgscan > /dev/null"}})));
    EXPECT_EQ(run.out, "disk: /dev/sda\ndisk: /dev/sdc\n");
}

TEST_F(Recover, ReadsARecordedSuperblock) {
    machine.box(3);
    details(3, {{0, "/dev/sda"}, {1, nullptr}, {2, "/dev/sdc"}});
    examine_rule("sdb").replays("mdadm_E_raid5_v090");
    EXPECT_EQ(recover(), 0);
    EXPECT_EQ(recreated(),
              "/sbin/mdadm -C /dev/md1 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
}

// Superblocks of version 1.2 have no table.
TEST_F(Recover, FindsNoMissingDiskInASuperblockWithoutATable) {
    machine.box(3);
    details(3, {{0, nullptr}, {1, "/dev/sdb"}, {2, "/dev/sdc"}});
    examine_rule("sda").replays("mdadm_E_raid5_v12");
    EXPECT_EQ(recover(), -410);
    EXPECT_THAT(outside(run).back(), "/sbin/mdadm -E /dev/sda > /tmp/diskinfo.XXXXXX");
    expect_failure_logged(-410);
}

TEST_F(Recover, PutsTheMissingDiskIntoItsPlace) {
    machine.box(4);
    superblock("sdd", {{0, "/dev/sda"}, {1, "/dev/sdb"}});
    details(4, {{0, nullptr}, {1, "/dev/sda"}, {2, "/dev/sdb"}, {3, "/dev/sdc"}});
    EXPECT_EQ(recover(), 0);
    EXPECT_THAT(recreated(), HasSubstr(" -R /dev/sdd /dev/sda /dev/sdb /dev/sdc >"));
    details(4, {{0, "/dev/sda"}, {1, "/dev/sdb"}, {2, "/dev/sdc"}, {3, nullptr}});
    EXPECT_EQ(recover(), 0);
    EXPECT_THAT(recreated(), HasSubstr(" -R /dev/sda /dev/sdb /dev/sdc /dev/sdd >"));
}

TEST_F(Recover, TakesTheLastDiskThatKnowsAMember) {
    machine.box(5);
    details(3, {{0, "/dev/sda"}, {1, nullptr}, {2, "/dev/sdc"}});
    superblock("sdb", {{0, "/dev/sda"}});
    superblock("sdd", {{0, "/dev/sdx"}, {1, "/dev/sdc"}});
    superblock("sde", {{0, "/dev/sdx"}, {1, "/dev/sdy"}});
    EXPECT_EQ(recover(), 0);
    EXPECT_THAT(recreated(), HasSubstr(" -R /dev/sda /dev/sdd /dev/sdc >"));
}

TEST_F(Recover, PassesOverToolsThatFailOnADisk) {
    machine.box(5);
    details(3, {{0, "/dev/sda"}, {1, nullptr}, {2, "/dev/sdc"}});
    superblock("sdb", {{0, "/dev/sda"}});
    examine_rule("sdd").prints(table({{0, "/dev/sda"}})).exits(1);
    examine_rule("sde").prints(table({{0, "/dev/sda"}})).killed_by(9);
    EXPECT_EQ(recover(), 0);
    EXPECT_THAT(recreated(), HasSubstr(" -R /dev/sda /dev/sdb /dev/sdc >"));
    EXPECT_THAT(log_texts(machine, "mdadm -E /dev/sdd"), testing::SizeIs(1));
}

TEST_F(Recover, MovesTheLastMemberIntoTheHoleWhenAllAreThere) {
    details(3, {{0, "/dev/sda"}, {1, nullptr}, {2, "/dev/sdc"}, {3, "/dev/sdb", 1}});
    EXPECT_EQ(recover(), 0);
    EXPECT_EQ(run.out, "disk: /dev/sda\ndisk: /dev/sdc\ndisk: /dev/sdb\n");
    EXPECT_THAT(recreated(), HasSubstr(" -n 3 -R /dev/sda /dev/sdb /dev/sdc >"));
}

TEST_F(Recover, MovesNothingWhenTheHoleIsAfterAllMembers) {
    details(3, {{0, "/dev/sda"}, {1, "/dev/sdb"}, {2, "/dev/sdc"}, {3, nullptr}});
    EXPECT_EQ(recover(), 0);
    EXPECT_THAT(recreated(), HasSubstr(" -n 3 -R /dev/sda /dev/sdb /dev/sdc >"));
}

TEST_F(Recover, RefusesSeventeenSlots) {
    std::vector<std::string> paths;
    std::vector<Slot> slots;
    for (char letter = 'a'; letter <= 'r'; ++letter) {
        paths.push_back(std::string("/dev/sd") + letter);
    }
    for (int number = 0; number < 18; ++number) {
        slots.push_back({number, paths[static_cast<std::size_t>(number)].c_str()});
    }
    details(17, slots);
    EXPECT_EQ(recover("raid6"), -419);
    EXPECT_THAT(run.out, testing::EndsWith("disk: /dev/sdp\ndisk: /dev/sdq\n"));
    EXPECT_THAT(log_texts(machine, "disks num"),
                ElementsAre("disks num 17 exceed [4, 16] in raid6"));
    details(16, {slots.begin(), slots.begin() + 16});
    EXPECT_EQ(recover("raid6"), 0);
    EXPECT_THAT(recreated(), HasSubstr(" -l 6 -n 16 -R /dev/sda "));
}

TEST_F(Recover, RefusesFewerMembersThanTheLevelTakesAfterTheArrayIsStopped) {
    details(2, {{0, "/dev/sda"}, {2, "/dev/sdc"}});
    EXPECT_EQ(recover(), -419);
    EXPECT_EQ(outside(run).back(), "/sbin/mdadm -S /dev/md1 > /dev/null");
    EXPECT_THAT(log_texts(machine, "disks num"),
                ElementsAre("disks num 2 exceed [3, 16] in raid5"));
    expect_failure_logged(-419);
}

TEST_F(Recover, RecreatesAMirrorAsLevel0) {
    details(2, {{0, "/dev/sda"}, {1, "/dev/sdb"}});
    EXPECT_EQ(recover("raid1"), 0);
    EXPECT_EQ(recreated(), "/sbin/mdadm -C /dev/md1 -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
}

TEST_F(Recover, DoesNothingForAnArrayWithoutMembers) {
    details(0, {});
    EXPECT_EQ(recover(), 0);
    for (const std::vector<Slot>& slots :
         {std::vector<Slot>(), std::vector<Slot>{{0, nullptr}, {1, nullptr}}}) {
        details(3, slots);
        EXPECT_EQ(recover(), -411);
        EXPECT_THAT(outside(run), ElementsAre("/sbin/mdadm -D /dev/md1 > /tmp/mdinfo.XXXXXX"));
        EXPECT_EQ(run.out, "");
    }
}

TEST_F(Recover, NeedsTheDetails) {
    detail_rule().complains("mdadm: cannot open /dev/md1\n").exits(1);
    EXPECT_EQ(recover(), -411);
    EXPECT_THAT(outside(run), ElementsAre("/sbin/mdadm -D /dev/md1 > /tmp/mdinfo.XXXXXX"));
    EXPECT_THAT(log_texts(machine, "mdadm -D"), testing::SizeIs(1));
    expect_failure_logged(-411);
}

TEST_F(Recover, NeedsTheNumberOfDevicesInTheDetails) {
    for (const std::string& text : {std::string(), std::string("garbage"), table({{0, "/dev/sda"}}),
                                    std::string(1048576, 'x'), std::string(64, '\0')}) {
        detail_rule().prints(text);
        EXPECT_EQ(recover(), -411);
        expect_failure_logged(-411);
        EXPECT_THAT(run.commands, testing::SizeIs(1));
    }
}

TEST_F(Recover, NeedsTheFileOfTheDetails) {
    detail_rule().does("rm /tmp/mdinfo.*");
    EXPECT_EQ(recover(), -411);
    expect_failure_logged(-411);
}

TEST_F(Recover, RunsNothingWithAnInvalidPath) {
    details(3, {{0, "/dev/sda"}, {1, "/dev/$(reboot)"}, {2, "/dev/sdc"}});
    EXPECT_EQ(recover(), -411);
    EXPECT_THAT(run.commands, testing::SizeIs(1));
}

TEST_F(Recover, RunsNothingForAnInvalidName) {
    EXPECT_EQ(recover("raid5", "md1;reboot"), -411);
    EXPECT_THAT(run.commands, IsEmpty());
    expect_failure_logged(-411);
}

TEST_F(Recover, NeedsTheDiskListForAMissingDisk) {
    details(3, {{0, "/dev/sda"}, {1, nullptr}, {2, "/dev/sdc"}});
    machine.without_disk_controller();
    EXPECT_EQ(recover(), -410);
    expect_failure_logged(-410);
}

TEST_F(Recover, NeedsNoDiskListForACompleteArray) {
    details(3, {{0, "/dev/sda"}, {1, "/dev/sdb"}, {2, "/dev/sdc"}});
    machine.without_disk_controller();
    EXPECT_EQ(recover(), 0);
}

TEST_F(Recover, EndsWhenTheArrayCannotBeStopped) {
    details(3, {{0, "/dev/sda"}, {1, "/dev/sdb"}, {2, "/dev/sdc"}});
    machine.tool(ArrayMachine::mdadm).on("/sbin/mdadm -S /dev/md1").exits(1);
    EXPECT_EQ(recover(), -419);
    EXPECT_EQ(outside(run).back(), "/sbin/mdadm -S /dev/md1 > /dev/null");
    expect_failure_logged(-419);
}

TEST_F(Recover, EndsWhenTheArrayCannotBeRecreated) {
    details(3, {{0, "/dev/sda"}, {1, "/dev/sdb"}, {2, "/dev/sdc"}});
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -C").exits(1);
    EXPECT_EQ(recover(), -419);
    EXPECT_THAT(outside(run).back(), testing::StartsWith("/sbin/mdadm -C"));
    expect_failure_logged(-419);
}

TEST_F(Recover, FailsWhenTheGroupsCannotBeScanned) {
    details(3, {{0, "/dev/sda"}, {1, "/dev/sdb"}, {2, "/dev/sdc"}});
    machine.tool("/sbin/vgscan").on("/sbin/vgscan").exits(5);
    EXPECT_EQ(recover(), -419);
    EXPECT_EQ(outside(run).back(), "/sbin/vgscan > /dev/null");
    expect_failure_logged(-419);
}

// Behind the RAID controller disks have no name that mdadm could examine.
TEST(RecoverOnTheController, ExaminesNoDiskWithoutAName) {
    ArrayMachine machine("VEL7205U");
    machine.tool(ArrayMachine::mdadm)
        .on("/sbin/mdadm -D /dev/md1")
        .prints("Raid Devices : 3\n" + table({{0, "/dev/sda"}, {1, nullptr}, {2, "/dev/sdc"}}));
    machine.tool(ArrayMachine::vexadm)
        .on("/usr/local/bin/vexadm --misc --scan")
        .prints("==\n0 /ST3/500/Normal/Free\n1 /ST3/500/Normal/Free\n");
    const Result run = machine.operation([] { return raid_recover("md1", "raid5", printed()); });
    EXPECT_EQ(run.returned, -410);
    EXPECT_THAT(outside(run),
                ElementsAre("/sbin/mdadm -D /dev/md1 > /tmp/mdinfo.XXXXXX",
                            "/usr/local/bin/vexadm --misc --scan > /tmp/diskinfo.XXXXXX"));
}

} // namespace
} // namespace zav::test
