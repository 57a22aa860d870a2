// SPDX-License-Identifier: MIT
// The checks before a group is created: a unique name, and no disk that is already in use.
#include "actions/groups/groups.h"
#include "fixtures/group_machine.h"
#include "fixtures/library.h"
#include "inventory/disks.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CheckGroupName : public testing::Test {
  protected:
    int check(const std::string& name) {
        run = machine.operation([&] {
            vginfo group;
            group.name = name;
            return check_group_name(group, printed());
        });
        EXPECT_THAT(changes(run), IsEmpty());
        return run.returned;
    }
    GroupMachine machine;
    Result run;
};

TEST_F(CheckGroupName, TakesAFreeName) {
    machine.on("data", {"/dev/md0"});
    for (const char* name : {"dat", "data1", "DATA", "a"}) {
        EXPECT_EQ(check(name), 0) << name;
    }
    EXPECT_EQ(steps(run), group_list);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(CheckGroupName, RefusesNoNameBeforeAnyCommand) {
    EXPECT_EQ(check(""), -2040);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(logged(machine), ElementsAre("Cannot find vgname!"));
    EXPECT_EQ(run.out, "");
}

TEST_F(CheckGroupName, RefusesAUsedName) {
    machine.on("other", {"/dev/md1"}).on("data", {"/dev/md0"});
    EXPECT_EQ(check("data"), -2041);
    EXPECT_THAT(logged(machine), ElementsAre("vgname 'data' used"));
    EXPECT_EQ(run.out, "");
}

TEST_F(CheckGroupName, RefusesAUsedNameOf32Characters) {
    const std::string name(32, 'g');
    machine.on(name, {"/dev/md0"});
    EXPECT_EQ(check(name), -2041);
    EXPECT_EQ(check(std::string(31, 'g')), 0);
}

TEST_F(CheckGroupName, NeedsTheGroupList) {
    machine.tool(group_tool::pvdisplay).on("/sbin/pvdisplay -c").exits(5);
    EXPECT_EQ(check("data"), -11000);
    EXPECT_THAT(machine.last_message(), returned("check_group_name", -11000));
}

TEST_F(CheckGroupName, PassesOnTheOtherCodesOfTheGroupList) {
    machine.tool(group_tool::pvdisplay).on("/sbin/pvdisplay -c").does("rm -f /tmp/pvdisplay.*");
    EXPECT_EQ(check("data"), -1040);
    EXPECT_THAT(machine.last_message(), returned("check_group_name", -1040));
    machine.remove("/etc/sys_info");
    EXPECT_EQ(check("data"), -11001);
    EXPECT_THAT(machine.last_message(), returned("check_group_name", -11001));
}

class CheckVolume : public testing::Test {
  protected:
    // `name` is the volume's name after the check.
    int check(const std::string& typed, const std::string& device = "0") {
        machine.remove("/var/log/log.libzav");
        run = machine.operation([&] {
            disk_list disks;
            EXPECT_EQ(get_disk_list(disks, printed()), 0);
            std::string rewritten = typed;
            const auto result = check_new_volume(disks, rewritten, device, printed());
            std::printf("%s", rewritten.c_str());
            return result;
        });
        name = run.out;
        EXPECT_THAT(changes(run), IsEmpty());
        return run.returned;
    }
    void expect_refused(const std::string& message) {
        EXPECT_THAT(logged(machine), ElementsAre(message));
    }
    GroupMachine machine;
    Result run;
    std::string name;
};

// Arrays.

TEST_F(CheckVolume, TakesAnArray) {
    EXPECT_EQ(check("md0"), 0);
    EXPECT_EQ(name, "md0");
    EXPECT_EQ(steps(run), joined({{"disks"}, array_list, group_list}));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(CheckVolume, TakesAnArrayOnAnyDevice) {
    EXPECT_EQ(check("md0", "4"), 0);
}

TEST_F(CheckVolume, RefusesAnUnknownArray) {
    for (const std::string typed :
         {"md7", "md", "md00", "MD0", "data", "hdb", "1a", "SDD", "s", "4;5", "4-5", "xsdd"}) {
        EXPECT_EQ(check(typed), -2044) << typed;
        expect_refused("cannot find md '" + typed + "'");
        EXPECT_EQ(name, typed);
    }
}

TEST_F(CheckVolume, ShowsTheNameOfAnUnknownArrayWhole) {
    EXPECT_EQ(check("md_backup_of_2026"), -2044);
    expect_refused("cannot find md 'md_backup_of_2026'");
}

TEST_F(CheckVolume, RefusesAnArrayThatCarriesAGroup) {
    machine.on("other", {"/dev/md1"}).on("data", {"/dev/sdf", "/dev/md0"});
    EXPECT_EQ(check("md0"), -2045);
    expect_refused("'md0' is used in vg");
}

TEST_F(CheckVolume, ShowsTheNameOfAUsedArrayWhole) {
    machine.array({.name = "md_of_2026", .level = "raid1", .members = {{"sdd"}}});
    machine.on("data", {"/dev/md_of_2026"});
    EXPECT_EQ(check("md_of_2026"), -2045);
    expect_refused("'md_of_2026' is used in vg");
}

TEST_F(CheckVolume, TakesAnArrayWhoseNameAVolumeOnlyBeginsWith) {
    machine.array({.name = "md10", .level = "raid1", .members = {{"sdd"}}});
    machine.on("data", {"/dev/md10"});
    EXPECT_EQ(check("md1"), 0);
    EXPECT_EQ(check("md10"), -2045);
}

TEST_F(CheckVolume, RefusesAnUnknownArrayBeforeItLooksAtTheGroups) {
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").exits(5);
    EXPECT_EQ(check("md7"), -2044);
}

// Disks.

TEST_F(CheckVolume, TranslatesAChannel) {
    EXPECT_EQ(check("4"), 0);
    EXPECT_EQ(name, "sdd");
    EXPECT_EQ(steps(run), joined({{"disks"}, array_list, group_list}));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(CheckVolume, TranslatesAChannelOfAnotherDevice) {
    EXPECT_EQ(check("4", "1"), 0);
    EXPECT_EQ(name, "sdx");
}

TEST_F(CheckVolume, TakesAKernelNameOnItsDevice) {
    EXPECT_EQ(check("sde"), 0);
    EXPECT_EQ(name, "sde");
    EXPECT_EQ(check("sdx", "1"), 0);
    EXPECT_EQ(name, "sdx");
    EXPECT_EQ(check("sdx", "0"), -2042);
    expect_refused("invalid disk channelID: 'sdx'");
}

TEST_F(CheckVolume, TakesAChannelWhoseDiskHasANameOfAnotherKind) {
    machine.disk({.name = "hdg", .channel = 9});
    EXPECT_EQ(check("9"), 0);
    EXPECT_EQ(name, "hdg");
}

TEST_F(CheckVolume, RefusesWhatIsNotExactlyOneDisk) {
    for (const std::string typed :
         {"9", "0", "04", "4,5", "sdq", "sd", "sdd1", "sdd,sde", ",", ""}) {
        EXPECT_EQ(check(typed), -2042) << typed;
        expect_refused("invalid disk channelID: '" + typed + "'");
        EXPECT_EQ(name, typed);
    }
    EXPECT_EQ(check("4", "2"), -2042);
    expect_refused("invalid disk channelID: '4'");
}

TEST_F(CheckVolume, ShowsSevenCharactersOfWhatWasTyped) {
    EXPECT_EQ(check("12345678"), -2042);
    expect_refused("invalid disk channelID: '1234567'");
    EXPECT_EQ(check("sdabcdefg"), -2042);
    expect_refused("invalid disk channelID: 'sdabcde'");
    EXPECT_EQ(check("1,1,1,1,1"), -2043);
    expect_refused("disk channelID '1,1,1,1' used in raid");
    machine.hotspares({"sdd"});
    EXPECT_EQ(check("4,4,4,4,4"), -2043);
    expect_refused("disk channelID '4,4,4,4' used hotspare disk");
}

TEST_F(CheckVolume, TranslatesAllOfWhatWasTyped) {
    EXPECT_EQ(check(",,,,,,9,4"), 0);
    EXPECT_EQ(name, "sdd");
}

TEST_F(CheckVolume, RefusesAMemberOfAnArray) {
    for (const std::string typed : {"1", "2", "3", "sda", "sdc"}) {
        EXPECT_EQ(check(typed), -2043) << typed;
        expect_refused("disk channelID '" + typed + "' used in raid");
    }
}

TEST_F(CheckVolume, RefusesAMemberWithAMark) {
    machine.array({.name = "md1",
                   .level = "raid1",
                   .state = "clean, degraded",
                   .members = {{"sdc"}, {"sdd", "faulty"}, {"sde", "spare"}}});
    EXPECT_EQ(check("4"), -2043);
    expect_refused("disk channelID '4' used in raid");
    EXPECT_EQ(check("5"), -2043);
    expect_refused("disk channelID '5' used in raid");
}

TEST_F(CheckVolume, TakesADiskWhoseNameOnlyBeginsLikeAMember) {
    machine.disk({.name = "sdaa", .channel = 9});
    EXPECT_EQ(check("9"), 0);
    EXPECT_EQ(name, "sdaa");
}

TEST_F(CheckVolume, RefusesAHotSpare) {
    machine.hotspares({"sde", "sdf"});
    EXPECT_EQ(check("6"), -2043);
    expect_refused("disk channelID '6' used hotspare disk");
    EXPECT_EQ(check("sdf"), -2043);
    expect_refused("disk channelID 'sdf' used hotspare disk");
    EXPECT_EQ(check("4"), 0);
}

TEST_F(CheckVolume, RefusesAMemberBeforeAHotSpare) {
    machine.hotspares({"sda"});
    EXPECT_EQ(check("1"), -2043);
    expect_refused("disk channelID '1' used in raid");
}

TEST_F(CheckVolume, RefusesADiskInUseBeforeItLooksAtTheGroups) {
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").exits(5);
    machine.hotspares({"sdf"});
    EXPECT_EQ(check("9"), -2042);
    EXPECT_EQ(check("1"), -2043);
    EXPECT_EQ(check("6"), -2043);
}

// A disk is listed under its channel but looked up by its kernel name.
TEST_F(CheckVolume, TakesADiskThatCarriesAGroup) {
    machine.on("data", {"/dev/sdd"});
    EXPECT_EQ(check("4"), 0);
    EXPECT_EQ(check("sdd"), 0);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(CheckVolume, RefusesADiskThatIsListedUnderItsKernelName) {
    machine.on("data", {"/dev/sdq"});
    run = machine.operation([] {
        disk_list disks;
        disk_info& disk = disks.append();
        disk.name = "sdq";
        disk.channel = 12;
        disk.device = "0";
        std::string typed = ",,,,,,,,12";
        return check_new_volume(disks, typed, "0", printed());
    });
    EXPECT_EQ(run.returned, -2045);
    expect_refused("',,,,,,,' is used in vg");
}

// Lists that cannot be built.

TEST_F(CheckVolume, NeedsTheArrayList) {
    machine.remove("/proc/mdstat");
    for (const char* typed : {"4", "md0"}) {
        EXPECT_EQ(check(typed), -422);
        EXPECT_THAT(machine.last_message(), returned("check_new_volume", -422));
    }
}

TEST_F(CheckVolume, NeedsTheGroupList) {
    machine.tool(group_tool::vgdisplay).on("/sbin/vgdisplay -c").killed_by(9);
    for (const char* typed : {"4", "md0"}) {
        EXPECT_EQ(check(typed), -11000);
        EXPECT_THAT(machine.last_message(), returned("check_new_volume", -11000));
    }
}

} // namespace
} // namespace zav::test
