// SPDX-License-Identifier: MIT
// vgmanage --delete: the group is restored as far as LVM needs, then removed, and its volumes are
// released.
#include "fixtures/group_machine.h"
#include "fixtures/held_lock.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr auto no_directory = "'/etc/lvm/backup' not exist\n";
constexpr auto no_backup = "file '/etc/lvm/backup/data' cannot open\n";
// The UUID of every volume of the machine.
constexpr auto uuid = "AAAAAA-0000-0000-0000-0000-0000-000000";

class VgDelete : public testing::Test {
  protected:
    VgDelete() {
        machine.on("data", {"/dev/md0"});
        machine.directory("/etc/lvm/backup");
    }
    int remove(const std::string& name = "data") {
        machine.remove("/var/log/log.libzav");
        run = machine.vgmanage({"-D", "-n", name});
        return run.exit_status;
    }
    void backup(const std::string& device, const std::string& id = uuid) {
        machine.file("/etc/lvm/backup/data",
                     "data {\n\tphysical_volumes {\n\n\t\tpv0 {\n\t\t\tid = \"" + id +
                         "\"\n\t\t\tdevice = \"/dev/" + device +
                         "\"\t# Hint only\n\t\t}\n\t}\n}\n");
    }
    // The look-up of the group in LVM after a failure.
    Rule looked_up() { return machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c data"); }
    // The command is refused with this code and changes nothing.
    void expect_refused(int code, const std::string& before, const std::string& name = "data") {
        remove(name);
        expect_failure(machine, run, code, before);
        EXPECT_THAT(changes(run), IsEmpty());
    }
    GroupMachine machine;
    Result run;
};

TEST_F(VgDelete, LooksAtTheBackupThenRemovesTheGroupAndItsVolumes) {
    backup("md0");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(steps(run),
              joined({array_list,
                      {"volumes"},
                      group_list,
                      {"/sbin/vgremove data > /dev/null", "/sbin/pvremove /dev/md0 > /dev/null"}}));
    EXPECT_EQ(run.out, "vg restore: no\n");
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(VgDelete, RemovesNothingWhileAnotherCommandUsesAVolume) {
    machine.only_on("data", {"/dev/md0", "/dev/sde"});
    for (const char* volume : {"md0", "sde"}) {
        const HeldLock other(machine, claim_on(volume));
        expect_refused(-2045, no_backup);
        EXPECT_THAT(logged(machine),
                    Contains(std::string("'") + volume + "' is used by another command"));
    }
}

// Another group could take a volume that is free and not yet released.
TEST_F(VgDelete, ClaimsTheVolumesUntilTheLastIsReleased) {
    machine.only_on("data", {"/dev/md0", "/dev/sde"});
    machine.tool(group_tool::pvremove).any().does("ls /run/zavbox >>/var/claims");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(machine.read("/var/claims"), "disk-md0\ndisk-sde\ndisk-md0\ndisk-sde\n");
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

TEST_F(VgDelete, TakesTheLongName) {
    run = machine.vgmanage({"--delete", "-n", "data"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(changes(run).front(), "/sbin/vgremove data > /dev/null");
}

TEST_F(VgDelete, ContinuesWithoutTheBackupDirectory) {
    machine.remove("/etc/lvm");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(run.out, no_directory);
    EXPECT_EQ(changes(run).back(), "/sbin/pvremove /dev/md0 > /dev/null");
    machine.file("/etc/lvm/backup", "no directory\n");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(run.out, no_directory);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(VgDelete, ContinuesWithoutABackupOfTheGroup) {
    machine.file("/etc/lvm/backup/data1", "data1 {\n}\n");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(run.out, no_backup);
    EXPECT_EQ(steps(run),
              joined({group_list,
                      {"/sbin/vgremove data > /dev/null", "/sbin/pvremove /dev/md0 > /dev/null"}}));
}

TEST_F(VgDelete, PutsRamDisksInThePlacesOfLostVolumesFirst) {
    backup("md7", "ZZZZZZ-1111");
    for (const char* tool : {"/sbin/vgcfgrestore", group_tool::pvcreate}) {
        machine.tool(tool).any();
    }
    EXPECT_EQ(remove(), 0);
    EXPECT_THAT(changes(run),
                ElementsAre("/sbin/pvcreate -u ZZZZZZ-1111 /dev/ram2", "/sbin/vgcfgrestore data",
                            "/sbin/vgremove data > /dev/null",
                            "/sbin/pvremove /dev/md0 > /dev/null"));
    EXPECT_EQ(run.out, "vg restore: yes\n");
}

TEST_F(VgDelete, TouchesNothingWhenTheGroupCannotBeRestored) {
    backup("md1"); // but the volume is on md0
    expect_refused(-301, "raid restore 'data' fail\n");
    EXPECT_EQ(outside(run).back(), "/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX");
}

TEST_F(VgDelete, TouchesNothingWhenTheCurrentVolumesAreUnknown) {
    backup("md0");
    machine.tool(group_tool::pvdisplay).on("/sbin/pvdisplay -c").does("rm -f /tmp/pvdisplay.*");
    machine.tool(group_tool::pvcreate).any().exits(5);
    remove();
    EXPECT_EQ(run.exit_status, -301 & 0xff);
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/pvdisplay\\.[^ ]{6}\n"
                                      "raid restore 'data' fail\nfor errno '-301'\n"));
    EXPECT_THAT(changes(run), Not(testing::Contains(StartsWith("/sbin/vgremove"))));
}

TEST_F(VgDelete, RestoresTheGroupBeforeItLooksForIt) {
    backup("md0");
    machine.group_lines("", "  /dev/md0::1:-1:8:8:-1:4096:0:0:0:" + std::string(uuid) + "\n");
    expect_refused(-2046, "vg restore: no\n");
}

TEST_F(VgDelete, RefusesAnUnknownGroup) {
    expect_refused(-2046, "file '/etc/lvm/backup/dat' cannot open\n", "dat");
    expect_refused(-2046, "file '/etc/lvm/backup/data1' cannot open\n", "data1");
    EXPECT_THAT(logged(machine), ElementsAre(returned("vgmanage_main", -2046)));
    machine.remove("/etc/lvm");
    expect_refused(-2046, no_directory, "data1");
}

TEST_F(VgDelete, KeepsAGroupThatHoldsPools) {
    machine.only_on("data", {"/dev/md0"}, 256);
    expect_refused(-2047, no_backup);
}

TEST_F(VgDelete, RemovesAGroupWhosePoolsHaveLessThanAGigabyteInAll) {
    machine.only_on("data", {"/dev/md0"}, 255);
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(changes(run).front(), "/sbin/vgremove data > /dev/null");
}

TEST_F(VgDelete, ReleasesDisksByTheirChannels) {
    machine.only_on("data", {"/dev/sdx", "/dev/sdd"});
    EXPECT_EQ(remove(), 0);
    EXPECT_THAT(changes(run), ElementsAre("/sbin/vgremove data > /dev/null",
                                          "/sbin/pvremove /dev/sdx > /dev/null",
                                          "/sbin/pvremove /dev/sdd > /dev/null"));
}

TEST_F(VgDelete, SucceedsWhenVgremoveFailedAndTheVolumesAreReleased) {
    const auto expect_success = [this] {
        EXPECT_EQ(remove(), 0);
        EXPECT_EQ(run.out, no_backup);
        EXPECT_EQ(outside(run).back(), "/sbin/pvremove /dev/md0 > /dev/null");
    };
    machine.tool(group_tool::vgremove).any().exits(5);
    expect_success();
    machine.tool(group_tool::vgremove).any().killed_by(9);
    expect_success();
    machine.remove(group_tool::vgremove);
    expect_success();
}

TEST_F(VgDelete, ReportsAGroupThatIsStillThere) {
    const auto expect_still_there = [this] {
        remove();
        expect_failure(machine, run, -301, std::string(no_backup) + "cannot del md0\n");
        EXPECT_EQ(outside(run).back(), "/sbin/vgdisplay -c data > /tmp/vgdisplay.XXXXXX");
    };
    machine.tool(group_tool::pvremove).any().exits(5);
    expect_still_there();
    machine.tool(group_tool::pvremove).any().killed_by(9);
    expect_still_there();
    machine.remove(group_tool::pvremove);
    expect_still_there();
}

TEST_F(VgDelete, SucceedsWhenTheGroupIsGoneAnyway) {
    machine.tool(group_tool::pvremove).any().exits(5);
    looked_up().prints("");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(run.out, std::string(no_backup) + "cannot del md0\n");
    EXPECT_EQ(outside(run).back(), "/sbin/vgdisplay -c data > /tmp/vgdisplay.XXXXXX");
}

// The look-up fails without the group as well as without LVM.
TEST_F(VgDelete, SucceedsWhenTheGroupIsGoneAnywayByTheListOfAllGroups) {
    machine.tool(group_tool::pvremove).any().exits(5);
    looked_up().replays("vgdisplay_c_unknown").exits(5);
    const std::string line = "  data:r/w:772:-1:0:1:0:-1:0:1:1:2449408:4096:598:0:598:NRVttr\n";
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").prints(line).then().prints("");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(outside(run).back(), "/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX");
}

TEST_F(VgDelete, ReportsAGroupWhenLvmTellsNothing) {
    machine.tool(group_tool::vgremove).any().exits(5);
    machine.tool(group_tool::pvremove).any().exits(5);
    looked_up().exits(5);
    const auto expect_still_there = [this] {
        remove();
        expect_failure(machine, run, -301, std::string(no_backup) + "cannot del md0\n");
    };
    expect_still_there();
    const std::string line = "  data:r/w:772:-1:0:1:0:-1:0:1:1:2449408:4096:598:0:598:NRVttr\n";
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").prints(line).then().exits(5);
    expect_still_there();
}

TEST_F(VgDelete, ReportsAGroupThatCannotBeLookedUp) {
    machine.tool(group_tool::pvremove).any().exits(5);
    looked_up().does("rm -f /tmp/vgdisplay.*");
    remove();
    EXPECT_EQ(run.exit_status, -1040 & 0xff);
    EXPECT_THAT(run.out, MatchesRegex("file '/etc/lvm/backup/data' cannot open\n"
                                      "cannot del md0\n"
                                      "cannot open /tmp/vgdisplay\\.[^ ]{6}\n"
                                      "for errno '-1040'\n"));
    EXPECT_THAT(machine.last_message(), returned("vgmanage_main", -1040));
}

TEST_F(VgDelete, ReportsAGroupWhoseListFailed) {
    machine.tool(group_tool::pvdisplay).on("/sbin/pvdisplay -c").exits(5);
    expect_refused(-301, no_backup);
    machine.tool(group_tool::pvdisplay).on("/sbin/pvdisplay -c").does("rm -f /tmp/pvdisplay.*");
    remove();
    EXPECT_EQ(run.exit_status, -1040 & 0xff);
    EXPECT_THAT(changes(run), IsEmpty());
    machine.remove("/etc/sys_info");
    expect_refused(-11001, no_backup);
}

// Nothing was done, and it is unknown whether the group exists: that is not a success.
TEST_F(VgDelete, DoesNotTreatAGroupAsGoneWhenLvmDoesNotAnswer) {
    const auto expect_reported = [this] {
        EXPECT_NE(remove(), 0);
        EXPECT_THAT(run.out, HasSubstr("for errno '"));
        EXPECT_THAT(changes(run), IsEmpty());
    };
    looked_up().exits(5);
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").exits(5);
    expect_reported();
    machine.remove(group_tool::vgdisplay);
    expect_reported();
}

TEST_F(VgDelete, RefusesInvalidNames) {
    for (const std::string& name : {std::string(""), std::string("a b"), std::string(".."),
                                    std::string("../group"), std::string(33, 'n')}) {
        expect_refused(-123, "", name);
        EXPECT_THAT(run.commands, IsEmpty());
    }
    machine.remove("/var/log/log.libzav");
    run = machine.vgmanage({"-D"});
    expect_failure(machine, run, -123);
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(VgDelete, ChangesNoFile) {
    backup("md0");
    const Snapshot before = machine.snapshot();
    EXPECT_EQ(remove(), 0);
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

} // namespace
} // namespace zav::test
