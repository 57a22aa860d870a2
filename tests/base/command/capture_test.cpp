// SPDX-License-Identifier: MIT
// The file under /tmp that holds a tool's output.
#include "base/codes.h"
#include "base/command.h"
#include "base/command/real_tools_root.h"
#include "base/text.h"
#include "fixtures/library.h"

#include <gmock/gmock.h>

namespace zav {
namespace {

using test::LogLine;
using test::PrivateRoot;
using test::RealToolsRoot;
using test::Result;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* name_template = "/tmp/smart_sda.XXXXXX";
constexpr Code unread = Code::smart_unread;

// A root in which "/sbin/tool FILE" does `what` with the captured file.
class CaptureRoot : public RealToolsRoot {
  public:
    explicit CaptureRoot(const std::string& what = "echo printed") { script("/sbin/tool", what); }
};

std::string tool_writing_to(const Capture& capture) {
    return format_text("/sbin/tool %s > %s", capture.path(), capture.path());
}

std::string tool_given(const Capture& capture) {
    return format_text("/sbin/tool %s", capture.path());
}

TEST(Capture, IsNamedAfterItsTemplate) {
    CaptureRoot root;
    root.call([] {
        EXPECT_THAT(Capture(name_template).path(),
                    testing::ContainsRegex("^/tmp/smart_sda\\.[A-Za-z0-9][A-Za-z0-9][A-Za-z0-9]"
                                           "[A-Za-z0-9][A-Za-z0-9][A-Za-z0-9]$"));
        return 0;
    });
}

TEST(Capture, HasANameOfItsOwn) {
    CaptureRoot root;
    root.call([] {
        const Capture one(name_template);
        const Capture other(name_template);
        EXPECT_STRNE(one.path(), other.path());
        return 0;
    });
}

TEST(Capture, IsThereAndEmptyAndPrivateBeforeTheCommandRuns) {
    CaptureRoot root("stat -c '%s %a' $1");
    const Result result = root.call(
        [] {
            const Capture capture(name_template);
            return capture.run(tool_given(capture));
        },
        {.umask = 0});
    EXPECT_EQ(result.out, "0 600\n");
}

TEST(Capture, HoldsWhatTheToolPrinted) {
    CaptureRoot root;
    root.call([] {
        const Capture capture(name_template);
        EXPECT_EQ(capture.run(tool_writing_to(capture)), 0);
        EXPECT_EQ(capture.read(), "printed\n");
        return 0;
    });
}

TEST(Capture, HoldsAMegabyteOfAnyBytes) {
    CaptureRoot root("cat /dev/zero | head -c 1048576; printf 'end\\r\\n'");
    root.call([] {
        const Capture capture(name_template);
        EXPECT_EQ(capture.run(tool_writing_to(capture)), 0);
        EXPECT_EQ(capture.read(), std::string(1048576, '\0') + "end\r\n");
        return 0;
    });
}

TEST(Capture, IsEmptyWhenTheToolIsMissing) {
    RealToolsRoot root;
    root.call([] {
        const Capture capture(name_template);
        EXPECT_EQ(capture.run(tool_writing_to(capture)), 127 << 8);
        EXPECT_EQ(capture.read(), "");
        return 0;
    });
}

TEST(Capture, KeepsWhatAToolPrintedBeforeItFailed) {
    CaptureRoot root("echo half; kill -9 $$");
    root.call([] {
        const Capture capture(name_template);
        EXPECT_EQ(capture.run(tool_writing_to(capture)), 9);
        EXPECT_EQ(capture.read(), "half\n");
        return 0;
    });
}

TEST(Capture, IsRemovedAtTheEnd) {
    CaptureRoot root("exit $(($(echo $1 | wc -c) > 30))");
    root.call([] {
        {
            const Capture capture(name_template);
            EXPECT_EQ(::access(capture.path(), F_OK), 0);
            (void)capture.run(tool_writing_to(capture));
        }
        const Capture unused("/tmp/mdstat.XXXXXX");
        return 0;
    });
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(Capture, IsRemovedAfterAFailureToo) {
    CaptureRoot root("echo printed; exit 3");
    root.call([] {
        const Capture capture(name_template);
        return capture.run_and_log(tool_writing_to(capture));
    });
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(Capture, StaysWhenItIsKept) {
    CaptureRoot root;
    root.call([] {
        Capture capture(name_template);
        (void)capture.run(tool_writing_to(capture));
        capture.keep();
        return 0;
    });
    ASSERT_EQ(root.tmp().size(), 1U);
    EXPECT_EQ(root.read("/tmp/" + root.tmp()[0]), "printed\n");
}

TEST(Capture, TouchesNoFileThatHasTheTemplatesOwnName) {
    CaptureRoot root;
    root.file(name_template, "of somebody else\n");
    root.call([] {
        const Capture capture(name_template);
        return capture.run(tool_writing_to(capture));
    });
    EXPECT_EQ(root.read(name_template), "of somebody else\n");
}

TEST(CaptureRun, LogsNothing) {
    CaptureRoot root("exit 3");
    EXPECT_EQ(root.call([] {
                      const Capture capture(name_template);
                      return capture.run(tool_writing_to(capture));
                  })
                  .returned,
              3 << 8);
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(CaptureRun, LogsAFailureInTheWordingOfItsCallerWhenAsked) {
    CaptureRoot root("exit 3");
    EXPECT_EQ(root.call([] {
                      const Capture capture(name_template);
                      return capture.run_and_log(tool_given(capture),
                                                 FailureWording::no_blank_before_for);
                  })
                  .returned,
              3 << 8);
    ASSERT_EQ(root.log().size(), 1U);
    EXPECT_THAT(root.log()[0].text,
                testing::ContainsRegex("^system\\(\"/sbin/tool /tmp/smart_sda\\.......\"\\) return "
                                       "normal with exit\\(3\\)for '.*'$"));
}

TEST(CaptureRun, LogsNothingForACommandThatWorks) {
    CaptureRoot root;
    root.call([] {
        const Capture capture(name_template);
        return capture.run_and_log(tool_writing_to(capture));
    });
    EXPECT_THAT(root.log(), IsEmpty());
}

// A root in which the caller cannot create files under /tmp.
class ClosedTmpRoot : public CaptureRoot {
  public:
    ClosedTmpRoot() : CaptureRoot("echo ran > /var/log/ran") {
        directory("/tmp", 0755).directory("/var/log", 0777);
    }
    static test::RunOptions caller() { return {.uid = 65534}; }
};

TEST(CaptureWithoutAFile, RunsNothing) {
    ClosedTmpRoot root;
    const Result result = root.call(
        [] {
            const Capture capture(name_template);
            EXPECT_EQ(capture.read(), std::nullopt);
            return capture.run("/sbin/tool");
        },
        ClosedTmpRoot::caller());
    EXPECT_EQ(result.returned, -1);
    EXPECT_FALSE(root.exists("/var/log/ran"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(CaptureWithoutAFile, IsLoggedLikeAShellThatDidNotStart) {
    ClosedTmpRoot root;
    root.call([] { return Capture(name_template).run_and_log("/sbin/tool"); },
              ClosedTmpRoot::caller());
    ASSERT_EQ(root.log().size(), 1U);
    EXPECT_THAT(root.log()[0].text,
                testing::StartsWith("system(\"/sbin/tool\") return unnormal with exit(255) for '"));
}

TEST(CaptureWithoutAFile, IsMissingForItsReader) {
    ClosedTmpRoot root;
    EXPECT_EQ(root.call(
                      [] {
                          std::string text;
                          return Capture(name_template)
                              .read_or_fail(text, WaitStatus::not_started, unread);
                      },
                      ClosedTmpRoot::caller())
                  .returned,
              -11000);
}

TEST(CaptureWithoutAFile, NeitherReadsNorRemovesAFileThatComesLater) {
    CaptureRoot root;
    root.call([] {
        const Capture capture("/tmp/too-few-XXXXX"); // is refused
        ignore(run_command("/usr/local/bin/cp /sbin/tool /tmp/too-few-XXXXX"));
        EXPECT_EQ(capture.read(), std::nullopt);
        return 0;
    });
    EXPECT_THAT(root.tmp(), ElementsAre("too-few-XXXXX"));
}

// Runs the tool, reads its output and prints it.
Code run_and_read() {
    Capture capture(name_template);
    const WaitStatus status = capture.run(tool_given(capture));
    std::string text = "before";
    const Code result = capture.read_or_fail(text, status, unread, {"get_smart", 99});
    std::fputs(text.c_str(), stdout);
    return result;
}

TEST(CaptureReader, GetsTheText) {
    CaptureRoot root("echo printed > $1");
    const Result result = root.call(run_and_read);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "printed\n");
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(CaptureReader, ContinuesWithWhatAFailedToolLeft) {
    CaptureRoot root("exit 3");
    const Result result = root.call(run_and_read);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
}

TEST(CaptureReader, LogsAFileThatIsGone) {
    CaptureRoot root("rm $1; exit 3");
    const Result result = root.call(run_and_read);
    EXPECT_EQ(result.returned, Code::command_failed);
    EXPECT_EQ(result.returned, -11000);
    EXPECT_EQ(result.out, "before");
    ASSERT_EQ(root.log().size(), 1U);
    EXPECT_THAT(root.log()[0].raw,
                testing::ContainsRegex("\\]:cannot stat /tmp/smart_sda\\....... for 'No such file "
                                       "or directory'\n\n$"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(CaptureReader, RemovesALinkThatLeadsNowhere) {
    CaptureRoot root("rm $1; ln -s /missing $1");
    EXPECT_EQ(root.call(run_and_read).returned, -11000);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(CaptureReader, LogsAFileThatCannotBeReadAndLeavesIt) {
    CaptureRoot root("echo printed > $1; chmod 0 $1; exit 3");
    root.directory("/var/log", 0777);
    const Result result = root.call(run_and_read, {.uid = 65534});
    EXPECT_EQ(result.returned, unread);
    EXPECT_EQ(result.out, "before");
    ASSERT_EQ(root.log().size(), 1U);
    EXPECT_EQ(root.log()[0].text, "get_smart:99 return 768 with Permission denied");
    EXPECT_EQ(root.tmp().size(), 1U);
}

TEST(CaptureReader, LogsADirectoryInItsPlaceAndLeavesIt) {
    CaptureRoot root("rm $1; mkdir $1");
    EXPECT_EQ(root.call(run_and_read).returned, unread);
    ASSERT_EQ(root.log().size(), 1U);
    EXPECT_EQ(root.log()[0].text, "get_smart:99 return 0 with Is a directory");
    EXPECT_EQ(root.tmp().size(), 1U);
}

} // namespace
} // namespace zav
