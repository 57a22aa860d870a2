// SPDX-License-Identifier: MIT
// Restoring a group: what happens to each of its volumes, and in which order.
#include "fixtures/group_recovery.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* wipe_md1 = "dd if=/dev/zero of=/dev/md1 bs=1M count=4 > /dev/null";
constexpr const char* restore_vg1 = "/sbin/vgcfgrestore vg1";
constexpr const char* restored = "vg restore: yes\n";
constexpr const char* nothing_restored = "vg restore: no\n";

std::string on_ram(const std::string& id, int number) {
    return "/sbin/pvcreate -u " + id + " /dev/ram" + std::to_string(number);
}

class RestoreGroup : public testing::Test {
  protected:
    void restore(const std::vector<Volume>& volumes) {
        run = restore_group(machine, backup_of(volumes));
    }
    void expect_restored(const Texts& commands) {
        EXPECT_EQ(run.returned, 0);
        EXPECT_EQ(run.out, restored);
        EXPECT_THAT(actions(run), ElementsAreArray(commands));
    }
    void expect_nothing_done() {
        EXPECT_EQ(run.returned, 0);
        EXPECT_EQ(run.out, nothing_restored);
        EXPECT_THAT(actions(run), IsEmpty());
    }
    // Recovery ended before it restored the metadata, without a message.
    void expect_stopped(int code, const Texts& commands = {}) {
        EXPECT_EQ(run.returned, code);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(actions(run), ElementsAreArray(commands));
    }

    RecoveryMachine machine;
    Result run;
};

// The sources.

TEST_F(RestoreGroup, ReadsTheArraysAndTheVolumes) {
    restore({{"a", "md0"}});
    const Texts commands = run.commands_with_templates();
    ASSERT_FALSE(commands.empty());
    EXPECT_EQ(commands.front(), "cat /proc/mdstat > /tmp/mdstat.XXXXXX 2>> /dev/null");
    EXPECT_THAT(commands, testing::IsSupersetOf(
                              {"/sbin/mdadm --detail /dev/md0 > /tmp/md0.XXXXXX 2>> /dev/null",
                               "/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX 2>> /dev/null"}));
}

TEST_F(RestoreGroup, DoesNothingForABackupWithoutVolumes) {
    restore({});
    expect_nothing_done();
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(RestoreGroup, OnlyLogsThatABackupHasNoSectionOfVolumes) {
    for (const std::string& text : {std::string(), std::string(1 << 20, 'x'), std::string(64, '\0'),
                                    std::string("logical_volumes {\n")}) {
        run = restore_group(machine, text);
        expect_nothing_done();
        EXPECT_THAT(machine.logged(),
                    ElementsAre(MatchesRegex("raid_restore\\[[0-9]+\\]: return with -1")));
        machine.remove("/var/log/log.libzav");
    }
}

TEST_F(RestoreGroup, OnlyLogsThatThereIsNoArrayList) {
    machine.remove("/proc/mdstat");
    restore({{"a", "sdx"}});
    expect_restored({on_ram("a", 2), restore_vg1});
    EXPECT_THAT(machine.logged("raid_restore"),
                ElementsAre(MatchesRegex("raid_restore\\[[0-9]+\\]: return with -11000")));
}

// Missing volumes.

TEST_F(RestoreGroup, PutsARamDiskInThePlaceOfAMissingVolume) {
    restore({{"a", "md7"}});
    expect_restored({on_ram("a", 2), restore_vg1});
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(RestoreGroup, PutsARamDiskInThePlaceOfAVolumeOnAnUnknownDevice) {
    machine.sees(live("a", "[unknown]") + live("b", "unknown device"));
    restore({{"a", "md7"}, {"b", "sdx"}});
    expect_restored({on_ram("a", 2), on_ram("b", 3), restore_vg1});
}

TEST_F(RestoreGroup, RestoresARecordedGroupWhoseVolumeIsMissing) {
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .replays("lvm_B_pvdisplay_missing");
    run = restore_group(machine, recorded("lvm_B_backup").text);
    expect_restored({on_ram("DBc3C1-Rr0K-05dv-AasZ-5VQX-Ntqc-LdXVSd", 2), restore_vg1});
}

// Volumes that exist.

TEST_F(RestoreGroup, LeavesAnActiveArrayAlone) {
    machine.sees(live("a", "/dev/md0"));
    restore({{"a", "md0"}});
    expect_nothing_done();
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(RestoreGroup, GivesAHealthyVolumeOnADiskASubstituteToo) {
    machine.sees(live("a", "/dev/sdf"));
    restore({{"a", "sdf"}});
    expect_restored({on_ram("a", 2), restore_vg1});
}

TEST_F(RestoreGroup, GivesBothDisksOfARecordedGroupASubstitute) {
    machine.tool(RecoveryMachine::pvdisplay).on("/sbin/pvdisplay -c").replays("pvdisplay_c_three");
    run = restore_group(machine, recorded("lvm_backup_vgdisks").text, "vgdisks");
    expect_restored({on_ram("Iw27Cd-eF8y-8Hck-pQqi-HStE-XyrD-3aGSrS", 2),
                     on_ram("CDjztj-qvia-rOJR-kd3q-YCO7-ds4T-juaMyj", 3),
                     "/sbin/vgcfgrestore vgdisks"});
}

TEST_F(RestoreGroup, GivesAVolumeOnARamDiskAnotherOne) {
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .replays("lvm_B_pvdisplay_restored");
    run = restore_group(machine, recorded("lvm_B_backup").text);
    expect_restored({on_ram("DBc3C1-Rr0K-05dv-AasZ-5VQX-Ntqc-LdXVSd", 3), restore_vg1});
}

TEST_F(RestoreGroup, TakesTheVolumesInTheBackupsOrder) {
    machine.sees(live("c", "/dev/sdf") + live("b", "/dev/md0") + live("a", "/dev/md1"));
    restore({{"c", "sdf"}, {"x", "sdy"}, {"b", "md0"}, {"a", "md1"}});
    expect_restored({on_ram("c", 2), on_ram("x", 3), "/sbin/mdadm /dev/md1 -f /dev/sdc", wipe_md1,
                     on_ram("a", 4), restore_vg1});
}

// Broken arrays.

TEST_F(RestoreGroup, FailsAndWipesAnInactiveArrayBeforeItsSubstitute) {
    machine.sees(live("a", "/dev/md1"));
    restore({{"a", "md1"}});
    expect_restored({"/sbin/mdadm /dev/md1 -f /dev/sdc", wipe_md1, on_ram("a", 2), restore_vg1});
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(RestoreGroup, FailsEveryMemberThatIsNotFaultyYet) {
    machine.array({.name = "md1",
                   .raid_disks = 6,
                   .members = {{"sdc"}, {"sdd", "spare"}, {"sde", "faulty"}, {"sdf", "blocked"}}});
    machine.sees(live("a", "/dev/md1"));
    restore({{"a", "md1"}});
    Texts commands = actions(run);
    ASSERT_THAT(commands, testing::SizeIs(6));
    std::sort(commands.begin(), commands.begin() + 3); // the directory is not sorted
    EXPECT_THAT(commands,
                ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sdc", "/sbin/mdadm /dev/md1 -f /dev/sdd",
                            "/sbin/mdadm /dev/md1 -f /dev/sdf", wipe_md1, on_ram("a", 2),
                            restore_vg1));
}

TEST_F(RestoreGroup, WipesAnArrayThatHasNoMemberLeft) {
    machine.array({.name = "md1", .raid_disks = 3, .members = {}});
    machine.sees(live("a", "/dev/md1"));
    restore({{"a", "md1"}});
    expect_restored({wipe_md1, on_ram("a", 2), restore_vg1});
}

TEST_F(RestoreGroup, NeedsNoArrayForAMissingVolume) {
    restore({{"a", "md1"}});
    expect_restored({on_ram("a", 2), restore_vg1});
}

// The list fails at md1, whose members cannot be read.
TEST_F(RestoreGroup, UsesWhatAnArrayListHoldsThatFailed) {
    machine.remove("/sys/block/md1");
    machine.sees(live("a", "/dev/md0") + live("b", "/dev/md1"));
    restore({{"a", "md0"}, {"b", "md1"}});
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(actions(run), IsEmpty());
    EXPECT_THAT(machine.logged("raid_restore"),
                ElementsAre(MatchesRegex("raid_restore\\[[0-9]+\\]: return with -[0-9]+")));
}

TEST_F(RestoreGroup, StopsAtAnArrayThatIsNotThere) {
    machine.sees(live("a", "/dev/md7"));
    restore({{"a", "md7"}});
    expect_stopped(-2);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(RestoreGroup, StopsAtAnArrayWithoutAnArrayList) {
    machine.remove("/proc/mdstat");
    machine.sees(live("a", "/dev/md0"));
    restore({{"a", "md0"}});
    expect_stopped(-2);
    EXPECT_THAT(machine.logged("raid_restore"),
                ElementsAre(MatchesRegex("raid_restore\\[[0-9]+\\]: return with -11000")));
}

TEST_F(RestoreGroup, StopsAtAVolumeThatMoved) {
    machine.sees(live("a", "/dev/md0"));
    restore({{"a", "md1"}, {"b", "sdx"}});
    expect_stopped(-2);
    EXPECT_THAT(machine.logged(), ElementsAre("'md1' has moved to 'md0': nothing is restored"));
}

// What a volume before it is on is not given up for nothing.
TEST_F(RestoreGroup, TouchesNothingWhenALaterVolumeHasMoved) {
    machine.sees(live("a", "/dev/md1") + live("b", "/dev/sda"));
    restore({{"a", "md1"}, {"x", "sdx"}, {"b", "sdb"}});
    expect_stopped(-2);
    EXPECT_THAT(machine.logged(), ElementsAre("'sdb' has moved to 'sda': nothing is restored"));
}

TEST_F(RestoreGroup, LeavesTheMetadataAloneWhenItStopsLater) {
    machine.sees(live("b", "/dev/md7"));
    restore({{"a", "sdx"}, {"b", "md7"}, {"c", "sdy"}});
    expect_stopped(-2, {on_ram("a", 2)});
}

// RAM disks.

std::vector<Volume> missing_volumes(int count) {
    std::vector<Volume> volumes;
    for (int number = 1; number <= count; ++number) {
        volumes.push_back({"id" + std::to_string(number), "sdx"});
    }
    return volumes;
}

TEST_F(RestoreGroup, HasFourteenRamDisksFrom2To15) {
    restore(missing_volumes(14));
    Texts commands;
    for (int number = 1; number <= 14; ++number) {
        commands.push_back(on_ram("id" + std::to_string(number), number + 1));
    }
    commands.emplace_back(restore_vg1);
    expect_restored(commands);
}

TEST_F(RestoreGroup, HasNoRamDiskForAFifteenthVolume) {
    restore(missing_volumes(15));
    EXPECT_EQ(run.returned, -3);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(actions(run),
                testing::AllOf(testing::SizeIs(14), testing::Contains(on_ram("id14", 15))));
}

TEST_F(RestoreGroup, PassesOverRamDisksThatCarryVolumes) {
    machine.sees(live("x", "/dev/ram2") + live("y", "/dev/ram4") + live("z", "/dev/ram15"));
    restore(missing_volumes(2));
    expect_restored({on_ram("id1", 3), on_ram("id2", 5), restore_vg1});
}

TEST_F(RestoreGroup, HasNoRamDiskWhenAllCarryVolumes) {
    std::string lines;
    for (int number = 2; number < 16; ++number) {
        lines += live("x" + std::to_string(number), "/dev/ram" + std::to_string(number));
    }
    machine.sees(lines);
    restore(missing_volumes(1));
    expect_stopped(-3);
}

TEST_F(RestoreGroup, PassesOverNoRamDiskForOtherNames) {
    machine.sees(live("x", "/dev/ram0") + live("x", "/dev/ram1") + live("x", "/dev/ram16") +
                 live("x", "/dev/ram") + live("x", "/dev/ramdisk") +
                 live("x", "/dev/ram99999999999999999999") + live("x", "/dev/xram2") +
                 live("x", "ram2"));
    restore(missing_volumes(1));
    expect_restored({on_ram("id1", 2), restore_vg1});
}

// Text that must not reach a command.

TEST_F(RestoreGroup, RunsNothingWithAUuidThatIsNotPlain) {
    for (const char* id : {"a;reboot", "$(reboot)", "a b", "-y", "a'b", "", "a/b", "`x`", "\x80"}) {
        restore({{id, "sdx"}});
        expect_stopped(-3);
        EXPECT_THAT(machine.logged(),
                    ElementsAre(testing::AllOf(testing::StartsWith("system(\"/sbin/pvcreate -u "),
                                               MatchesRegex(".*\\)for'.*'")),
                                HasSubstr("was not run: ")))
            << id;
        machine.remove("/var/log/log.libzav");
    }
}

TEST_F(RestoreGroup, RunsNothingWithADeviceThatIsNotPlain) {
    machine.sees(live("a", "/dev/md1;reboot"));
    restore({{"a", "md1;reboot"}});
    expect_stopped(-2);
    machine.sees("");
    restore({{"a", "md1;reboot"}});
    expect_restored({on_ram("a", 2), restore_vg1});
}

TEST_F(RestoreGroup, RunsNothingWithAMemberThatIsNotPlain) {
    machine.array({.name = "md1", .raid_disks = 4, .members = {{"sdc"}, {"sd;reboot"}}});
    machine.sees(live("a", "/dev/md1"));
    restore({{"a", "md1"}});
    expect_restored({"/sbin/mdadm /dev/md1 -f /dev/sdc", wipe_md1, on_ram("a", 2), restore_vg1});
    EXPECT_THAT(machine.logged("-f /dev/sd;reboot"), testing::SizeIs(2));
}

TEST_F(RestoreGroup, RunsNothingWithAGroupThatIsNotPlain) {
    for (const char* group : {"vg1;reboot", "$(reboot)", "-f", "vg1 --force", "../vg1", ""}) {
        run = restore_group(machine, backup_of({{"a", "sdx"}}), group);
        EXPECT_EQ(run.returned, -2) << group;
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(actions(run), testing::IsEmpty()) << group;
        EXPECT_THAT(machine.logged(),
                    ElementsAre(HasSubstr("system(\"/sbin/vgcfgrestore"),
                                HasSubstr(std::string("was not run: '") + group + "'")))
            << group;
        machine.remove("/var/log/log.libzav");
    }
}

TEST_F(RestoreGroup, TakesEveryPlainGroup) {
    for (const char* group : {"vg1", "VG_1", "my-data", "vg.1+2", "1"}) {
        run = restore_group(machine, backup_of({{"a", "sdx"}}), group);
        expect_restored({on_ram("a", 2), std::string("/sbin/vgcfgrestore ") + group});
    }
}

TEST_F(RestoreGroup, TakesAGroupThatBeginsWithAnUnderscore) {
    run = restore_group(machine, backup_of({{"a", "sdx"}}), "_data");
    expect_restored({on_ram("a", 2), "/sbin/vgcfgrestore _data"});
}

} // namespace
} // namespace zav::test
