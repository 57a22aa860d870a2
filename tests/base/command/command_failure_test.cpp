// SPDX-License-Identifier: MIT
// The log line of a failed command.
#include "base/codes.h"
#include "base/command.h"
#include "base/command/real_tools_root.h"
#include "fixtures/library.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace zav {
namespace {

using test::LogLine;
using test::PrivateRoot;
using test::RealToolsRoot;
using test::Result;
using testing::IsEmpty;
using testing::MatchesRegex;

// The full texts in the log, without the reason, which is not reliable.
std::vector<std::string> logged(const PrivateRoot& root) {
    std::vector<std::string> texts;
    for (const LogLine& line : root.log()) {
        // Of a failure without its reason.
        const bool is_failure = line.text.starts_with("system(");
        texts.push_back(is_failure ? line.text.substr(0, line.text.find('\'')) + "'" : line.text);
    }
    return texts;
}

constexpr auto exited_with_1 = static_cast<WaitStatus>(1 << 8);

std::string logged_for(int status, FailureWording wording = FailureWording::standard) {
    PrivateRoot root;
    root.call([=] {
        errno = ENOENT;
        return log_command_failure("/sbin/tool -a > /dev/null", static_cast<WaitStatus>(status),
                                   wording);
    });
    const std::vector<LogLine> log = root.log();
    return log.size() == 1 ? log[0].text : "not one line";
}

TEST(CommandFailure, NamesCommandEndStatusAndReason) {
    EXPECT_EQ(logged_for(3 << 8), "system(\"/sbin/tool -a > /dev/null\") return normal with "
                                  "exit(3) for 'No such file or directory'");
}

TEST(CommandFailure, EndsInALineEndOfItsOwn) {
    PrivateRoot root;
    root.call([] { return log_command_failure("/sbin/tool", exited_with_1); });
    EXPECT_THAT(root.read("/var/log/log.libzav"), testing::EndsWith("'\n\n"));
}

TEST(CommandFailure, HasAWordingWithoutTheBlankBeforeFor) {
    EXPECT_EQ(logged_for(256, FailureWording::no_blank_before_for),
              "system(\"/sbin/tool -a > /dev/null\") return normal with exit(1)for 'No such file "
              "or directory'");
}

TEST(CommandFailure, HasAWordingWithoutBlanksAroundFor) {
    EXPECT_EQ(logged_for(256, FailureWording::no_blanks_around_for),
              "system(\"/sbin/tool -a > /dev/null\") return normal with exit(1)for'No such file "
              "or directory'");
}

TEST(CommandFailure, HasAWordingWithoutTheBlankBeforeReturn) {
    EXPECT_EQ(logged_for(256, FailureWording::no_blank_before_return),
              "system(\"/sbin/tool -a > /dev/null\")return normal with exit(1) for 'No such file "
              "or directory'");
}

TEST(CommandFailure, BySignalIsUnnormalWithExit0) {
    EXPECT_THAT(logged_for(9), testing::HasSubstr(" return unnormal with exit(0) for "));
    EXPECT_THAT(logged_for(11 | 0x80), testing::HasSubstr(" return unnormal with exit(0) for "));
}

TEST(CommandFailure, IsNormalWhenTheLowestSevenBitsAreZero) {
    EXPECT_THAT(logged_for(0x80), testing::HasSubstr(" return normal with exit(0) for "));
}

TEST(CommandFailure, WithoutAShellIsUnnormalWithExit255) {
    EXPECT_THAT(logged_for(-1), testing::HasSubstr(" return unnormal with exit(255) for "));
}

TEST(CommandFailure, ByTheHighestExitStatusIsNormal) {
    EXPECT_THAT(logged_for(255 << 8), testing::HasSubstr(" return normal with exit(255) for "));
}

TEST(CommandFailure, TakesPercentSignsAsTheyAre) {
    PrivateRoot root;
    root.call([] { return log_command_failure("/sbin/tool %s%n", exited_with_1); });
    EXPECT_THAT(logged(root), testing::ElementsAre(
                                  "system(\"/sbin/tool %s%n\") return normal with exit(1) for '"));
}

TEST(RunAndLog, LogsNothingForACommandThatWorks) {
    RealToolsRoot root;
    EXPECT_EQ(root.call([] { return run_and_log("/usr/local/bin/true"); }).returned, 0);
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(RunAndLog, LogsAFailureOnceAndReturnsItsStatus) {
    RealToolsRoot root;
    root.script("/sbin/tool", "exit 3");
    EXPECT_EQ(root.call([] { return run_and_log("/sbin/tool -a"); }).returned, 3 << 8);
    EXPECT_THAT(logged(root),
                testing::ElementsAre("system(\"/sbin/tool -a\") return normal with exit(3) for '"));
}

TEST(RunAndLog, LogsAKilledTool) {
    RealToolsRoot root;
    root.script("/sbin/tool", "kill -9 $$");
    EXPECT_EQ(root.call([] { return run_and_log("/sbin/tool"); }).returned, 9);
    EXPECT_THAT(logged(root),
                testing::ElementsAre("system(\"/sbin/tool\") return unnormal with exit(0) for '"));
}

TEST(RunAndLog, LogsAMissingTool) {
    RealToolsRoot root;
    root.call([] { return run_and_log("/sbin/missing"); });
    EXPECT_THAT(logged(root), testing::ElementsAre(
                                  "system(\"/sbin/missing\") return normal with exit(127) for '"));
}

TEST(RunAndLog, UsesTheWordingOfItsCaller) {
    RealToolsRoot root;
    root.call(
        [] { return run_and_log("/usr/local/bin/false", FailureWording::no_blank_before_return); });
    EXPECT_THAT(
        logged(root),
        testing::ElementsAre("system(\"/usr/local/bin/false\")return normal with exit(1) for '"));
}

TEST(RunAndLog, NamesTheWholeCommandThoughACutOneRan) {
    RealToolsRoot root;
    root.script("/sbin/tool", "exit 3");
    const std::string command = "/sbin/tool " + std::string(400, 'x');
    root.call([&command] { return run_and_log(command); });
    EXPECT_THAT(logged(root), testing::ElementsAre("system(\"" + command +
                                                   "\") return normal with exit(3) for '"));
}

TEST(RunOrFail, GivesZeroOrTheCodeOfAFailedCommand) {
    RealToolsRoot root;
    root.script("/sbin/tool", "exit $1");
    EXPECT_EQ(root.call([] { return run_or_fail("/sbin/tool 0"); }).returned, 0);
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_EQ(root.call([] { return run_or_fail("/sbin/tool 1"); }).returned, -11000);
    EXPECT_THAT(logged(root),
                testing::ElementsAre("system(\"/sbin/tool 1\") return normal with exit(1) for '"));
}

TEST(RunOrFail, FailsForAKilledTool) {
    RealToolsRoot root;
    root.script("/sbin/tool", "kill -9 $$");
    EXPECT_EQ(root.call([] { return run_or_fail("/sbin/tool"); }).returned, Code::command_failed);
}

TEST(RunOrFail, RunsACommandOfPlainNames) {
    RealToolsRoot root;
    root.script("/sbin/tool", "exit $1");
    const auto run = [&root](const char* status) {
        return root
            .call([=] {
                return run_or_fail({"data", "po-ol.1"}, std::string("/sbin/tool ") + status);
            })
            .returned;
    };
    EXPECT_EQ(run("0"), 0);
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_EQ(run("3"), -11000);
    EXPECT_THAT(logged(root),
                testing::ElementsAre("system(\"/sbin/tool 3\") return normal with exit(3) for '"));
}

TEST(RunOrFail, RunsNothingWhenOneNameIsNotPlain) {
    for (const char* name : {"a;b", "a b", "", "-f", "..", "a/b", "$a"}) {
        RealToolsRoot root;
        root.script("/sbin/tool", "echo > /tmp/ran");
        const auto first = [=] { return run_or_fail({name, "pool"}, "/sbin/tool x"); };
        const auto last = [=] { return run_or_fail({"data", name}, "/sbin/tool y"); };
        EXPECT_EQ(root.call(first).returned, -11000) << name;
        EXPECT_EQ(root.call(last).returned, -11000) << name;
        EXPECT_FALSE(root.exists("/tmp/ran")) << name;
        EXPECT_THAT(
            logged(root),
            testing::ElementsAre(
                "system(\"/sbin/tool x\") return unnormal with exit(255) for '",
                std::string("'/sbin/tool x' was not run: '") + name + "' is not a plain name",
                "system(\"/sbin/tool y\") return unnormal with exit(255) for '",
                std::string("'/sbin/tool y' was not run: '") + name + "' is not a plain name"));
    }
}

TEST(RunOrFail, RunsNothingWhoseEndWouldBeDamaged) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo > /tmp/ran");
    const auto run = [&root](std::size_t length) {
        const std::string start = "/sbin/tool ";
        const std::string command = start + std::string(length - start.size(), 'x');
        return root.call([&] { return run_or_fail({"name"}, command); }).returned;
    };
    EXPECT_EQ(run(253), -11000); // "2" would become an argument
    EXPECT_EQ(run(256), -11000);
    EXPECT_FALSE(root.exists("/tmp/ran"));
    EXPECT_EQ(run(241), 0);
    EXPECT_TRUE(root.exists("/tmp/ran"));
}

} // namespace
} // namespace zav
