// SPDX-License-Identifier: MIT
// Stand-in tools and their rules.
#include "private_root.h"
#include "victim_root.h"

#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <iterator>
#include <sstream>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Runs one command with system(); returns its output and its wait status.
Result run_command(PrivateRoot& root, const std::string& command) {
    return root.call([&command] { return std::system(command.c_str()); });
}

TEST(StandInTool, AnswersByTheTextWithoutRedirections) {
    PrivateRoot root;
    root.tool("/sbin/mdadm").on("/sbin/mdadm -C  /dev/md1 -l 5").prints("made\n").exits(1);
    const Result result =
        run_command(root, "/sbin/mdadm -C  /dev/md1 -l 5 > /tmp/out 2>> /dev/null");
    EXPECT_EQ(result.returned, 1 << 8);
    EXPECT_EQ(root.read("/tmp/out"), "made\n");
}

TEST(StandInTool, IsFoundThroughThePath) {
    PrivateRoot root;
    root.tool("/usr/local/bin/special").on("special a").prints("found");
    EXPECT_EQ(run_command(root, "special a").out, "found");
}

TEST(StandInTool, TakesThePlaceOfAPlainTool) {
    PrivateRoot root;
    root.file("/etc/text", "the file");
    EXPECT_EQ(run_command(root, "cat /etc/text").out, "the file");
    root.tool("/bin/cat").on("cat /etc/text").prints("the rule");
    EXPECT_EQ(run_command(root, "cat /etc/text").out, "the rule");
}

TEST(StandInTool, GivesWayToADefaultOnlyWhereTheTestHasNoRuleOfItsKind) {
    PrivateRoot root;
    Tool tool = root.tool("/bin/tool");
    tool.on("/bin/tool a").prints("test");
    tool.on("/bin/tool a").prints("default").as_default();
    tool.on_prefix("/bin/tool b").prints("test");
    tool.on_prefix("/bin/tool b ").prints("default").as_default();
    tool.on("/bin/tool c").prints("default").as_default();
    tool.any().prints("test");
    EXPECT_EQ(run_command(root, "/bin/tool a").out, "test");
    EXPECT_EQ(run_command(root, "/bin/tool b c").out, "test");
    EXPECT_EQ(run_command(root, "/bin/tool c").out, "default");
}

TEST(PlainTools, AreBusybox) {
    PrivateRoot root;
    root.file("/etc/a", "1\n").file("/etc/b", "2\n");
    EXPECT_EQ(run_command(root, "cat /etc/a /etc/b").out, "1\n2\n");
    EXPECT_EQ(run_command(root, "cat /etc/a /etc").returned, 1 << 8);
    EXPECT_EQ(run_command(root, "cat /etc/none").returned, 1 << 8);
    EXPECT_EQ(run_command(root, "cat /etc/a | grep -c 1").out, "1\n");
    EXPECT_EQ(run_command(root, "mkdir /etc/new").returned, 0);
    EXPECT_TRUE(root.exists("/etc/new"));
}

TEST(StandInTool, DoesNotExistUnlessDeclared) {
    PrivateRoot root;
    EXPECT_EQ(run_command(root, "/sbin/mdadm --detail /dev/md1").returned, 127 << 8);
}

TEST(StandInTool, FailsTheTestForACommandWithoutARule) {
    PrivateRoot root;
    root.tool("/sbin/mdadm").on("/sbin/mdadm --detail /dev/md1");
    Result result;
    EXPECT_NONFATAL_FAILURE(
        result = run_command(root, "/sbin/mdadm --detail  /dev/md1 > /tmp/x"),
        "without a rule for this command: /sbin/mdadm: /sbin/mdadm --detail  /dev/md1\n");
    EXPECT_EQ(result.returned, 127 << 8);
}

TEST(StandInTool, MayBeAllowedToGetCommandsWithoutARule) {
    PrivateRoot root;
    root.allow_unexpected();
    root.tool("/sbin/mdadm");
    EXPECT_EQ(run_command(root, "/sbin/mdadm").returned, 127 << 8);
}

TEST(StandInTool, PrefersExactRulesToPrefixesAndThoseToAny) {
    PrivateRoot root;
    Tool tool = root.tool("/bin/tool");
    tool.any().prints("any");
    tool.on_prefix("/bin/tool a").prints("short");
    tool.on_prefix("/bin/tool a b").prints("long");
    tool.on("/bin/tool a b c").prints("exact");
    EXPECT_EQ(run_command(root, "/bin/tool a b c").out, "exact");
    EXPECT_EQ(run_command(root, "/bin/tool a b d").out, "long");
    EXPECT_EQ(run_command(root, "/bin/tool a c").out, "short");
    EXPECT_EQ(run_command(root, "/bin/tool x").out, "any");
}

TEST(StandInTool, GivesTheAnswersOfASequenceInOrderAndRepeatsTheLast) {
    PrivateRoot root;
    root.tool("/bin/tool").any().prints("1").then().prints("2").then().prints("3");
    EXPECT_EQ(run_command(root, "/bin/tool; /bin/tool; /bin/tool; /bin/tool").out, "1233");
}

TEST(StandInTool, ContinuesWithTheNextRuleAfterOneThatHoldsOnce) {
    PrivateRoot root;
    Tool tool = root.tool("/bin/tool");
    tool.any().prints("usual ");
    tool.on("/bin/tool").prints("first ").once();
    tool.on("/bin/tool").prints("twice ").times(2);
    EXPECT_EQ(run_command(root, "/bin/tool; /bin/tool; /bin/tool; /bin/tool").out,
              "first twice twice usual ");
}

TEST(StandInTool, GivesAnswersThatHoldOnceBeforeTheUsualOneWhicheverIsStatedFirst) {
    PrivateRoot root;
    Tool tool = root.tool("/bin/tool");
    tool.on("/bin/tool").prints("first ").once();
    tool.on("/bin/tool").prints("usual ");
    tool.on("/bin/tool").prints("second ").once();
    EXPECT_EQ(run_command(root, "/bin/tool; /bin/tool; /bin/tool").out, "first second usual ");
}

TEST(StandInTool, ObeysTheLastRuleForTheSameText) {
    PrivateRoot root;
    root.tool("/bin/tool").on("/bin/tool").prints("fixture");
    root.tool("/bin/tool").on("/bin/tool").prints("test");
    EXPECT_EQ(run_command(root, "/bin/tool").out, "test");
    root.tool("/bin/tool").on("/bin/tool").prints("next run");
    EXPECT_EQ(run_command(root, "/bin/tool").out, "next run");
}

TEST(StandInTool, DiesOfASignal) {
    PrivateRoot root;
    root.tool("/bin/tool").any().prints("before").killed_by(SIGKILL);
    const Result result = run_command(root, "/bin/tool 2>> /dev/null");
    EXPECT_EQ(result.returned, SIGKILL);
    EXPECT_EQ(result.out, "before");
    // A shell that has more to do reports the death in its own way.
    EXPECT_EQ(run_command(root, "true; /bin/tool; exit $?").returned, (128 + SIGKILL) << 8);
}

TEST(StandInTool, DiesOfASignalWhenAShellIsNeededToReadItsArguments) {
    PrivateRoot root;
    root.tool("/bin/tool").any().killed_by(SIGTERM);
    EXPECT_EQ(run_command(root, "/bin/tool 'a b' 2>> /dev/null").returned, SIGTERM);
}

TEST(StandInTool, RunsASnippetWithTheRealArgumentsBeforeItPrints) {
    PrivateRoot root;
    root.tool("/bin/tool").any().does("echo \"$0 $# $2\"; exit 4").prints("after\n");
    const Result result = run_command(root, "/bin/tool a 'b c'");
    EXPECT_EQ(result.out, "/bin/tool 2 b c\nafter\n");
    EXPECT_EQ(result.returned, 4 << 8);
}

TEST(StandInTool, LetsASnippetSeeWhatTheProgramGaveIt) {
    PrivateRoot root;
    root.tool("/bin/tool").any().does("ls /proc/self/fd; env | grep -c ZAV; cat");
    const Result result = root.call([] { return std::system("/bin/tool"); }, {.input = "input"});
    EXPECT_EQ(result.out, "0\n1\n2\n3\n0\ninput"); // 3 is the directory that ls reads
}

TEST(StandInTool, PrintsAMegabyte) {
    PrivateRoot root;
    root.tool("/bin/tool").any().prints("head\n").prints_bytes(1 << 20);
    run_command(root, "/bin/tool > /tmp/out 2>> /dev/null");
    EXPECT_EQ(root.read("/tmp/out").size(), (1u << 20) + 5);
}

TEST(StandInTool, WritesToStandardError) {
    PrivateRoot root;
    root.tool("/bin/tool").any().complains("WARNING\n");
    EXPECT_EQ(run_command(root, "/bin/tool").err, "WARNING\n");
    EXPECT_EQ(run_command(root, "/bin/tool 2>> /dev/null").err, "");
}

TEST(StandInTool, KnowsItsPartOfALongerCommand) {
    PrivateRoot root;
    root.tool("/bin/source").on("/bin/source -x").prints("data\n");
    root.tool("/bin/filter").on("/bin/filter  b").does("sed s/data/seen/");
    EXPECT_EQ(run_command(root, "/bin/source -x | /bin/filter  b 2>&1").out, "seen\n");
}

TEST(StandInTool, ReplaysARecording) {
    const Recorded run = recorded("raid5_clean_detail");
    EXPECT_EQ(run.command, "/sbin/mdadm --detail /dev/md1");
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_THAT(run.versions, HasSubstr("mdadm - v4.2"));
    PrivateRoot root;
    root.tool("/sbin/mdadm").replays("raid5_clean_detail");
    root.tool("/sbin/mdadm").on("/sbin/mdadm --detail /dev/md9").replays("mdadm_detail_no_such");
    EXPECT_EQ(run_command(root, run.command).out, run.text);
    EXPECT_EQ(run_command(root, "/sbin/mdadm --detail /dev/md9").returned,
              recorded("mdadm_detail_no_such").exit_status << 8);
    EXPECT_NE(recorded("mdadm_detail_no_such").exit_status, 0);
    EXPECT_THROW(recorded("nothing_of_that_name"), std::runtime_error);
}

TEST(StandInTool, IsRuledOverSeveralRunsTogether) {
    PrivateRoot root;
    root.tool("/bin/tool").any().prints("first").then().prints("second");
    EXPECT_EQ(run_command(root, "/bin/tool").out, "first");
    EXPECT_EQ(run_command(root, "/bin/tool").out, "second");
}

TEST(StandInTool, GivesEachAnswerOfASequenceToOneOfManyCallsAtTheSameTime) {
    constexpr int callers = 4;
    constexpr int calls = 20;
    PrivateRoot root;
    Rule rule = root.tool("/bin/tool").any();
    rule.once().prints("0\n");
    std::vector<std::string> expected = {"0"};
    for (int at = 1; at < callers * calls; ++at) {
        expected.push_back(std::to_string(at));
        rule.then().prints(expected.back() + "\n");
    }
    const auto call_often = [] {
        int status = 0;
        for (int at = 0; at < calls; ++at) {
            status |= std::system("/bin/tool");
        }
        return status;
    };
    std::vector<StartedRun> runs;
    for (int at = 0; at < callers; ++at) {
        runs.push_back(root.start_call(call_often));
    }
    std::string printed;
    for (StartedRun& run : runs) {
        printed += run.wait().out;
    }
    std::istringstream in(printed);
    const std::vector<std::string> answers{std::istream_iterator<std::string>(in), {}};
    EXPECT_THAT(answers, testing::UnorderedElementsAreArray(expected));
}

TEST(StandInTool, AnswersARunUnderWayWhileOthersStart) {
    PrivateRoot root;
    root.tool("/bin/tool").any();
    StartedRun run = root.start_call([] {
        int status = 0;
        for (int at = 0; at < 40; ++at) {
            status |= std::system("/bin/tool");
        }
        return status;
    });
    for (int at = 0; at < 10; ++at) {
        root.call([] { return 0; });
    }
    EXPECT_EQ(run.wait().returned, 0);
}

TEST(ExpectAllUsed, FailsForARuleThatWasNotUsed) {
    EXPECT_NONFATAL_FAILURE(
        {
            PrivateRoot root;
            root.tool("/bin/tool").on("/bin/tool never");
            root.expect_all_used();
        },
        "/bin/tool never");
}

TEST(ExpectAllUsed, FailsForASequenceThatWasNotUsedToItsEnd) {
    EXPECT_NONFATAL_FAILURE(
        {
            PrivateRoot root;
            root.tool("/bin/tool").any().prints("1").then().prints("2");
            run_command(root, "/bin/tool");
            root.expect_all_used();
        },
        "used 1 of 2 times");
}

TEST(ExpectAllUsed, AsksForNeitherOptionalNorReplacedRules) {
    PrivateRoot root;
    root.tool("/bin/tool").on("/bin/tool").prints("replaced");
    root.tool("/bin/tool").on("/bin/tool").prints("used");
    root.tool("/bin/tool").on("/bin/tool -x").optional();
    run_command(root, "/bin/tool");
    root.expect_all_used();
}

} // namespace
} // namespace zav::test
