// SPDX-License-Identifier: MIT
// What the program hands to its children and to the log, whatever command it runs.
#include "base/command/real_tools_root.h"
#include "fixtures/library.h"
#include "private_root.h"

#include <csignal>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::LogLine;
using test::PrivateRoot;
using test::RealToolsRoot;
using test::Result;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(ChildOfTheProgram, HasNoneThatTheProgramInherited) {
    RealToolsRoot root;
    root.script("/bin/cat", "exec /usr/local/bin/ls /.harness/proc/self/fd > /tmp/seen");
    root.run({"mdmanage", "--display"},
             {.descriptors = {{3, "/tmp/a"}, {7, "/tmp"}, {200, "/tmp/b"}}});
    EXPECT_EQ(root.read("/tmp/seen"), "0\n1\n2\n3\n");
}

TEST(ChildOfTheProgram, HasStandardDescriptorsThoughTheProgramHadNone) {
    RealToolsRoot root;
    root.script("/bin/cat", "exec /usr/local/bin/ls /.harness/proc/self/fd > /tmp/seen");
    root.run({"mdmanage", "--display"}, {.closed = {0, 1, 2}});
    EXPECT_EQ(root.read("/tmp/seen"), "0\n1\n2\n3\n");
}

TEST(ChildOfTheProgram, WorksInTheRootDirectory) {
    RealToolsRoot root;
    root.script("/bin/cat", "pwd > /tmp/seen");
    root.run({"mdmanage", "--display"}, {.working_directory = "/usr/lib"});
    EXPECT_EQ(root.read("/tmp/seen"), "/\n");
}

TEST(ChildOfTheProgram, IsNeverFoundInTheDirectoryOfTheCaller) {
    RealToolsRoot root;
    root.script("/home/cat", "echo found > /tmp/seen").remove("/bin/cat");
    root.run({"mdmanage", "--display"},
             {.environment = {{"PATH", std::nullopt}}, .working_directory = "/home"});
    EXPECT_FALSE(root.exists("/tmp/seen"));
}

TEST(ChildOfTheProgram, ReportsItsStatusThoughChildrenAreIgnored) {
    RealToolsRoot root;
    root.script("/bin/cat", "exit 3");
    root.run({"mdmanage", "--display"}, {.ignored_signals = {SIGCHLD}});
    EXPECT_THAT(root.log(),
                Contains(Field(&test::LogLine::text, HasSubstr("return normal with exit(3)"))));
}

TEST(LogOfTheProgram, ChangesNoResultWhenItIsMissing) {
    PrivateRoot with_log;
    with_log.allow_unexpected();
    const Result logged = with_log.run({"mdmanage", "--display"});
    PrivateRoot without_log;
    without_log.remove("/var/log").allow_unexpected();
    const Result not_logged = without_log.run({"mdmanage", "--display"});
    EXPECT_EQ(logged.exit_status, not_logged.exit_status);
    EXPECT_EQ(logged.out, not_logged.out);
    EXPECT_EQ(logged.err, "");
    EXPECT_THAT(not_logged.err, StartsWith("Bummer, can't print: "));
}

TEST(LogOfTheProgram, HasItsNameAndPid) {
    PrivateRoot root; // without any tools
    root.allow_unexpected();
    root.run({"mdmanage", "--display"});
    const std::vector<LogLine> log = root.log();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.front().level, "ERROR");
    EXPECT_EQ(log.front().process, "zavbox");
    EXPECT_EQ(log.front().pid, 2);
}

} // namespace
} // namespace zav
