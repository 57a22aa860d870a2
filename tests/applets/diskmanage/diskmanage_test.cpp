// SPDX-License-Identifier: MIT
// diskmanage: the disk listing, hot spares, clearing a disk.
#include "actions/disks/management.h"
#include "fixtures/disk_machine.h"
#include "fixtures/held_lock.h"
#include "fixtures/library.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

const std::string header =
    "diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\traid\tuse\thotspare\n"
    "*****************************************************\n";

std::string row(const std::string& name, int channel, const std::string& end) {
    return "'" + name + "'\t'" + std::to_string(channel) +
           "'\t'1863'\t'running'\t'DISK-2000'\t''\t'0'\t" + end + "\n";
}

class DiskManage : public testing::Test {
  protected:
    int diskmanage(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "diskmanage");
        run = machine.run(arguments);
        for (const std::string& name : machine.tmp()) {
            EXPECT_THAT(name, MatchesRegex("dfinfo\\..{6}")) << "left in /tmp";
        }
        return run.exit_status;
    }
    DiskMachine machine;
    Result run;
};

class DiskManageDisplay : public DiskManage {};
class DiskManageHotspare : public DiskManage {};
class DiskManageInit : public DiskManage {};

TEST_F(DiskManageDisplay, ListsEveryDiskWithoutAChannel) {
    for (const char* option : {"-S", "--display"}) {
        EXPECT_EQ(diskmanage({option}), 0);
        EXPECT_TRUE(run.out.starts_with(header));
        for (const std::string& line :
             {row("sda", 1, "''\t'0'\t'NH'"), row("sdb", 2, "''\t'0'\t'NH'"),
              row("sdc", 3, "''\t'0'\t'NH'"), row("sdd", 4, "''\t'0'\t'NH'")}) {
            EXPECT_THAT(run.out, testing::HasSubstr("\n" + line));
        }
        EXPECT_EQ(std::ranges::count(run.out, '\n'), 6);
    }
    EXPECT_THAT(machine.messages(), IsEmpty());
}

TEST_F(DiskManageDisplay, HasItsHeaderOnceAndItsRuleOf53Stars) {
    EXPECT_EQ(diskmanage({"-S", "-n", "1"}), 0);
    EXPECT_EQ(run.out, header + row("sda", 1, "''\t'0'\t'NH'"));
    EXPECT_EQ(std::ranges::count(run.out, '*'), 53);
}

TEST_F(DiskManageDisplay, ShowsArrayUseAndHotSpare) {
    machine.with_array().hotspares({"sdd"}).mounted({"/dev/sdc1 100 50 50 50% /mnt"});
    EXPECT_EQ(diskmanage({"-S", "-n", "1"}), 0);
    EXPECT_EQ(run.out, header + row("sda", 1, "'md1'\t'1'\t'NH'"));
    EXPECT_EQ(diskmanage({"-S", "-n", "3"}), 0);
    EXPECT_EQ(run.out, header + row("sdc", 3, "''\t'1'\t'NH'"));
    EXPECT_EQ(diskmanage({"-S", "-n", "4"}), 0);
    EXPECT_EQ(run.out, header + row("sdd", 4, "''\t'0'\t'H'"));
}

TEST_F(DiskManageDisplay, OfChannel0ListsEveryDisk) {
    EXPECT_EQ(diskmanage({"-S", "-n", "0"}), 0);
    EXPECT_EQ(std::ranges::count(run.out, '\n'), 6);
}

TEST_F(DiskManageDisplay, TakesTheFirstNumberOfAList) {
    EXPECT_EQ(diskmanage({"-S", "-n", "3,1"}), 0);
    EXPECT_EQ(run.out, header + row("sdc", 3, "''\t'0'\t'NH'"));
}

TEST_F(DiskManageDisplay, OfACommaBeforeANumberListsEveryDisk) {
    for (const char* channel : {",3", ","}) {
        EXPECT_EQ(diskmanage({"-S", "-n", channel}), 0);
        EXPECT_EQ(std::ranges::count(run.out, '\n'), 6);
    }
}

TEST_F(DiskManageDisplay, ComesBeforeHotSpares) {
    EXPECT_EQ(diskmanage({"-H", "-a", "3", "-S"}), 0);
    EXPECT_TRUE(run.out.starts_with(header));
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(DiskManageDisplay, BehindTheRaidControllerShowsWhatTheControllerSays) {
    DiskMachine behind_controller("VEL7205U");
    behind_controller.tool("/usr/local/bin/vexadm")
        .any()
        .prints("0 /DISK/931/OK/Free\n1 /N.A./0/N.A./N.A.\n2 /DISK/931/OK/Hot Spare\n");
    const Result result = behind_controller.run({"diskmanage", "-S"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, header + "''\t'1'\t'931'\t'OK'\t'DISK'\t'Free'\t'0'\t''\t'0'\t'NH'\n"
                                   "''\t'3'\t'931'\t'OK'\t'DISK'\t'Hot Spare'\t'0'\t''\t'0'\t"
                                   "'H'\n");
}

TEST_F(DiskManageDisplay, TakesADeviceOf8Characters) {
    diskmanage({"-S", "-n", "1", "-d", "12345678"});
    expect_failure(machine, run, -202, "diskmanage_main[770]");
}

TEST_F(DiskManageDisplay, OfAnotherDeviceFindsItsDisks) {
    machine.disk({.name = "sde", .channel = 1, .device = "2"});
    EXPECT_EQ(diskmanage({"-S", "-n", "1", "-d", "2"}), 0);
    EXPECT_EQ(run.out, header + "'sde'\t'1'\t'1863'\t'running'\t'DISK-2000'\t''\t'2'\t''\t'0'\t"
                                "'NH'\n");
    EXPECT_EQ(diskmanage({"-S", "-n", "1", "-d", "0"}), 0);
    EXPECT_EQ(run.out, header + row("sda", 1, "''\t'0'\t'NH'"));
}

TEST_F(DiskManageDisplay, OfAnUnknownDiskIsMinus202) {
    for (const auto& [channel, device] :
         {std::pair("5", "0"), {"1", "1"}, {"99999999999999999999", "0"}}) {
        diskmanage({"-S", "-n", channel, "-d", device});
        expect_failure(machine, run, -202, "diskmanage_main[770]");
        EXPECT_THAT(machine.messages(), Contains("zav_disk_display[432]: return with -202"));
    }
}

TEST_F(DiskManageDisplay, WithoutADiskListIsMinus205) {
    machine.without_disk_list();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-S"}, {"-S", "-n", "1"}}) {
        diskmanage(arguments);
        expect_failure(machine, run, -205, "diskmanage_main[770]");
        EXPECT_THAT(machine.messages(), Contains("zav_disk_display[417]: return with -1021"));
    }
}

TEST_F(DiskManageDisplay, ListsTheDisksWhenTheirUseCannotBeRead) {
    machine.remove("/proc/mdstat");
    EXPECT_EQ(diskmanage({"-S", "-n", "1"}), 0);
    EXPECT_EQ(run.out, header + row("sda", 1, "''\t'0'\t'NH'"));
    EXPECT_THAT(machine.messages(), Contains("add_disk_list_info[238]: return with -422"));
}

TEST_F(DiskManageDisplay, OfAWrongDeviceIsMinus121BeforeAnythingRuns) {
    for (const char* device : {"", "123456789", "a b", "0;reboot", "../0"}) {
        diskmanage({"-S", "-n", "x", "-d", device});
        expect_failure(machine, run, -121, "diskmanage_main[739]");
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(DiskManageDisplay, OfAWrongChannelIsMinus111BeforeAnythingRuns) {
    for (const char* channel : {"", "x", "-1", "1x", "1;reboot", "$(reboot)", " 1"}) {
        diskmanage({"-S", "-n", channel});
        expect_failure(machine, run, -111, "diskmanage_main[756]");
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(DiskManageHotspare, FormatsTheDiskThenMakesItOne) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-H", "-a", "3"}, {"--hotspare", "-a", "3", "-d", "0"}}) {
        EXPECT_EQ(diskmanage(arguments), 0);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/diskformat /dev/sdc",
                                              "/usr/local/bin/hotspare -a /dev/sdc"));
    }
    EXPECT_THAT(machine.messages(), IsEmpty());
}

TEST_F(DiskManageHotspare, RemovesOneWithoutTouchingTheDisk) {
    machine.hotspares({"sdc"});
    EXPECT_EQ(diskmanage({"-H", "-r", "3"}), 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/hotspare -r /dev/sdc"));
    EXPECT_THAT(machine.messages(), IsEmpty());
}

TEST_F(DiskManageHotspare, TakesTheLastChannelOfAnyOption) {
    EXPECT_EQ(diskmanage({"-H", "-a", "3", "-n", "4"}), 0);
    EXPECT_THAT(changes(run), Contains("/usr/local/bin/hotspare -a /dev/sdd"));
    EXPECT_EQ(diskmanage({"-H", "-n", "4", "-a", "3"}), 0);
    EXPECT_THAT(changes(run), Contains("/usr/local/bin/hotspare -a /dev/sdc"));
}

TEST_F(DiskManageHotspare, IsRemovedWhenBothAreAskedFor) {
    machine.hotspares({"sdc"});
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-H", "-a", "3", "-r", "3"}, {"-H", "-r", "3", "-a", "3"}}) {
        EXPECT_EQ(diskmanage(arguments), 0);
        EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/hotspare -r /dev/sdc"));
    }
}

TEST_F(DiskManageHotspare, TakesTheFirstNumberOfAList) {
    EXPECT_EQ(diskmanage({"-H", "-a", "3,4"}), 0);
    EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/diskformat /dev/sdc",
                                          "/usr/local/bin/hotspare -a /dev/sdc"));
}

// An unknown option ends option parsing: neither -a nor -r is parsed.
TEST_F(DiskManageHotspare, WithoutAModeIsMinus204) {
    diskmanage({"-H", "-n", "3", "--bogus"});
    EXPECT_EQ(run.out, "for errno '-204'\n");
    EXPECT_EQ(run.exit_status, -204 & 0xff);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(DiskManageHotspare, WithoutAChannelIsMinus111) {
    diskmanage({"-H", "--bogus"});
    EXPECT_EQ(run.out, "for errno '-111'\n");
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(DiskManageHotspare, NeverGivesANamelessDiskToATool) {
    DiskMachine behind_controller("VEL7205U");
    behind_controller.tool("/usr/local/bin/vexadm")
        .any()
        .prints("0 /DISK/931/OK/Free\n1 /DISK/931/OK/Hot Spare\n");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"diskmanage", "-H", "-a", "1"},
          {"diskmanage", "-H", "-r", "2"}}) {
        const Result result = behind_controller.run(arguments);
        EXPECT_EQ(result.exit_status, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(changes(result), IsEmpty());
    }
    const auto not_run = [](const std::string& command) {
        return testing::StartsWith("system(\"" + command +
                                   " /dev/\") return unnormal with exit(255) for '");
    };
    EXPECT_THAT(behind_controller.messages(),
                testing::IsSupersetOf({not_run("/usr/local/bin/diskformat"),
                                       not_run("/usr/local/bin/hotspare -a"),
                                       not_run("/usr/local/bin/hotspare -r")}));
}

TEST_F(DiskManageHotspare, OfADiskInUseIsMinus201) {
    machine.with_array().mounted({"/dev/sdc1 100 50 50 50% /mnt"});
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-H", "-a", "1"}, {"-H", "-a", "3"}, {"-H", "-r", "1"}}) {
        diskmanage(arguments);
        expect_failure(machine, run, -201, "diskmanage_main[828]");
        EXPECT_THAT(machine.messages(), Contains("zav_set_hotspare[587]: return with -201"));
        EXPECT_THAT(changes(run), IsEmpty());
    }
}

TEST_F(DiskManageHotspare, OfAUsedHotSpareIsMinus201) {
    machine.with_array().hotspares({"sda"});
    for (const char* option : {"-a", "-r"}) {
        diskmanage({"-H", option, "1"});
        expect_failure(machine, run, -201, "diskmanage_main[828]");
        EXPECT_THAT(changes(run), IsEmpty());
    }
}

TEST_F(DiskManageHotspare, OfAHotSpareIsMinus203) {
    machine.hotspares({"sdc"});
    diskmanage({"-H", "-a", "3"});
    expect_failure(machine, run, -203, "diskmanage_main[828]");
    EXPECT_THAT(machine.messages(), Contains("zav_set_hotspare[611]: return with -203"));
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(DiskManageHotspare, RemovedFromAnOrdinaryDiskIsMinus204) {
    diskmanage({"-H", "-r", "3"});
    expect_failure(machine, run, -204, "diskmanage_main[828]");
    EXPECT_THAT(machine.messages(), Contains("zav_set_hotspare[617]: return with -204"));
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(DiskManageHotspare, OfAnUnknownDiskIsMinus202) {
    for (const char* channel : {"5", "0", "99999999999999999999"}) {
        diskmanage({"-H", "-a", channel});
        expect_failure(machine, run, -202, "diskmanage_main[828]");
        EXPECT_THAT(machine.messages(), Contains("zav_set_hotspare[565]: return with -202"));
        EXPECT_THAT(changes(run), IsEmpty());
    }
}

TEST_F(DiskManageHotspare, WithoutADiskListIsMinus205) {
    machine.without_disk_list();
    diskmanage({"-H", "-a", "1"});
    expect_failure(machine, run, -205, "diskmanage_main[828]");
    EXPECT_THAT(machine.messages(), Contains("zav_set_hotspare[552]: return with -1021"));
}

TEST_F(DiskManageHotspare, ChecksTheDeviceThenTheChannel) {
    diskmanage({"-H", "-a", "x", "-d", "123456789"});
    expect_failure(machine, run, -121, "diskmanage_main[791]");
    EXPECT_THAT(run.commands, IsEmpty());
    for (const char* channel : {"x", "", "3;reboot"}) {
        diskmanage({"-H", "-a", channel});
        expect_failure(machine, run, -111, "diskmanage_main[815]");
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(DiskManageHotspare, EndsWithSuccessWhenTheToolsFail) {
    machine.tool(diskformat_tool).on("/usr/local/bin/diskformat /dev/sdc").exits(3);
    machine.tool(hotspare_tool).on("/usr/local/bin/hotspare -a /dev/sdc").killed_by(SIGKILL);
    EXPECT_EQ(diskmanage({"-H", "-a", "3"}), 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(machine.messages(),
                ElementsAre(MatchesRegex("system\\(\"/usr/local/bin/diskformat /dev/sdc\"\\) "
                                         "return normal with exit\\(3\\) for '.*'"),
                            MatchesRegex("system\\(\"/usr/local/bin/hotspare -a /dev/sdc\"\\) "
                                         "return unnormal with exit\\(0\\) for '.*'")));
}

TEST_F(DiskManageHotspare, NeitherToMakeNorToRemoveIsMinus204) {
    machine.hotspares({"sdc"});
    for (const int mode : {0, 2, -2}) {
        for (const int channel : {3, 4}) {
            const Result result = machine.call([=] {
                return zav_set_hotspare(channel, static_cast<HotspareMode>(mode), "0", printed());
            });
            EXPECT_EQ(result.returned, -204);
            EXPECT_THAT(changes(result), IsEmpty());
        }
    }
}

TEST_F(DiskManageInit, ShowsTheDiskAndFormatsIt) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-I", "-n", "4"}, {"--init", "-n", "4", "-d", "0"}}) {
        EXPECT_EQ(diskmanage(arguments), 0);
        EXPECT_EQ(run.out, "disk : ch = 4, devcie = 0, name = sdd\n");
        EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/diskformat /dev/sdd"));
    }
    EXPECT_THAT(machine.messages(), IsEmpty());
}

TEST_F(DiskManageInit, RefusesADiskThatAnotherCommandUses) {
    const HeldLock other(machine, claim_on("sdd"));
    EXPECT_EQ(diskmanage({"-I", "-n", "4"}), 55); // -201
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.messages(), Contains("'sdd' is used by another command"));
}

TEST_F(DiskManageInit, TakesTheFirstNumberOfAList) {
    EXPECT_EQ(diskmanage({"-I", "-n", "3,4"}), 0);
    EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/diskformat /dev/sdc"));
}

TEST_F(DiskManageInit, ComesBeforeTheOtherModes) {
    EXPECT_EQ(diskmanage({"--display", "--init", "-n", "4"}), 0);
    EXPECT_EQ(run.out, "disk : ch = 4, devcie = 0, name = sdd\n");
    EXPECT_EQ(diskmanage({"--hotspare", "-a", "4", "--init"}), 0);
    EXPECT_EQ(run.out, "disk : ch = 4, devcie = 0, name = sdd\n");
}

TEST_F(DiskManageInit, MarksAMemberFaultyFirst) {
    machine.with_array();
    machine.tool("/sbin/mdadm").on("/sbin/mdadm /dev/md1 -f /dev/sdb");
    EXPECT_EQ(diskmanage({"-I", "-n", "2"}), 0);
    EXPECT_EQ(run.out, "disk : ch = 2, devcie = 0, name = sdb\n");
    EXPECT_THAT(changes(run), ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sdb",
                                          "/usr/local/bin/diskformat /dev/sdb"));
}

TEST_F(DiskManageInit, ContinuesWhenTheArrayKeepsItsMember) {
    machine.with_array();
    machine.tool("/sbin/mdadm").on("/sbin/mdadm /dev/md1 -f /dev/sdb").exits(1);
    EXPECT_EQ(diskmanage({"-I", "-n", "2"}), 0);
    EXPECT_THAT(changes(run), ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sdb",
                                          "/usr/local/bin/diskformat /dev/sdb"));
    EXPECT_THAT(machine.messages(),
                ElementsAre(MatchesRegex("system\\(\"/sbin/mdadm /dev/md1 -f /dev/sdb\"\\) return "
                                         "normal with exit\\(1\\) for '.*'")));
}

TEST_F(DiskManageInit, WorksOnHotSparesAndMountedDisksToo) {
    machine.hotspares({"sdc"}).mounted({"/dev/sdd1 100 50 50 50% /mnt"});
    EXPECT_EQ(diskmanage({"-I", "-n", "3"}), 0);
    EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/diskformat /dev/sdc"));
    EXPECT_EQ(diskmanage({"-I", "-n", "4"}), 0);
    EXPECT_THAT(changes(run), ElementsAre("/usr/local/bin/diskformat /dev/sdd"));
}

TEST_F(DiskManageInit, EndsWithSuccessWhenTheToolFails) {
    machine.tool(diskformat_tool).on("/usr/local/bin/diskformat /dev/sdd").exits(3);
    EXPECT_EQ(diskmanage({"-I", "-n", "4"}), 0);
    EXPECT_EQ(run.out, "disk : ch = 4, devcie = 0, name = sdd\n");
    EXPECT_THAT(machine.messages(),
                ElementsAre(MatchesRegex("system\\(\"/usr/local/bin/diskformat /dev/sdd\"\\) "
                                         "return normal with exit\\(3\\) for '.*'")));
}

TEST_F(DiskManageInit, OfAnUnknownDiskIsMinus202) {
    for (const char* channel : {"5", "0", "4294967297"}) {
        diskmanage({"-I", "-n", channel});
        expect_failure(machine, run, -202, "diskmanage_main[723]");
        EXPECT_THAT(machine.messages(), Contains("zav_disk_init[504]: return with -202"));
        EXPECT_THAT(changes(run), IsEmpty());
    }
}

TEST_F(DiskManageInit, WithoutADiskListIsMinus205) {
    machine.without_disk_list();
    diskmanage({"-I", "-n", "1"});
    expect_failure(machine, run, -205, "diskmanage_main[723]");
    EXPECT_THAT(machine.messages(), Contains("zav_disk_init[491]: return with -1021"));
}

TEST_F(DiskManageInit, WithoutAChannelIsMinus111) {
    diskmanage({"-I"});
    expect_failure(machine, run, -111, "diskmanage_main[710]");
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(DiskManageInit, ChecksTheDeviceThenTheChannel) {
    diskmanage({"-I", "-n", "x", "-d", ""});
    expect_failure(machine, run, -121, "diskmanage_main[695]");
    diskmanage({"-I", "-n", "x"});
    expect_failure(machine, run, -111, "diskmanage_main[710]");
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(DiskManageInit, NeverGivesANamelessDiskToATool) {
    DiskMachine behind_controller("VEL7205U");
    behind_controller.tool("/usr/local/bin/vexadm").any().prints("0 /DISK/931/OK/Free\n");
    const Result result = behind_controller.run({"diskmanage", "--init", "-n", "1"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, "disk : ch = 1, devcie = 0, name = \n");
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(behind_controller.messages(),
                Contains(MatchesRegex("system\\(\"/usr/local/bin/diskformat /dev/\"\\) return "
                                      ".*normal with exit\\(.*\\) for '.*'")));
}

TEST_F(DiskManage, WithAnUnknownOptionOnlyDoesNothing) {
    EXPECT_EQ(diskmanage({"--bogus"}), 0);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(run.out, "");
}

} // namespace
} // namespace zav::test
