// SPDX-License-Identifier: MIT
// The tree, the journal, and the ways to start a run.
#include "private_root.h"
#include "victim_root.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

TEST(Tree, IsWrittenAndReadByThePathsSeenInside) {
    PrivateRoot root;
    root.file("/etc/a/b", "text", 0640).directory("/var/lib", 0700).symlink("a/b", "/etc/link");
    root.fifo("/tmp/pipe", 0620);
    EXPECT_EQ(root.read("/etc/link"), "text");
    EXPECT_EQ(root.mode("/etc/a/b"), 0640u);
    EXPECT_EQ(root.mode("/var/lib"), 0700u);
    EXPECT_EQ(root.mode("/tmp"), 01777u);
    EXPECT_EQ(root.mode("/tmp/pipe"), 0620u);
    EXPECT_THAT(root.list("/etc"), ElementsAre("a", "link"));
    EXPECT_THAT(root.tmp(), ElementsAre("pipe"));
    root.remove("/etc/a");
    EXPECT_FALSE(root.exists("/etc/a"));
    EXPECT_TRUE(root.exists("/etc/link"));
    EXPECT_THROW(root.read("/etc/a/b"), std::runtime_error);
}

TEST(Tree, IsGoneAfterwardsEvenWhereItsOwnerMayNotRead) {
    std::filesystem::path host;
    {
        PrivateRoot root;
        root.directory("/etc/closed/inner").directory("/etc/closed", 0);
        host = root.host_path("/");
        EXPECT_TRUE(std::filesystem::exists(host));
    }
    EXPECT_FALSE(std::filesystem::exists(host.parent_path().parent_path()));
}

TEST(Run, SeesTheTreeAsItsRoot) {
    VictimRoot root;
    root.file("/etc/greeting", "hello\n");
    const Result result = root.run({"system", "/.harness/busybox cat /etc/greeting"});
    EXPECT_EQ(result.out, "hello\n");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.signal, 0);
    root.run({"write", "/etc/written", "3"});
    EXPECT_EQ(root.read("/etc/written"), "xxx");
}

TEST(Run, ReportsExitStatusAndSignal) {
    VictimRoot root;
    EXPECT_EQ(root.run({"exit", "201"}).exit_status, 201);
    const Result killed = root.run({"die", std::to_string(SIGABRT)});
    EXPECT_EQ(killed.signal, SIGABRT);
    EXPECT_EQ(killed.exit_status, -1);
}

TEST(Run, JournalsCommandsAsTheyWereGiven) {
    VictimRoot root;
    root.run({"system", ":"});
    const Result result = root.run({"system", "echo a  b > /tmp/x.AbC123 2>> /dev/null",
                                    "echo 'two\nlines'", "(exit 3); :", "no-such-program"});
    EXPECT_THAT(result.commands,
                ElementsAre("echo a  b > /tmp/x.AbC123 2>> /dev/null", "echo 'two\nlines'",
                            "(exit 3); :", "no-such-program"));
    ASSERT_THAT(result.commands, SizeIs(4));
    EXPECT_EQ(result.commands_without_redirection()[0], "echo a  b");
    EXPECT_EQ(result.commands_with_templates()[0], "echo a  b > /tmp/x.XXXXXX 2>> /dev/null");
    EXPECT_EQ(root.read("/tmp/x.AbC123"), "a b\n");
    EXPECT_EQ(result.out, "two\nlines\n");
    EXPECT_THAT(result.err, HasSubstr("no-such-program"));
}

TEST(Run, HasUidZeroAndSmallProcessIds) {
    VictimRoot root;
    EXPECT_EQ(root.run({"report", "uid"}).out, "0\n");
    const Result result = root.run({"report", "pid"});
    EXPECT_EQ(result.out, "2\n");
    EXPECT_EQ(result.pid, 2);
}

TEST(Run, GetsTheProcessIdItAsksFor) {
    VictimRoot root;
    EXPECT_EQ(root.run({"report", "pid"}, {.pid = 4711}).out, "4711\n");
}

TEST(Run, HasNoDescriptorsButTheStandardOnesAndThoseOfItsOptions) {
    VictimRoot root;
    EXPECT_EQ(root.run({"report", "descriptors"}).out, "0\n1\n2\n");
    EXPECT_EQ(root.run({"report", "descriptors"},
                       {.descriptors = {{7, "/etc/seven"}, {9, "/tmp"}}, .closed = {0}})
                  .out,
              "1\n2\n7\n9\n");
}

TEST(Run, HasAMinimalEnvironmentThatOptionsChange) {
    VictimRoot root;
    const std::string usual = root.run({"report", "environment"}).out;
    EXPECT_THAT(usual, HasSubstr("PATH=/bin:/sbin:/usr/bin:/usr/sbin:/usr/local/bin"));
    EXPECT_THAT(usual, HasSubstr("TZ=UTC0\n"));
    const std::string changed =
        root.run({"report", "environment"}, {.environment = {{"PATH", std::nullopt}, {"A", "b"}}})
            .out;
    EXPECT_THAT("\n" + changed, Not(HasSubstr("\nPATH=")));
    EXPECT_THAT(changed, HasSubstr("A=b\n"));
}

TEST(Run, ReadsTheInputOfItsOptions) {
    VictimRoot root;
    EXPECT_EQ(root.run({"report", "input"}).out, "");
    EXPECT_EQ(root.run({"report", "input"}, {.input = "line\nlast"}).out, "line\nlast");
}

TEST(Run, FailsToWriteToAFullOrClosedOutput) {
    VictimRoot root;
    EXPECT_EQ(root.run({"report", "uid"}, {.descriptors = {{1, "/dev/full"}}}).exit_status, 1);
    EXPECT_EQ(root.run({"report", "uid"}, {.closed = {1}}).exit_status, 1);
}

TEST(Run, IsPowerlessUnderAnotherUid) {
    VictimRoot root;
    root.file("/etc/secret", "text", 0000);
    EXPECT_EQ(root.run({"report", "uid"}, {.uid = 65534}).out, "65534\n");
    EXPECT_EQ(root.run({"write", "/etc/secret", "1"}, {.uid = 65534}).exit_status, EACCES);
    EXPECT_EQ(root.run({"write", "/etc/secret", "1"}).exit_status, 0);
}

TEST(Run, KeepsResourceLimitsWithoutLosingTheJournal) {
    VictimRoot root;
    const RunOptions no_growth = {.limits = {{RLIMIT_FSIZE, 0}}, .ignored_signals = {SIGXFSZ}};
    EXPECT_EQ(root.run({"write", "/tmp/x", "1"}, no_growth).exit_status, EFBIG);
    root.tool("/bin/tool").any();
    EXPECT_THAT(root.run({"system", "/bin/tool"}, no_growth).commands, ElementsAre("/bin/tool"));
}

TEST(Run, StartsInTheDirectoryAndWithTheNameOfItsOptions) {
    VictimRoot root;
    EXPECT_EQ(root.run({"report", "directory"}).out, "/\n");
    EXPECT_EQ(root.run({"report", "directory"}, {.working_directory = "/etc"}).out, "/etc\n");
    EXPECT_EQ(root.run({}).out, "zavbox\n");
    EXPECT_EQ(root.run({}, {.argv0 = "mdmanage"}).out, "mdmanage\n");
}

TEST(Run, FailsTheTestWhenItTakesTooLong) {
    EXPECT_NONFATAL_FAILURE(
        {
            VictimRoot root;
            const Result result = root.run({"wait"}, {.time_limit = std::chrono::milliseconds(50)});
            EXPECT_EQ(result.exit_status, -1);
        },
        "time limit");
}

TEST(Run, ThrowsWhenTheProgramIsNotThere) {
    PrivateRoot root;
    EXPECT_THROW(root.run({}, {.program = "/usr/bin/nothing"}), std::runtime_error);
    root.file("/usr/bin/data", "\1\2\3", 0644);
    EXPECT_THROW(root.run({}, {.program = "/usr/bin/data"}), std::runtime_error);
}

TEST(Run, IsSentSignals) {
    VictimRoot root;
    StartedRun run = root.start({"wait"});
    run.signal(SIGTERM);
    EXPECT_EQ(run.wait().signal, SIGTERM);
}

TEST(Run, LeavesNothingRunning) {
    VictimRoot root;
    EXPECT_FALSE(root.run({"exit", "0"}).left_processes);
    EXPECT_TRUE(root.run({"system", "sleep 30 &"}).left_processes);
}

TEST(Run, KeepsItsJournalApartFromARunAtTheSameTime) {
    VictimRoot root;
    root.tool("/bin/first").any().does("touch /tmp/first; until [ -e /tmp/second ]; do :; done");
    root.tool("/bin/second").any().does("touch /tmp/second; until [ -e /tmp/first ]; do :; done");
    StartedRun first = root.start({"system", "/bin/first"});
    StartedRun second = root.start({"system", "/bin/second"});
    EXPECT_THAT(second.wait().commands, ElementsAre("/bin/second"));
    EXPECT_THAT(first.wait().commands, ElementsAre("/bin/first"));
}

TEST(Run, CannotWriteToTheHostThroughItsMounts) {
    VictimRoot root;
    const auto refused = testing::AnyOf(EROFS, EACCES); // EACCES if the caller is not root
    EXPECT_THAT(root.run({"may-write", "/usr/lib/os-release"}).exit_status, refused);
    EXPECT_THAT(root.run({"may-write", "/bin/sh"}).exit_status, refused);
    EXPECT_EQ(root.run({"may-write", "/etc"}).exit_status, 0);
    root.read_only("/etc");
    EXPECT_EQ(root.run({"write", "/etc/x", "1"}).exit_status, EROFS);
    EXPECT_EQ(root.run({"write", "/tmp/x", "1"}).exit_status, 0);
}

TEST(Call, ReturnsTheWholeResultOfTheFunction) {
    PrivateRoot root;
    const Result result = root.call([] {
        std::puts("printed");
        std::fputs("complained", stderr);
        return -11000;
    });
    EXPECT_EQ(result.returned, -11000);
    EXPECT_TRUE(result.has_returned);
    EXPECT_EQ(result.out, "printed\n");
    EXPECT_EQ(result.err, "complained");
    EXPECT_EQ(result.exit_status, 0);
}

TEST(Call, SeesAFunctionThatExits) {
    PrivateRoot root;
    const Result result = root.call([]() -> int { std::exit(7); });
    EXPECT_FALSE(result.has_returned);
    EXPECT_EQ(result.exit_status, 7);
}

TEST(Call, JournalsTheCommandsOfTheFunction) {
    PrivateRoot root;
    const Result result = root.call([] { return std::system("exit 3"); });
    EXPECT_EQ(result.returned, 3 << 8);
    EXPECT_THAT(result.commands, ElementsAre("exit 3"));
}

TEST(Call, ReportsExpectationsThatFailInside) {
    EXPECT_NONFATAL_FAILURE(
        {
            PrivateRoot root;
            root.call([] {
                EXPECT_EQ(1, 2) << "inner";
                return 0;
            });
        },
        "inner");
}

TEST(Call, ThrowsWhatTheFunctionThrew) {
    PrivateRoot root;
    EXPECT_THROW(root.call([]() -> int { throw std::runtime_error("x"); }), std::runtime_error);
}

} // namespace
} // namespace zav::test
