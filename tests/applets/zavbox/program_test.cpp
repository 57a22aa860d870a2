// SPDX-License-Identifier: MIT
// What the program hands to its children and to the log, whatever command it runs.
#include "base/command/real_tools_root.h"
#include "fixtures/library.h"
#include "private_root.h"

#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::LogLine;
using test::PrivateRoot;
using test::RealToolsRoot;
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

// The signals of a write, as bits in /proc/PID/status.
constexpr unsigned long broken_pipe_bit = 1UL << (SIGPIPE - 1);
constexpr unsigned long file_size_bit = 1UL << (SIGXFSZ - 1);

// The ignored signals of the program, and of its tool.
std::pair<unsigned long, unsigned long> ignored_signals(const std::set<int>& by_caller) {
    RealToolsRoot root;
    root.script("/bin/cat", "grep SigIgn /.harness/proc/$PPID/status > /tmp/program\n"
                            "grep SigIgn /.harness/proc/self/status > /tmp/tool");
    root.run({"mdmanage", "--display"}, {.ignored_signals = by_caller});
    const auto bits = [&root](const char* path) {
        return std::stoul(root.read(path).substr(std::strlen("SigIgn:\t")), nullptr, 16);
    };
    return {bits("/tmp/program"), bits("/tmp/tool")};
}

TEST(SignalsOfAWrite, AreIgnoredByTheProgramAndNotByItsTools) {
    EXPECT_EQ(ignored_signals({}), std::pair(broken_pipe_bit | file_size_bit, 0UL));
}

TEST(SignalsOfAWrite, ThatTheCallerIgnoresAreIgnoredByTheTools) {
    EXPECT_EQ(ignored_signals({SIGPIPE}),
              std::pair(broken_pipe_bit | file_size_bit, broken_pipe_bit));
    EXPECT_EQ(ignored_signals({SIGXFSZ}),
              std::pair(broken_pipe_bit | file_size_bit, file_size_bit));
}

TEST(UmaskOfTheProgram, IsTheUsualOneWhateverTheCallersIs) {
    for (const mode_t umask : {0U, 077U, 0777U}) {
        RealToolsRoot root;
        root.script("/bin/cat", "umask > /tmp/seen; chmod 600 /tmp/seen");
        root.run({"mdmanage", "--display"}, {.umask = umask});
        EXPECT_EQ(root.read("/tmp/seen"), "0022\n");
    }
}

TEST(LogOfTheProgram, ChangesNoResultWhenItIsMissing) {
    PrivateRoot with_log;
    with_log.allow_unexpected();
    const test::Result logged = with_log.run({"mdmanage", "--display"});
    PrivateRoot without_log;
    without_log.remove("/var/log").allow_unexpected();
    const test::Result not_logged = without_log.run({"mdmanage", "--display"});
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
