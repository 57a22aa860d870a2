// SPDX-License-Identifier: MIT
// What a run leaves behind: temporary files, changed files, log messages.
#include "private_root.h"
#include "victim_root.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(Leftovers, AreSeenInTmp) {
    VictimRoot root;
    root.run({"exit", "0"});
    EXPECT_THAT(root.tmp(), IsEmpty());
    root.run({"write", "/tmp/dfinfo.abcdef", "1"});
    EXPECT_THAT(root.tmp(), ElementsAre("dfinfo.abcdef"));
}

TEST(Snapshot, ListsWhatARunCreatedChangedAndRemoved) {
    VictimRoot root;
    root.file("/etc/kept", "1").file("/etc/changed", "1").file("/etc/mode", "1");
    root.file("/var/run/gone", "1").symlink("a", "/tmp/link");
    const Snapshot before = root.snapshot();
    EXPECT_THAT(before.changes_to(root.snapshot()), IsEmpty());
    root.run({"system", "echo 2 > /etc/changed; chmod 600 /etc/mode; rm /var/run/gone",
              "ln -sfn b /tmp/link; mkdir /etc/new; echo x > /var/log/log.libzav"});
    EXPECT_THAT(before.changes_to(root.snapshot()),
                ElementsAre("changed /etc/changed", "changed /etc/mode", "created /etc/new",
                            "changed /tmp/link", "removed /var/run/gone"));
}

TEST(Log, IsEmptyWithoutAFile) {
    PrivateRoot root;
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(Log, IsSplitIntoMessages) {
    PrivateRoot root;
    root.file("/var/log/log.libzav",
              "Nov 20 10:11:12 0.1.2 ERROR zavbox[2]:mdmanage_main[7]: return with -127\n"
              "Nov  3 10:11:13 0.1.2 ERROR (null)[70000]:system(\"a\nb\") return normal\n\n"
              "Nov 20 10:11:14 0.1.2 debug zav[3]:debugged\n"
              "Nov 20 10:11:15 0.1.2 bare text\n");
    const std::vector<LogLine> lines = root.log();
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_EQ(lines[0].stamp, "Nov 20 10:11:12");
    EXPECT_EQ(lines[0].version, "0.1.2");
    EXPECT_EQ(lines[0].level, "ERROR");
    EXPECT_EQ(lines[0].process, "zavbox");
    EXPECT_EQ(lines[0].pid, 2);
    EXPECT_EQ(lines[0].text, "mdmanage_main[7]: return with -127");
    EXPECT_EQ(lines[1].process, "(null)");
    EXPECT_EQ(lines[1].pid, 70000);
    EXPECT_EQ(lines[1].text, "system(\"a\nb\") return normal");
    EXPECT_TRUE(lines[1].raw.ends_with("normal\n\n"));
    EXPECT_EQ(lines[2].level, "debug");
    EXPECT_EQ(lines[3].level, "");
    EXPECT_EQ(lines[3].text, "bare text");
}

TEST(Log, KeepsWhatHasNoStamp) {
    const std::vector<LogLine> lines = log_lines("garbage\nNov 20 10:11:12 0.1.2 text\n");
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(lines[0].stamp, "");
    EXPECT_EQ(lines[0].raw, "garbage\n");
    EXPECT_EQ(lines[1].text, "text");
}

TEST(Appears, WaitsForAFileOfARun) {
    VictimRoot root;
    StartedRun run = root.start({"system", "sleep 0.05; echo > /tmp/there; sleep 30"});
    EXPECT_TRUE(root.appears("/tmp/there"));
    EXPECT_FALSE(root.appears("/tmp/never", std::chrono::milliseconds(5)));
}

} // namespace
} // namespace zav::test
