// SPDX-License-Identifier: MIT
// diskmanage clears no disk for a hot spare that may be in use.
#include "fixtures/disk_machine.h"
#include "fixtures/held_lock.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::IsEmpty;

class HotspareSafety : public testing::Test {
  protected:
    void expect_refused(const std::string& why) {
        const Result run = machine.run({"diskmanage", "--hotspare", "-a", "3"});
        expect_failure(machine, run, -201, "diskmanage_main[828]");
        EXPECT_THAT(changes(run), IsEmpty()) << why;
    }
    DiskMachine machine;
};

TEST_F(HotspareSafety, RefusesEveryDiskWhenTheMountsCannotBeListed) {
    machine.tool("/bin/df").on("/bin/df").exits(1);
    expect_refused("df failed");
    machine.tool("/bin/df").on("/bin/df").does("rm -f /tmp/dfinfo.*");
    expect_refused("df's output is gone");
}

TEST_F(HotspareSafety, RefusesEveryDiskWhenTheArraysCannotBeListed) {
    machine.remove("/proc/mdstat");
    expect_refused("no array list");
}

TEST_F(HotspareSafety, RefusesEveryDiskWhenTheGroupsCannotBeListed) {
    machine.tool("/sbin/vgdisplay").on("/sbin/vgdisplay -c").exits(5);
    expect_refused("no group list");
    machine.group_lines("", "").tool("/sbin/pvdisplay").on("/sbin/pvdisplay -c").exits(5);
    expect_refused("no volumes");
}

// What the lists of arrays and groups are made of.

TEST_F(HotspareSafety, RefusesEveryDiskWhenTheMembersOfAnArrayCannotBeListed) {
    machine.with_array().remove("/sys/block/md1/md");
    const Result run = machine.run({"diskmanage", "--hotspare", "-a", "3"});
    EXPECT_EQ(run.exit_status, -201 & 0xff);
    EXPECT_THAT(run.out, testing::EndsWith("for errno '-201'\n"));
    EXPECT_THAT(changes(run), IsEmpty());
}

// The kernel tells the members, mdadm the rest.
TEST_F(HotspareSafety, RefusesAMemberWhateverBecomesOfTheArraysDetails) {
    machine.array({.name = "md1", .level = "raid1", .members = {{"sdc"}, {"sdd"}}});
    machine.tool("/sbin/mdadm").on("/sbin/mdadm --detail /dev/md1").exits(1);
    expect_refused("mdadm failed");
    machine.tool("/sbin/mdadm").on("/sbin/mdadm --detail /dev/md1").killed_by(SIGKILL);
    expect_refused("mdadm was killed");
    machine.tool("/sbin/mdadm").on("/sbin/mdadm --detail /dev/md1").prints("");
    expect_refused("mdadm is silent");
    machine.tool("/sbin/mdadm").on("/sbin/mdadm --detail /dev/md1").does("rm -f /tmp/md1.*");
    expect_refused("mdadm's output is gone");
}

// The list of disks that arrays and volumes are looked up in fails, unlike the first one.
TEST_F(HotspareSafety, RefusesAUsedDiskThatCannotBeLookedUp) {
    const auto fail_after_first = [this] {
        machine.tool(hotspare_tool)
            .on("/usr/local/bin/hotspare --list")
            .prints("Global hotspare disk:\n")
            .then()
            .exits(1);
    };
    machine.group({.name = "data", .volumes = {{.device = "/dev/sdc"}}});
    fail_after_first();
    expect_refused("a volume without a channel");
    machine.group_lines("", "");
    machine.array({.name = "md1", .level = "raid1", .members = {{"sdc"}, {"sdd"}}});
    fail_after_first();
    expect_refused("a member on an unknown device");
}

// Tools that end well and tell nothing.
TEST_F(HotspareSafety, RefusesEveryDiskWhenAListLacksWhatItMustHave) {
    machine.tool("/bin/df").on("/bin/df");
    expect_refused("df is silent");
    machine.tool("/bin/df").on("/bin/df").prints("garbage\n");
    expect_refused("df without its heading");
    machine.mounted({});
    machine.tool("/sbin/vgdisplay")
        .on("/sbin/vgdisplay -c")
        .prints("  data:r/w:772:-1:0:1:0:-1:0:1:1:2449408:4096:598:384:214:NRVttr-kaGD\n");
    expect_refused("a group without a volume");
    EXPECT_EQ(machine.log().back().text.substr(0, 15), "diskmanage_main");
    EXPECT_THAT(machine.messages(),
                testing::Contains("'sdc' is not known to be free: what uses the "
                                  "disks cannot be listed"));
}

TEST_F(HotspareSafety, RefusesEveryDiskWhenTheKernelsListOfArraysIsEmptyOrLonger) {
    const std::string mdstat = machine.read("/proc/mdstat");
    machine.file("/proc/mdstat", "");
    expect_refused("an empty list");
    machine.file("/proc/mdstat", mdstat + "md7 : active raid1 sdx[0]\n");
    machine.tool("/bin/cat").on("cat /proc/mdstat").prints(mdstat);
    machine.tool("/bin/cat").any().does("exec /.harness/busybox cat \"$1\"").optional();
    expect_refused("cat printed less");
}

TEST_F(HotspareSafety, RefusesADiskWhenItCannotBeToldWhatHoldsIt) {
    machine.symlink("sdc", "/dev/sdc"); // ELOOP
    expect_refused("the disk cannot be opened");
    machine.remove("/dev/sdc").symlink("holders", "/sys/block/sdc/holders");
    expect_refused("its holders cannot be listed");
    machine.remove("/sys/block/sdc/holders").symlink("mounts", "/proc/mounts");
    expect_refused("the mounts cannot be read");
}

TEST_F(HotspareSafety, RefusesADiskThatAnotherCommandUses) {
    const HeldLock claim(machine, claim_on("sdc"));
    expect_refused("claimed");
    EXPECT_EQ(machine.run({"diskmanage", "--hotspare", "-a", "4"}).exit_status, 0);
}

// Another command makes it a hot spare right after this one has read the list of them.
TEST_F(HotspareSafety, ClaimsADiskBeforeItLooksWhetherItIsAHotspare) {
    machine.tool(hotspare_tool)
        .on("/usr/local/bin/hotspare --list")
        .does("echo 'Global hotspare disk:'; if mkdir /var/first 2>/dev/null; then "
              "zavbox diskmanage -H -a 3 >/dev/null; echo $? >/var/status; fi");
    const Result run = machine.run({"diskmanage", "-H", "-a", "3"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(machine.read("/var/status"), "55\n"); // -201
    EXPECT_THAT(changes(run), testing::ElementsAre("/usr/local/bin/diskformat /dev/sdc",
                                                   "/usr/local/bin/hotspare -a /dev/sdc"));
}

// Of a command that was killed the tool still runs.
TEST_F(HotspareSafety, RefusesADiskThatAToolStillClears) {
    machine.tool(diskformat_tool)
        .any()
        .does("if mkdir /var/clearing 2>/dev/null; then "
              "while ! [ -e /var/go ]; do sleep 0.2; done; fi");
    machine.file("/script",
                 "#!/.harness/busybox sh\n"
                 "zavbox diskmanage -H -a 3 & killed=$!\n"
                 "while ! [ -e /var/clearing ]; do sleep 0.2; done\n"
                 "kill -9 $killed; wait $killed\n"
                 "zavbox diskmanage -H -a 3 >/dev/null; echo while $?\n"
                 "echo >/var/go\n"
                 "until zavbox diskmanage -H -a 3 >/dev/null; do sleep 0.2; done\n",
                 0755);
    const Result run = machine.run({}, {.argv0 = "script", .program = "/script"});
    EXPECT_EQ(run.out, "while 55\n");
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

TEST_F(HotspareSafety, RefusesADiskThatTheKernelHolds) {
    machine.directory("/sys/block/sdc/holders/dm-3");
    expect_refused("held");
}

TEST_F(HotspareSafety, RefusesTheDiskOfAPartitionInAGroup) {
    machine.group({.name = "data", .volumes = {{.device = "/dev/sdc2"}}});
    expect_refused("a volume on a partition");
}

TEST_F(HotspareSafety, RemovesAHotspareWhateverCannotBeListed) {
    machine.hotspares({"sdc"}).tool("/bin/df").on("/bin/df").exits(1);
    const HeldLock claim(machine, claim_on("sdc"));
    const Result run = machine.run({"diskmanage", "--hotspare", "-r", "3"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_THAT(changes(run), testing::ElementsAre("/usr/local/bin/hotspare -r /dev/sdc"));
}

TEST_F(HotspareSafety, KnowsMountedDisksOfEveryKind) {
    DiskMachine other;
    other.disk({.name = "nvme0n1", .channel = 7});
    other.disk({.name = "vdb", .channel = 8});
    other.disk({.name = "mmcblk0", .channel = 9});
    other.disk({.name = "nvme0n2", .channel = 10});
    other.mounted(
        {"/dev/nvme0n1p2 1 1 1 1% /", "/dev/vdb1 1 1 1 1% /a", "/dev/mmcblk0p1 1 1 1 1% /b"});
    for (const char* channel : {"7", "8", "9"}) {
        const Result run = other.run({"diskmanage", "--hotspare", "-a", channel});
        EXPECT_EQ(run.exit_status, -201 & 0xff) << channel;
        EXPECT_THAT(changes(run), IsEmpty());
    }
    EXPECT_EQ(other.run({"diskmanage", "--hotspare", "-a", "10"}).exit_status, 0);
}

TEST_F(HotspareSafety, KnowsMembersOfEveryKind) {
    machine.disk({.name = "nvme0n1", .channel = 7});
    machine.array({.name = "md1", .level = "raid1", .members = {{"nvme0n1p1"}, {"sda"}}});
    EXPECT_EQ(machine.run({"diskmanage", "--hotspare", "-a", "7"}).exit_status, -201 & 0xff);
}

} // namespace
} // namespace zav::test
