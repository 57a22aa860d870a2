// SPDX-License-Identifier: MIT
// Which groups have a backup, which backup has a pool, and which volumes LVM sees.
#include "fixtures/library.h"
#include "fixtures/recovery_root.h"
#include "fixtures/shown_records.h"
#include "inventory/backups.h"

#include <csignal>
#include <cstdio>
#include <sstream>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr std::size_t enough = 32;
constexpr const char* no_directory = "'/etc/lvm/backup' not exist\n";
const RunOptions nobody = {.uid = 65534};

Texts lines_of(const std::string& text) {
    Texts lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// Prints the names of the groups that have a backup, one a line.
Result groups(RecoveryMachine& machine, std::size_t max = enough, const RunOptions& options = {}) {
    return machine.operation(
        [max] {
            const auto names = get_vg_from_backup(max, printed());
            for (const GroupName& name : *names) {
                std::puts(name.c_str());
            }
            return static_cast<int>(names->size());
        },
        options);
}

TEST(GroupsWithABackup, AreThoseOfTheDirectoryInItsOrder) {
    RecoveryMachine machine;
    for (const char* group : {"vg1", "data", "a", "vg2", ".hidden"}) {
        machine.backup(group, "");
    }
    const Result result = groups(machine);
    EXPECT_EQ(result.returned, 5);
    EXPECT_EQ(lines_of(result.out), machine.backup_names());
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(GroupsWithABackup, HaveARegularFile) {
    RecoveryMachine machine;
    machine.backup("vg1", "");
    machine.directory("/etc/lvm/backup/folder").fifo("/etc/lvm/backup/pipe");
    machine.symlink("/nowhere", "/etc/lvm/backup/dangling");
    machine.symlink("/tmp", "/etc/lvm/backup/link");
    const Result result = groups(machine);
    EXPECT_EQ(result.returned, 1);
    EXPECT_EQ(result.out, "vg1\n");
}

TEST(GroupsWithABackup, AreNoneInAnEmptyDirectory) {
    RecoveryMachine machine;
    machine.directory("/etc/lvm/backup");
    const Result result = groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
}

TEST(GroupsWithABackup, AreAtMostAsManyAsAskedFor) {
    RecoveryMachine machine;
    for (int number = 0; number < 40; ++number) {
        machine.backup("vg" + std::to_string(number), "");
    }
    Texts names = machine.backup_names();
    EXPECT_EQ(groups(machine, 40).returned, 40);
    EXPECT_EQ(groups(machine, 1).returned, 1);
    EXPECT_EQ(groups(machine, 0).returned, 0);
    names.resize(32);
    EXPECT_EQ(lines_of(groups(machine, 32).out), names);
}

TEST(GroupsWithABackup, HaveNamesOfUpTo32Characters) {
    RecoveryMachine machine;
    machine.backup(std::string(32, 'a'), "");
    EXPECT_EQ(groups(machine).out, std::string(32, 'a') + "\n");
    machine.remove(RecoveryMachine::backups);
    machine.backup(std::string(33, 'a'), "");
    EXPECT_EQ(groups(machine).out, std::string(32, 'a') + "\n");
    machine.remove(RecoveryMachine::backups);
    machine.backup(std::string(255, 'b'), "");
    EXPECT_EQ(groups(machine).out, std::string(32, 'b') + "\n");
}

TEST(GroupsWithABackup, AreNoneWithoutTheDirectory) {
    RecoveryMachine machine;
    const Result result = groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, no_directory);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(GroupsWithABackup, AreNoneInAFile) {
    RecoveryMachine machine;
    machine.file("/etc/lvm/backup", "vg1");
    const Result result = groups(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, no_directory);
}

TEST(GroupsWithABackup, AreUnknownInADirectoryThatCannotBeRead) {
    RecoveryMachine machine;
    machine.backup("vg1", "");
    machine.directory("/etc/lvm/backup", 0);
    const Result result =
        machine.call([] { return get_vg_from_backup(enough, printed()).code(); }, nobody);
    machine.directory("/etc/lvm/backup");
    EXPECT_EQ(result.returned, -614);
    EXPECT_EQ(result.out, "cannot open '/etc/lvm/backup'\n");
}

// Prints the group that had a pool, "before" when it stayed what it was.
Result group_of(RecoveryMachine& machine, const std::string& pool) {
    return machine.operation([&pool] {
        GroupName group("before");
        vgname_from_backup(pool.c_str(), group, printed());
        std::puts(group.c_str());
    });
}

class GroupOfAPool : public testing::Test {
  protected:
    void expect_group(const std::string& pool, const std::string& group) {
        const Result result = group_of(machine, pool);
        EXPECT_EQ(result.returned, 0);
        EXPECT_EQ(result.out, group + "\n");
        EXPECT_THAT(result.commands, IsEmpty());
    }
    RecoveryMachine machine;
};

TEST_F(GroupOfAPool, IsThatOfTheRecordedBackup) {
    machine.backup("vg1", recorded("lvm_B_backup").text);
    machine.backup("data", recorded("lvm_backup_data").text);
    machine.backup("vgdisks", recorded("lvm_backup_vgdisks").text);
    expect_group("pub", "vg1");
    expect_group("pool", "data");
    expect_group("full", "vgdisks");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(GroupOfAPool, StaysWhatItWasWhenNoBackupHasThePool) {
    machine.backup("vg1", backup_of({}, {"pub"}));
    expect_group("public", "before");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(GroupOfAPool, IsTheFirstInTheDirectorysOrder) {
    for (const char* group : {"vg1", "vg2", "vg3", "vg4"}) {
        machine.backup(group, backup_of({}, {"pub"}));
    }
    expect_group("pub", machine.backup_names().front());
}

TEST_F(GroupOfAPool, IsOneOfTheFirst32) {
    for (int number = 0; number < 33; ++number) {
        machine.backup("vg" + std::to_string(number), "");
    }
    const Texts names = machine.backup_names();
    ASSERT_THAT(names, SizeIs(33));
    machine.backup(names[31], backup_of({}, {"last"}));
    machine.backup(names[32], backup_of({}, {"behind"}));
    ASSERT_EQ(machine.backup_names(), names);
    expect_group("last", names[31]);
    expect_group("behind", "before");
}

TEST_F(GroupOfAPool, MayHaveANameOf32Characters) {
    machine.backup(std::string(32, 'v'), backup_of({}, {"pub"}));
    expect_group("pub", std::string(32, 'v'));
}

TEST_F(GroupOfAPool, IsUnknownWithoutTheDirectory) {
    expect_group("pub", std::string(no_directory) + "before");
    EXPECT_THAT(machine.logged(),
                ElementsAre(MatchesRegex("vgname_from_backup\\[[0-9]+\\]: with 0")));
}

TEST_F(GroupOfAPool, IsUnknownWithoutBackups) {
    machine.directory("/etc/lvm/backup");
    expect_group("pub", "before");
    EXPECT_THAT(machine.logged(),
                ElementsAre(MatchesRegex("vgname_from_backup\\[[0-9]+\\]: with 0")));
}

TEST_F(GroupOfAPool, IsLoggedWithTheReasonAlsoWithoutAnOutput) {
    machine.backup(std::string(33, 'v'), backup_of({}, {"pub"}));
    const auto search = [] {
        GroupName group;
        return vgname_from_backup("pub", group, printed());
    };
    EXPECT_EQ(machine.operation(search, {.closed = {1}}).returned, 0);
    EXPECT_THAT(machine.logged(), ElementsAre(EndsWith("]: No such file or directory")));
}

// A name that was cut names no file.
TEST_F(GroupOfAPool, IsLookedForInTheOtherBackupsWhenOneCannotBeOpened) {
    const std::string cut(32, 'v');
    machine.backup(cut + "x", backup_of({}, {"pub"}));
    machine.backup("vg1", backup_of({}, {"other"}));
    const std::string message = "file '/etc/lvm/backup/" + cut + "' cannot open\n";
    expect_group("pub", message + "before");
    EXPECT_THAT(
        machine.logged(),
        ElementsAre(MatchesRegex("vgname_from_backup\\[[0-9]+\\]: No such file or directory")));
    const Result result = group_of(machine, "other");
    EXPECT_THAT(result.out, EndsWith("vg1\n"));
}

TEST_F(GroupOfAPool, IsNotLedAstrayByGarbage) {
    machine.backup("a", std::string(1 << 20, 'x'));
    machine.backup("b", std::string(1 << 20, '\0'));
    machine.backup("c", std::string(1 << 20, '\n'));
    machine.backup("d", "logical_volumes {\n\tpub {\n\t\tid =");
    expect_group("pub", "d");
}

// Shows the volumes that LVM sees.
Result volumes(RecoveryMachine& machine) {
    return machine.operation([] {
        live_pv_list list;
        const auto result = get_idpv_from_pvdisplay(list, printed());
        show(list);
        return result;
    });
}

TEST(CurrentVolumes, AreThoseOfPvdisplay) {
    RecoveryMachine machine;
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .replays("lvm_B_pvdisplay_missing");
    const Result result = volumes(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "ZqPKn1-hHIr-q0XO-A2hJ-g61C-gCGd-Na0CI1\tmd0\n"
                          "DBc3C1-Rr0K-05dv-AasZ-5VQX-Ntqc-LdXVSd\tunknown\n");
    EXPECT_THAT(result.commands_with_templates(),
                ElementsAre("/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

// With volumes missing the tool may well fail.
TEST(CurrentVolumes, AreReadAlthoughPvdisplayFails) {
    RecoveryMachine machine;
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .prints(live("a", "/dev/md0"))
        .exits(5);
    const Result result = volumes(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "a\tmd0\n");
    EXPECT_THAT(
        machine.logged(),
        ElementsAre(MatchesRegex("system\\(\"/sbin/pvdisplay -c > /tmp/pvdisplay\\.[^ ]{6}\"\\) "
                                 "return normal with exit\\(5\\) for '.*'")));
}

TEST(CurrentVolumes, AreReadAlthoughASignalEndsPvdisplay) {
    RecoveryMachine machine;
    machine.tool(RecoveryMachine::pvdisplay)
        .on("/sbin/pvdisplay -c")
        .prints(live("a", "/dev/md0"))
        .killed_by(SIGKILL);
    const Result result = volumes(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "a\tmd0\n");
    EXPECT_THAT(machine.logged(), ElementsAre(HasSubstr("return unnormal with exit(0) for")));
}

TEST(CurrentVolumes, AreNoneWithoutPvdisplay) {
    RecoveryMachine machine;
    machine.remove(RecoveryMachine::pvdisplay);
    const Result result = volumes(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(machine.logged(), ElementsAre(HasSubstr("return normal with exit(127) for")));
}

TEST(CurrentVolumes, AreUnknownWhenTheOutputCannotBeOpened) {
    RecoveryMachine machine;
    machine.sees_nothing_that_can_be_read();
    const Result result = volumes(machine);
    EXPECT_EQ(result.returned, -1040);
    EXPECT_THAT(result.out, MatchesRegex("cannot open /tmp/pvdisplay\\.[^ ]{6}\n"));
    EXPECT_THAT(machine.logged(),
                ElementsAre(MatchesRegex("get_idpv_from_pvdisplay:[0-9]+ return 0 "
                                         "with No such file or directory")));
}

TEST(CurrentVolumes, AreUnknownWhenNoTemporaryFileCanBeMade) {
    RecoveryMachine machine;
    machine.read_only("/tmp");
    const Result result = volumes(machine);
    EXPECT_EQ(result.returned, -1040);
    EXPECT_THAT(result.out, testing::StartsWith("cannot open /tmp/pvdisplay."));
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST(CurrentVolumes, AreUnknownInAMegabyteOfGarbage) {
    RecoveryMachine machine;
    machine.tool(RecoveryMachine::pvdisplay).on("/sbin/pvdisplay -c").prints_bytes(1 << 20);
    const Result result = volumes(machine);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(lines_of(result.out), SizeIs(testing::Gt(1000U)));
}

} // namespace
} // namespace zav::test
