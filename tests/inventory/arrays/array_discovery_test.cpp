// SPDX-License-Identifier: MIT
// The sources of the array list, alone and together: their commands, codes and messages, and what
// they leave behind.
#include "fixtures/array_root.h"
#include "fixtures/library.h"

#include <csignal>
#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

std::vector<std::string> names_of(const Discovery& found) {
    std::vector<std::string> names;
    for (const FoundArray& array : found.arrays) {
        names.push_back(array.name);
    }
    return names;
}

// One clean array of one disk.
class ArrayDiscovery : public testing::Test {
  protected:
    ArrayDiscovery() { root.disks(1).array("md1", "linear", "clean", 1, {{"sda", "in_sync\n"}}); }

    // The answer to all reads of /proc/mdstat; cat prints all other files.
    Rule cat_mdstat() {
        root.tool("/bin/cat").on_prefix("cat /proc/scsi/").does("cat \"$1\"").optional();
        return root.tool("/bin/cat").on("cat /proc/mdstat");
    }

    // The answer to the second read of /proc/mdstat, for the progress.
    Rule cat_mdstat_again() { return cat_mdstat().does("cat /proc/mdstat").then(); }

    ArrayRoot root;
};

TEST_F(ArrayDiscovery, FillsARecordFromAllItsSources) {
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.run.out, "");
    EXPECT_THAT(found.arrays,
                ElementsAre(FoundArray{"md1", "linear", "clean", "", 2, 0, "sda", "", "0"}));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(ArrayDiscovery, RunsItsCommandsInOrder) {
    root.array("md2", "linear", "clean", 0, {});
    EXPECT_THAT(root.discover().run.commands_with_templates(),
                ElementsAre("cat /proc/mdstat > /tmp/mdstat.XXXXXX 2>> /dev/null",
                            "/sbin/mdadm --detail /dev/md1 > /tmp/md1.XXXXXX 2>> /dev/null",
                            "/sbin/mdadm --detail /dev/md2 > /tmp/md2.XXXXXX 2>> /dev/null",
                            "cat /proc/scsi/mvSata/1 > /tmp/disk1.XXXXXX 2>> /dev/null",
                            "/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX 2>> /dev/null",
                            "cat /proc/mdstat > /tmp/mdstat.XXXXXX 2>> /dev/null"));
}

TEST_F(ArrayDiscovery, LeavesNothingBehind) {
    const Snapshot before = root.snapshot();
    root.discover();
    EXPECT_THAT(before.changes_to(root.snapshot()), IsEmpty());
}

TEST_F(ArrayDiscovery, TakesThisWayForEveryModelButOne) {
    for (const char* model : {"VEL7206P", "VEL7205", "VEL7205U1", "vel7205u"}) {
        root.model(model);
        EXPECT_THAT(names_of(root.discover()), ElementsAre("md1")) << model;
    }
}

TEST_F(ArrayDiscovery, TakesThisWayWhenTheModelCannotBeRead) {
    root.remove("/etc/sys_info");
    EXPECT_THAT(names_of(root.discover()), ElementsAre("md1"));
}

TEST_F(ArrayDiscovery, FindsNothingWhereThereIsNothing) {
    root.mdstat("Personalities : [raid1]\nunused devices: <none>\n");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays, IsEmpty());
}

TEST_F(ArrayDiscovery, KeepsTheOrderOfTheFile) {
    root.array("md0", "linear", "clean", 0, {}).array("md7", "linear", "clean", 0, {});
    EXPECT_THAT(names_of(root.discover()), ElementsAre("md1", "md0", "md7"));
}

TEST_F(ArrayDiscovery, CutsANameAt31Characters) {
    const std::string name = "md" + std::string(29, '1');
    root.mdstat(name + "2 : active\n").members(name, "0\n", {});
    root.detail(name).exits(1);
    EXPECT_THAT(names_of(root.discover()), ElementsAre(name));
}

TEST_F(ArrayDiscovery, NeverPutsANameThatIsNotPlainIntoACommand) {
    root.mdstat("md1;touch${IFS}/tmp/owned : active\nmd`touch` : active\nmd2|reboot : active\n");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays, IsEmpty());
    EXPECT_THAT(found.run.commands, Not(Contains(HasSubstr("mdadm"))));
}

// Names.

TEST_F(ArrayDiscovery, FailsWhenTheStatusCannotBePrinted) {
    cat_mdstat().exits(1);
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, -11000);
    EXPECT_EQ(found.run.out, "");
    EXPECT_THAT(found.run.commands, SizeIs(1));
    EXPECT_THAT(log_texts(root),
                ElementsAre(MatchesRegex("system\\(\"cat /proc/mdstat > /tmp/mdstat\\.[^ ]{6}\"\\) "
                                         "return normal with exit\\(1\\) for '.*'")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ArrayDiscovery, FailsWhenASignalEndsTheStatus) {
    cat_mdstat().killed_by(SIGKILL);
    EXPECT_EQ(root.discover().code, -11000);
    EXPECT_THAT(log_texts(root), ElementsAre(HasSubstr("return unnormal with exit(0)")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ArrayDiscovery, FailsWhenTheStatusIsMissing) {
    root.remove("/proc/mdstat");
    EXPECT_EQ(root.discover().code, -11000);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ArrayDiscovery, FailsWhenNoTemporaryFileCanBeMade) {
    root.read_only("/tmp");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, -11000);
    EXPECT_THAT(found.run.commands, IsEmpty());
}

TEST_F(ArrayDiscovery, FailsWhenTheNamesCannotBeOpened) {
    cat_mdstat().does("rm -f /tmp/mdstat.*");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, -1033);
    EXPECT_THAT(found.run.out, MatchesRegex("cannot open /tmp/mdstat\\.[^ ]{6}\n"));
    EXPECT_THAT(log_texts(root),
                ElementsAre(MatchesRegex("get_mdinfo_from_proc:[0-9]+ return -1033 with No such "
                                         "file or directory")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ArrayDiscovery, ReadsAMegabyteOfGarbage) {
    cat_mdstat().prints_bytes(1 << 20);
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays, IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

// Members and progress in the whole list.

TEST_F(ArrayDiscovery, FailsWhenTheArraysDirectoryCannotBeOpened) {
    root.remove("/sys/block/md1");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, -1032);
    EXPECT_EQ(found.run.out, "cannot open dir /sys/block/md1/md\n");
    EXPECT_THAT(found.run.commands, SizeIs(4)); // the progress is not read any more
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ArrayDiscovery, SurvivesADiskListThatFails) {
    root.without_disk_controller();
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays,
                ElementsAre(FoundArray{"md1", "linear", "clean", "", 2, 0, "sda", "", ""}));
}

constexpr const char* rebuilding = "md1 : active raid5 sda[0]\n"
                                   "      2453504 blocks [3/2] [UU_]\n"
                                   "      [==>......]  recovery = 12.6% (123/456) finish=12.3min "
                                   "speed=12345K/sec\n";

TEST_F(ArrayDiscovery, ShowsTheProgressOfARebuild) {
    root.array("md1", "linear", "active, recovering", 1, {{"sda", "in_sync\n"}}).mdstat(rebuilding);
    EXPECT_EQ(root.discover().arrays.at(0).progress, "12.6%(12.00MB/s)");
}

TEST_F(ArrayDiscovery, ShowsNoProgressUnlessTheStateSaysSo) {
    root.mdstat(rebuilding);
    EXPECT_EQ(root.discover().arrays.at(0).progress, "");
}

TEST_F(ArrayDiscovery, ShowsNoProgressOfAnArrayThatTurnsOutInactive) {
    root.array("md1", "linear", "active, recovering", 2, {{"sda", "in_sync\n"}}).mdstat(rebuilding);
    const FoundArray found = root.discover().arrays.at(0);
    EXPECT_EQ(found.status, "inactive");
    EXPECT_EQ(found.progress, "");
}

TEST_F(ArrayDiscovery, CutsTheProgressAt31Characters) {
    root.array("md1", "linear", "recovering", 1, {{"sda", "in_sync\n"}});
    root.mdstat("md1 : active\n\n[>] recovery = " + std::string(29, '1') +
                "% (1/2) finish=1min speed=12345K/sec\n");
    EXPECT_EQ(root.discover().arrays.at(0).progress, std::string(29, '1') + "%(");
}

TEST_F(ArrayDiscovery, FailsWhenTheProgressCannotBePrinted) {
    cat_mdstat_again().exits(2);
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, -11000);
    EXPECT_THAT(names_of(found), ElementsAre("md1"));
    EXPECT_THAT(log_texts(root), ElementsAre(HasSubstr("return normal with exit(2) for ")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ArrayDiscovery, FailsWhenTheProgressCannotBeOpened) {
    cat_mdstat_again().does("rm -f /tmp/mdstat.*");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, -1033);
    EXPECT_THAT(found.run.out, MatchesRegex("cannot open /tmp/mdstat\\.[^ ]{6}\n"));
    EXPECT_THAT(log_texts(root),
                ElementsAre(MatchesRegex("get_mdinfo_from_mdstat:[0-9]+ return -1033 with No such "
                                         "file or directory")));
}

TEST(ArrayProgressSource, AsksForTheProgressOfAllArraysOnce) {
    ArrayRoot root;
    root.mdstat(rebuilding);
    const Discovery found = root.discover([](mdinfo_list& list) {
        add_array(list, "md1", "raid5", "recovering");
        add_array(list, "md2", "raid5", "recovering");
        return get_mdinfo_from_mdstat(list, printed());
    });
    EXPECT_EQ(found.arrays.at(0).progress, "12.6%(12.00MB/s)");
    EXPECT_EQ(found.arrays.at(1).progress, "");
    EXPECT_THAT(found.run.commands_without_redirection(), ElementsAre("cat /proc/mdstat"));
}

// The model with a RAID controller.

class ControllerDiscovery : public testing::Test {
  protected:
    Rule scan() {
        return root.tool(ArrayRoot::vexadm).on("/usr/local/bin/vexadm --display --scan");
    }
    ArrayRoot root{"VEL7205U"};
};

TEST_F(ControllerDiscovery, ReadsTheControllersScanAndNothingElse) {
    root.without_disk_controller().remove("/proc/mdstat");
    scan().prints("head\n====\nmd0 /5/3/Normal/1862/sda/#1 #2 #3\n");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays,
                ElementsAre(FoundArray{"md0", "raid5", "Normal", "", 1862, 0, "1,2,3", "", "sda"}));
    EXPECT_THAT(found.run.commands_with_templates(),
                ElementsAre("/usr/local/bin/vexadm --display --scan > /tmp/mdstat.XXXXXX "
                            "2>> /dev/null"));
    EXPECT_THAT(root.tmp(), IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(ControllerDiscovery, FailsWhenTheToolFails) {
    scan().prints("====\nmd0 /5\n").exits(3);
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, -11000);
    EXPECT_THAT(found.arrays, IsEmpty());
    EXPECT_THAT(
        log_texts(root),
        ElementsAre(MatchesRegex("system\\(\"/usr/local/bin/vexadm --display --scan > "
                                 "/tmp/mdstat\\.[^ ]{6}\"\\) return normal with exit\\(3\\) for "
                                 "'.*'")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ControllerDiscovery, FailsWhenASignalEndsTheTool) {
    scan().killed_by(SIGTERM);
    EXPECT_EQ(root.discover().code, -11000);
    EXPECT_THAT(log_texts(root), ElementsAre(HasSubstr("return unnormal with exit(0)")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ControllerDiscovery, FailsWithoutTheTool) {
    EXPECT_EQ(root.discover().code, -11000);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ControllerDiscovery, FailsWithoutAMessageWhenTheOutputCannotBeOpened) {
    scan().does("rm -f /tmp/mdstat.*");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, -1030);
    EXPECT_EQ(found.run.out, "");
    EXPECT_THAT(log_texts(root),
                ElementsAre(MatchesRegex("get_mdinfo_from_vexadm:[0-9]+ return -1030 with No such "
                                         "file or directory")));
}

TEST_F(ControllerDiscovery, FindsNothingInAnEmptyScan) {
    scan();
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays, IsEmpty());
}

TEST_F(ControllerDiscovery, FindsNothingInAMegabyteOfGarbage) {
    scan().prints_bytes(1 << 20);
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays, IsEmpty());
}

// The source for systems without /proc/mdstat.

TEST(PartitionSource, NamesTheArraysOfTheKernelsTable) {
    ArrayRoot root;
    root.file("/proc/partitions", recorded("proc_partitions_full").text);
    const Discovery found = root.discover(get_mdinfo_from_partitions);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(names_of(found), ElementsAre("md0", "md1"));
    EXPECT_EQ(found.arrays.at(0).status, "inactive");
    EXPECT_THAT(found.run.commands, IsEmpty());
}

TEST(PartitionSource, FindsNoArraysWhereTheTableHasNone) {
    ArrayRoot root;
    root.file("/proc/partitions", recorded("partitions_disks").text);
    EXPECT_THAT(root.discover(get_mdinfo_from_partitions).arrays, IsEmpty());
}

TEST(PartitionSource, FailsWithoutTheTable) {
    ArrayRoot root;
    const Discovery found = root.discover(get_mdinfo_from_partitions);
    EXPECT_EQ(found.code, -1020);
    EXPECT_THAT(log_texts(root),
                ElementsAre(MatchesRegex("get_mdinfo_from_partitions:[0-9]+ return -1020 with No "
                                         "such file or directory")));
}

} // namespace
} // namespace zav::test
