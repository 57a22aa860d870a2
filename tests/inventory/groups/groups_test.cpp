// SPDX-License-Identifier: MIT
// The passes that build the list of volume groups: their commands, codes and messages.
#include "fixtures/group_root.h"
#include "fixtures/library.h"

#include <csignal>
#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr const char* vgdisplay = "/sbin/vgdisplay";
constexpr const char* pvdisplay = "/sbin/pvdisplay";
constexpr const char* vexadm = "/usr/local/bin/vexadm";

constexpr const char* data_group =
    "  data:r/w:772:-1:0:1:0:-1:0:1:1:2449408:4096:598:512:86:QtywLH\n";
constexpr const char* data_row = "data\tresizable\t0\t2G\t2G\n";

// A line of pvdisplay -c for a volume of 2 GiB, all of it in use.
std::string volume(const std::string& device, const std::string& group = "data") {
    return "  " + device + ":" + group + ":4194304:-1:8:8:-1:4096:512:0:512:Z322lO\n";
}

std::string volume_row(const std::string& name, const std::string& device) {
    return "\t" + name + "\tAllocatable:yes (but full)\t" + device + "\t2G\t2G\tdata\n";
}

// The group data on the disk sdc, and the array md0 on the disks sda and sdb.
class GroupDiscovery : public testing::Test {
  protected:
    GroupDiscovery() {
        machine.disks(3);
        machine.array({.name = "md0", .members = {{"sda"}, {"sdb"}}});
        machine.group_lines(data_group, volume("/dev/sdc"));
    }
    Machine machine;
};

TEST_F(GroupDiscovery, ListsGroupsWithTheirVolumes) {
    machine.group_lines(data_group, volume("/dev/md0") + volume("/dev/sdc"));
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, data_row + volume_row("md0", "0") + volume_row("3", "0"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(GroupDiscovery, RunsItsCommandsInOrder) {
    const auto commands = shown_groups(machine).commands_with_templates();
    ASSERT_THAT(commands, testing::SizeIs(testing::Gt(2U)));
    EXPECT_EQ(commands.front(), "/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX 2>> /dev/null");
    EXPECT_EQ(commands.back(), "/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX 2>> /dev/null");
    // In between come the disk list and then the array list, each once.
    const std::vector<std::string> between(commands.begin() + 1, commands.end() - 1);
    const auto controller_files = testing::StartsWith("cat /proc/scsi/mvSata/");
    const auto hotspare = StartsWith("/usr/local/bin/hotspare --list > ");
    const auto mdstat = StartsWith("cat /proc/mdstat > ");
    EXPECT_THAT(between,
                ElementsAre(controller_files, controller_files, controller_files, hotspare, mdstat,
                            StartsWith("/sbin/mdadm --detail /dev/md0 > "), controller_files,
                            controller_files, controller_files, hotspare, mdstat));
}

TEST_F(GroupDiscovery, LeavesNothingBehind) {
    const Snapshot before = machine.snapshot();
    shown_groups(machine);
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(GroupDiscovery, FindsNothingWhereThereIsNothing) {
    machine.group_lines("", "");
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
}

TEST_F(GroupDiscovery, SkipsNoiseOnStandardOutput) {
    const std::string noise = "  WARNING: Couldn't find device with uuid CDjztj.\n\n";
    machine.group_lines(noise + data_group + noise, noise + volume("/dev/sdc") + noise);
    EXPECT_EQ(shown_groups(machine).out, data_row + volume_row("3", "0"));
}

TEST_F(GroupDiscovery, ReadsAMegabyteOfGarbage) {
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c").prints_bytes(1 << 20);
    machine.tool(pvdisplay).on("/sbin/pvdisplay -c").prints_bytes(1 << 20);
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
}

// Groups.

TEST_F(GroupDiscovery, FailsWhenVgdisplayFails) {
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c").prints(data_group).exits(5);
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, -11000);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.commands_without_redirection(), ElementsAre("/sbin/vgdisplay -c"));
    EXPECT_THAT(logged(machine),
                ElementsAre(MatchesRegex("system\\(\"/sbin/vgdisplay -c > "
                                         "/tmp/vgdisplay\\.[^ ]{6}\"\\) return normal with "
                                         "exit\\(5\\) for '.*'")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(GroupDiscovery, FailsWhenASignalEndsVgdisplay) {
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c").killed_by(SIGSEGV);
    EXPECT_EQ(shown_groups(machine).returned, -11000);
    EXPECT_THAT(logged(machine), ElementsAre(HasSubstr("return unnormal with exit(0)")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(GroupDiscovery, FailsWithoutVgdisplay) {
    machine.remove(vgdisplay);
    EXPECT_EQ(shown_groups(machine).returned, -11000);
    EXPECT_THAT(logged(machine), ElementsAre(HasSubstr("return normal with exit(127)")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(GroupDiscovery, FailsWhenVgdisplaysOutputCannotBeOpened) {
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c").does("rm -f /tmp/vgdisplay.*");
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, -1040);
    EXPECT_THAT(result.out, MatchesRegex("cannot open /tmp/vgdisplay\\.[^ ]{6}\n"));
    EXPECT_THAT(logged(machine),
                ElementsAre(MatchesRegex("get_vginfo_from_vgdisplay:[0-9]+ return -1040 with No "
                                         "such file or directory")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(GroupDiscovery, FailsWhenNoTemporaryFileCanBeMade) {
    machine.read_only("/tmp");
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(GroupDiscovery, FailsAfterVgdisplayWhenTheModelCannotBeRead) {
    machine.remove("/etc/sys_info");
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, -11001);
    EXPECT_EQ(result.out, "data\tresizable\t\t2G\t2G\n");
    EXPECT_THAT(result.commands_without_redirection(), ElementsAre("/sbin/vgdisplay -c"));
    EXPECT_THAT(logged(machine, "get_vginfo"),
                ElementsAre(MatchesRegex("get_vginfo:[0-9]+ return -11001 with .+")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(GroupDiscovery, ReportsVgdisplayBeforeTheModel) {
    machine.remove("/etc/sys_info");
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c").exits(5);
    EXPECT_EQ(shown_groups(machine).returned, -11000);
}

// Physical volumes.

TEST_F(GroupDiscovery, FailsWhenPvdisplayFails) {
    machine.tool(pvdisplay).on("/sbin/pvdisplay -c").prints(volume("/dev/sdc")).exits(5);
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, -11000);
    EXPECT_EQ(result.out, "data\tresizable\t\t2G\t2G\n");
    EXPECT_THAT(logged(machine),
                ElementsAre(MatchesRegex("system\\(\"/sbin/pvdisplay -c > "
                                         "/tmp/pvdisplay\\.[^ ]{6}\"\\) return normal with "
                                         "exit\\(5\\) for '.*'")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(GroupDiscovery, FailsWhenASignalEndsPvdisplay) {
    machine.tool(pvdisplay).on("/sbin/pvdisplay -c").killed_by(SIGKILL);
    EXPECT_EQ(shown_groups(machine).returned, -11000);
    EXPECT_THAT(logged(machine), ElementsAre(HasSubstr("return unnormal with exit(0)")));
}

TEST_F(GroupDiscovery, FailsWhenPvdisplaysOutputCannotBeOpened) {
    machine.tool(pvdisplay).on("/sbin/pvdisplay -c").does("rm -f /tmp/pvdisplay.*");
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, -1040);
    EXPECT_THAT(result.out, StartsWith("cannot open /tmp/pvdisplay."));
    EXPECT_THAT(logged(machine),
                ElementsAre(MatchesRegex("get_vginfo_from_pvdisplay:[0-9]+ return -1040 with No "
                                         "such file or directory")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(GroupDiscovery, KnowsNoDisksWithoutADiskList) {
    machine.group_lines(data_group, volume("/dev/md0") + volume("/dev/sdc"));
    machine.remove("/proc/scsi/mvSata");
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out,
              "data\tresizable\t\t2G\t2G\n" + volume_row("md0", "") + volume_row("sdc", ""));
    EXPECT_THAT(logged(machine, "get_vginfo"),
                ElementsAre(MatchesRegex("get_vginfo_from_pvdisplay:[0-9]+ return -1021 with .+")));
}

// The disks are found but the hot spares are not: a list that failed is not used.
TEST_F(GroupDiscovery, KnowsNoDisksFromADiskListThatFailedHalfway) {
    machine.tool("/usr/local/bin/hotspare").on("/usr/local/bin/hotspare --list").exits(1);
    EXPECT_EQ(shown_groups(machine).out, "data\tresizable\t\t2G\t2G\n" + volume_row("sdc", ""));
}

TEST_F(GroupDiscovery, KnowsNoArraysWithoutAnArrayList) {
    machine.group_lines(data_group, volume("/dev/sdc") + volume("/dev/md0"));
    machine.remove("/proc/mdstat");
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, data_row + volume_row("3", "0") + volume_row("md0", ""));
    EXPECT_THAT(
        logged(machine, "get_vginfo"),
        ElementsAre(MatchesRegex("get_vginfo_from_pvdisplay:[0-9]+ return -11000 with .+")));
}

TEST_F(GroupDiscovery, KnowsNoArraysFromAnArrayListThatFailedHalfway) {
    machine.group_lines(data_group, volume("/dev/md0"));
    machine.array({.name = "md1", .members = {{"sdc"}}}).remove("/sys/block/md1");
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.out, testing::EndsWith(volume_row("md0", "")));
    EXPECT_THAT(logged(machine, "get_vginfo"),
                ElementsAre(MatchesRegex("get_vginfo_from_pvdisplay:[0-9]+ return -1032 with .+")));
}

// Behind the RAID controller.

class ControllerGroups : public testing::Test {
  protected:
    ControllerGroups() {
        machine.tool(vexadm)
            .on("/usr/local/bin/vexadm --misc --scan")
            .prints("0 /DISK/931/OK/Free\n");
        machine.tool(vexadm)
            .on("/usr/local/bin/vexadm --display --scan")
            .prints("====\nmd0 /5/3/Normal/1862/sda/#1 #2 #3\n");
        machine.group_lines(data_group, volume("/dev/sda"));
    }
    Machine machine{"VEL7205U"};
};

TEST_F(ControllerGroups, HaveVolumesThatAreArraysOfTheController) {
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, data_row + volume_row("md0", "0"));
    EXPECT_THAT(result.commands_without_redirection(),
                ElementsAre("/sbin/vgdisplay -c", "/usr/local/bin/vexadm --misc --scan",
                            "/usr/local/bin/vexadm --display --scan", "/sbin/pvdisplay -c"));
    EXPECT_THAT(machine.tmp(), IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ControllerGroups, HaveOtherVolumesUnderTheirOwnNames) {
    machine.group_lines(data_group, volume("/dev/sdb") + volume("/dev/md0"));
    EXPECT_EQ(shown_groups(machine).out,
              "data\tresizable\t\t2G\t2G\n" + volume_row("sdb", "") + volume_row("md0", ""));
}

TEST_F(ControllerGroups, HaveNoDevicesWithoutTheController) {
    machine.tool(vexadm).on("/usr/local/bin/vexadm --misc --scan").exits(1);
    machine.tool(vexadm).on("/usr/local/bin/vexadm --display --scan").exits(1);
    const Result result = shown_groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "data\tresizable\t\t2G\t2G\n" + volume_row("sda", ""));
    const auto failure = MatchesRegex("get_vginfo_from_vexadm:[0-9]+ return -11000 with .+");
    EXPECT_THAT(logged(machine, "get_vginfo"), ElementsAre(failure, failure));
}

TEST_F(ControllerGroups, FailWhenPvdisplayFails) {
    machine.tool(pvdisplay).on("/sbin/pvdisplay -c").exits(5);
    EXPECT_EQ(shown_groups(machine).returned, -11000);
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(ControllerGroups, FailWhenPvdisplaysOutputCannotBeOpened) {
    machine.tool(pvdisplay).on("/sbin/pvdisplay -c").does("rm -f /tmp/pvdisplay.*");
    EXPECT_EQ(shown_groups(machine).returned, -1040);
    EXPECT_THAT(logged(machine),
                ElementsAre(MatchesRegex("get_vginfo_from_vexadm:[0-9]+ return -1040 with .+")));
}

// Whether a group exists.

class KnownGroup : public testing::Test {
  protected:
    KnownGroup() { machine.tool(vgdisplay).on("/sbin/vgdisplay -c data").prints(data_group); }
    Result check(const char* name) {
        return machine.call([name] { return check_vgdisplay(name, printed()); });
    }
    Machine machine;
};

TEST_F(KnownGroup, IsOneThatTheToolShows) {
    const Result result = check("data");
    EXPECT_EQ(result.returned, 1);
    EXPECT_THAT(result.commands_with_templates(),
                ElementsAre("/sbin/vgdisplay -c data > /tmp/vgdisplay.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(machine.tmp(), IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(KnownGroup, IsNotOneThatTheToolDoesNotFind) {
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c nosuch").replays("vgdisplay_c_unknown");
    const Result result = check("nosuch");
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(logged(machine), ElementsAre(HasSubstr("return normal with exit(5) for ")));
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(KnownGroup, IsOneThatAFailingToolStillShows) {
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c data").prints(data_group).exits(5);
    EXPECT_EQ(check("data").returned, 1);
    EXPECT_THAT(logged(machine), ElementsAre(HasSubstr("exit(5)")));
}

TEST_F(KnownGroup, IsNotAnotherOne) {
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c dat").prints(data_group);
    EXPECT_EQ(check("dat").returned, 0);
}

TEST_F(KnownGroup, IsUndecidedWhenTheOutputCannotBeOpened) {
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c data").does("rm -f /tmp/vgdisplay.*");
    const Result result = check("data");
    EXPECT_EQ(result.returned, -1);
    EXPECT_THAT(result.out, MatchesRegex("cannot open /tmp/vgdisplay\\.[^ ]{6}\n"));
    EXPECT_THAT(logged(machine),
                ElementsAre(MatchesRegex("check_vgdisplay:[0-9]+ return -1040 with No such file or "
                                         "directory")));
}

TEST_F(KnownGroup, IsUndecidedWhenNoTemporaryFileCanBeMade) {
    machine.read_only("/tmp");
    const Result result = check("data");
    EXPECT_EQ(result.returned, -1);
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(KnownGroup, MayHaveANameOf32Characters) {
    static const std::string name(32, 'g');
    machine.tool(vgdisplay).on("/sbin/vgdisplay -c " + name).prints("  " + name + ":r/w:772\n");
    EXPECT_EQ(check(name.c_str()).returned, 1);
}

TEST_F(KnownGroup, IsNeverLookedUpUnderABadName) {
    static const std::string too_long(33, 'g');
    for (const char* name :
         {static_cast<const char*>(nullptr), "", "a b", "a;reboot", "$(reboot)", "`reboot`", "a/b",
          "a|b", "a&b", "a>b", "a'b", "a\nb", "d\xc3\xa4", too_long.c_str()}) {
        const Result result = check(name);
        EXPECT_EQ(result.returned, 0) << (name != nullptr ? name : "null");
        EXPECT_THAT(result.commands, IsEmpty());
    }
    EXPECT_THAT(machine.log(), IsEmpty());
}

} // namespace
} // namespace zav::test
