// SPDX-License-Identifier: MIT
// The two entry points of group recovery: by the group's name and by a pool's name.
#include "fixtures/group_recovery.h"
#include "fixtures/library.h"

#include <cstdio>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr const char* no_directory = "'/etc/lvm/backup' not exist\n";

Result resume(RecoveryMachine& machine, const std::string& group = "vg1") {
    return machine.operation([&group] { return vg_raid_resume(group.c_str(), printed()); });
}

TEST(ResumedGroup, IsRestoredFromItsBackup) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "sdx"}})).backup("vg2", backup_of({{"b", "sdx"}}));
    const Result result = resume(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "vg restore: yes\n");
    EXPECT_THAT(actions(result),
                ElementsAre("/sbin/pvcreate -u a /dev/ram2", "/sbin/vgcfgrestore vg1"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(ResumedGroup, IsLeftAloneOnActiveArrays) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "md0"}})).sees(live("a", "/dev/md0"));
    const Result result = resume(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "vg restore: no\n");
    EXPECT_THAT(actions(result), IsEmpty());
}

TEST(ResumedGroup, NeedsNoBackupDirectory) {
    RecoveryMachine machine;
    const Result result = resume(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, no_directory);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(ResumedGroup, AcceptsAFileInPlaceOfTheBackupDirectory) {
    RecoveryMachine machine;
    machine.file("/etc/lvm/backup", backup_of({{"a", "sdx"}}));
    const Result result = resume(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, no_directory);
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST(ResumedGroup, NeedsNoBackup) {
    RecoveryMachine machine;
    machine.backup("vg2", backup_of({{"a", "sdx"}}));
    const Result result = resume(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "file '/etc/lvm/backup/vg1' cannot open\n");
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(ResumedGroup, NeedsNoBackupThatMayBeRead) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "sdx"}}));
    machine.file("/etc/lvm/backup/vg1", "", 0).directory("/var/log", 01777);
    const Result result =
        machine.call([] { return vg_raid_resume("vg1", printed()); }, {.uid = 65534});
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "file '/etc/lvm/backup/vg1' cannot open\n");
    EXPECT_THAT(result.commands, IsEmpty());
    ASSERT_EQ(machine.log().size(), 1);
    EXPECT_THAT(machine.log()[0].text,
                MatchesRegex("vg_raid_resume:[0-9]+ return 0 with Permission denied"));
}

TEST(ResumedGroup, ThatCannotBeRestoredIsPrintedAndLogged) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "md1"}})).sees(live("a", "/dev/sda"));
    const Result result = resume(machine);
    EXPECT_EQ(result.returned, -421);
    EXPECT_EQ(result.out, "raid restore 'vg1' fail\n");
    EXPECT_THAT(machine.logged(),
                ElementsAre("'md1' has moved to 'sda': nothing is restored",
                            MatchesRegex("vg_raid_resume\\[[0-9]+\\]: return with -2")));
}

TEST(ResumedGroup, WithoutARamDiskIsPrintedAndLogged) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "sdx"}}));
    machine.tool(RecoveryMachine::pvcreate).on_prefix("/sbin/pvcreate -u a").exits(5);
    const Result result = resume(machine);
    EXPECT_EQ(result.returned, -421);
    EXPECT_EQ(result.out, "raid restore 'vg1' fail\n");
    EXPECT_THAT(machine.logged("vg_raid_resume"), ElementsAre(EndsWith("return with -3")));
}

TEST(ResumedGroup, WithoutLiveVolumesFailsAlthoughItIsRestored) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "sdx"}})).sees_nothing_that_can_be_read();
    const Result result = resume(machine);
    EXPECT_EQ(result.returned, -421);
    EXPECT_THAT(result.out, EndsWith("\nvg restore: yes\nraid restore 'vg1' fail\n"));
    EXPECT_THAT(machine.logged("vg_raid_resume"), ElementsAre(EndsWith("return with -1")));
}

TEST(ResumedGroup, WithGarbageAsABackupIsLeftAlone) {
    RecoveryMachine machine;
    for (const std::string& text :
         {std::string(), std::string(1 << 20, 'x'), std::string(1 << 20, '\0'),
          "physical_volumes {\n" + std::string(1 << 20, '"')}) {
        machine.backup("vg1", text);
        const Result result = resume(machine);
        EXPECT_EQ(result.returned, 0);
        EXPECT_EQ(result.out, "vg restore: no\n");
        EXPECT_THAT(actions(result), IsEmpty());
    }
}

TEST(ResumedGroup, MayHaveABackupWithoutAFinalLineEnd) {
    RecoveryMachine machine;
    machine.backup("vg1", "physical_volumes {\nid = \"a\"\ndevice = \"/dev/sdx\"");
    EXPECT_THAT(actions(resume(machine)),
                ElementsAre("/sbin/pvcreate -u a /dev/ram2", "/sbin/vgcfgrestore vg1"));
}

// Prints the group after recovery's own output; "before" if it was not set.
Result handle(RecoveryMachine& machine, const std::string& pool = "pub") {
    return machine.operation([&pool] {
        GroupName group("before");
        const auto result = handle_abnorm_raid(pool.c_str(), group, printed());
        std::puts(group.c_str());
        return result;
    });
}

TEST(GroupOfABrokenPool, IsNamedAndRestored) {
    RecoveryMachine machine;
    machine.backup("data", backup_of({{"b", "sdy"}}, {"other"}));
    machine.backup("vg1", backup_of({{"a", "sdx"}}, {"first", "pub"}));
    const Result result = handle(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "vg restore: yes\nvg1\n");
    EXPECT_THAT(actions(result),
                ElementsAre("/sbin/pvcreate -u a /dev/ram2", "/sbin/vgcfgrestore vg1"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(GroupOfABrokenPool, IsThatOfARecordedBackup) {
    RecoveryMachine machine;
    machine.backup("vg1", recorded("lvm_B_backup").text);
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .replays("lvm_B_pvdisplay_missing");
    const Result result = handle(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "vg restore: yes\nvg1\n");
}

TEST(GroupOfABrokenPool, MayHaveANameOf32Characters) {
    RecoveryMachine machine;
    const std::string group(32, 'v');
    machine.backup(group, backup_of({{"a", "sdx"}}, {"pub"}));
    const Result result = handle(machine);
    EXPECT_EQ(result.out, "vg restore: yes\n" + group + "\n");
    EXPECT_THAT(actions(result), testing::Contains("/sbin/vgcfgrestore " + group));
}

TEST(GroupOfABrokenPool, StaysWhatItWasWhenNoBackupHasThePool) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "sdx"}}, {"pub"}));
    const Result result = handle(machine, "public");
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "before\n");
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(GroupOfABrokenPool, StaysWhatItWasWithoutBackups) {
    RecoveryMachine machine;
    machine.directory("/etc/lvm/backup");
    const Result result = handle(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "before\n");
    EXPECT_THAT(machine.logged(),
                ElementsAre(MatchesRegex("handle_abnorm_raid\\[[0-9]+\\]: with 0")));
}

TEST(GroupOfABrokenPool, StaysWhatItWasWithoutTheDirectory) {
    RecoveryMachine machine;
    const Result result = handle(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, std::string(no_directory) + "before\n");
}

TEST(GroupOfABrokenPool, StaysWhatItWasWhenItsBackupCannotBeOpened) {
    RecoveryMachine machine;
    const std::string cut(32, 'v'); // a truncated name matches no file
    machine.backup(cut + "x", backup_of({{"a", "sdx"}}, {"pub"}));
    const Result result = handle(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "file '/etc/lvm/backup/" + cut + "' cannot open\nbefore\n");
    EXPECT_THAT(
        machine.logged(),
        ElementsAre(MatchesRegex("handle_abnorm_raid\\[[0-9]+\\]: No such file or directory")));
}

TEST(GroupOfABrokenPool, ThatCannotBeRestoredIsNamedAndLogged) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "md1"}}, {"pub"})).sees(live("a", "/dev/sda"));
    const Result result = handle(machine);
    EXPECT_EQ(result.returned, -421);
    EXPECT_EQ(result.out, "vg1\n");
    EXPECT_THAT(machine.logged(),
                ElementsAre("'md1' has moved to 'sda': nothing is restored",
                            MatchesRegex("handle_abnorm_raid\\[[0-9]+\\]: return with -2")));
}

TEST(GroupOfABrokenPool, WithoutLiveVolumesFailsAlthoughItIsRestored) {
    RecoveryMachine machine;
    machine.backup("vg1", backup_of({{"a", "sdx"}}, {"pub"})).sees_nothing_that_can_be_read();
    const Result result = handle(machine);
    EXPECT_EQ(result.returned, -421);
    EXPECT_THAT(result.out, EndsWith("\nvg restore: yes\nvg1\n"));
    EXPECT_THAT(machine.logged("handle_abnorm_raid"), ElementsAre(EndsWith("return with -1")));
}

TEST(GroupOfABrokenPool, WithANameThatIsNotPlainReachesNoCommand) {
    RecoveryMachine machine;
    machine.backup("vg1;reboot", backup_of({{"a", "sdx"}}, {"pub"}));
    const Result result = handle(machine);
    for (const std::string& command : result.commands) {
        EXPECT_THAT(command, testing::Not(testing::HasSubstr("reboot")));
    }
    EXPECT_THAT(machine.logged(),
                ElementsAre(StartsWith("system(\"/sbin/vgcfgrestore vg1;reboot\")"),
                            testing::EndsWith("was not run: 'vg1;reboot' is not a plain name"),
                            testing::EndsWith("]: return with -2")));
}

} // namespace
} // namespace zav::test
