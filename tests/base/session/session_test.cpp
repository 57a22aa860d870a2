// SPDX-License-Identifier: MIT
// What a session makes of log lines and commands, and that there is nothing of it without one.
#include "base/command.h"
#include "base/command/real_tools_root.h"
#include "base/log.h"
#include "base/session.h"
#include "fixtures/library.h"

#include <chrono>
#include <gmock/gmock.h>
#include <unistd.h>

namespace zav {
namespace {

using test::LogLine;
using test::RealToolsRoot;
using test::Result;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

void print_line(void*, Severity severity, const char* text) {
    std::printf("%s: %s\n", severity == Severity::error ? "error" : "debug", text);
}

void print_step(void*, const char* step, unsigned steps) {
    std::printf("step %u: %s\n", steps, step);
}

class Sessions : public testing::Test {
  protected:
    std::vector<std::string> logged() const {
        std::vector<std::string> texts;
        for (const LogLine& line : root.log()) {
            texts.push_back(line.text);
        }
        return texts;
    }
    RealToolsRoot root;
    SessionSettings settings;
};

TEST_F(Sessions, HandLinesToACallbackInPlaceOfTheFile) {
    settings.logs_to_file = false;
    settings.log = print_line;
    const Result run = root.call([this] {
        Session session(settings, Session::Kind::action);
        const SessionScope scope(session);
        log_error("first %d\n", 1);
        log_debug("second");
        log_failure(Code::no_such_disk, {"function", 7});
    });
    EXPECT_EQ(run.out, "error: first 1\ndebug: second\nerror: function[7]: return with -202\n");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Sessions, HandLinesToBoth) {
    settings.log = print_line;
    const Result run = root.call([this] {
        Session session(settings, Session::Kind::action);
        const SessionScope scope(session);
        log_error("text");
        log_error("text");
    });
    EXPECT_EQ(run.out, "error: text\nerror: text\n");
    EXPECT_THAT(logged(), ElementsAre("text", "text"));
}

TEST_F(Sessions, EndWithTheirScope) {
    settings.logs_to_file = false;
    root.call([this] {
        EXPECT_EQ(current_session(), nullptr);
        Session outer(settings, Session::Kind::action);
        {
            const SessionScope scope(outer);
            Session inner(settings, Session::Kind::action);
            {
                const SessionScope inner_scope(inner);
                EXPECT_EQ(current_session(), &inner);
            }
            EXPECT_EQ(current_session(), &outer);
            log_error("inside");
        }
        EXPECT_EQ(current_session(), nullptr);
        log_error("outside");
    });
    EXPECT_THAT(logged(), ElementsAre("outside"));
}

TEST_F(Sessions, KeepTheEndOfWhatAFailedToolComplainsOf) {
    root.script("/sbin/tool", "echo wrong >&2; echo said; exit 3");
    const Result run = root.call([this] {
        Session session(settings, Session::Kind::action);
        const SessionScope scope(session);
        for (const char* command : {"/sbin/tool > /dev/null", "true; /sbin/tool > /dev/null",
                                    "/sbin/tool 2>> /dev/null"}) {
            EXPECT_EQ(number_of(run_command(command)), 3 << 8) << command;
            const FailedCommand& failure = session.last_failure();
            std::printf("%s|%d|%s\n", failure.command.c_str(), number_of(failure.status),
                        failure.output.c_str());
        }
    });
    // What the tool says is not the program's to print.
    EXPECT_EQ(run.out, "/sbin/tool|768|wrong\ntrue; /sbin/tool|768|wrong\n"
                       "/sbin/tool 2>> /dev/null|768|\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(Sessions, KeepNoMoreThanTheEnd) {
    root.script("/sbin/tool", "i=0; while [ $i -lt 300 ]; do echo line $i >&2; i=$((i+1)); done; "
                              "exit 1");
    root.script("/sbin/flood", "while echo 0123456789012345678901234567890123456789 >&2; do :; "
                               "done; exit 5");
    root.call([this] {
        Session session(settings, Session::Kind::action);
        const SessionScope scope(session);
        ignore(run_command("/sbin/tool"));
        EXPECT_LE(session.last_failure().output.size(), most_error_output);
        EXPECT_THAT(session.last_failure().output, testing::EndsWith("\nline 299"));
        // A tool that never stops finds no more room.
        EXPECT_EQ(number_of(run_command("/sbin/flood")), 5 << 8);
    });
}

TEST_F(Sessions, LeaveLongCommandsAsTheyAre) {
    root.script("/sbin/tool", "echo wrong >&2; echo $#; exit 3");
    const std::string long_command = "/sbin/tool " + std::string(235, 'x');
    const auto status_and_output = [&](bool has_session) {
        return root.call([&] {
            Session session(settings, Session::Kind::action);
            if (!has_session) {
                return number_of(run_command(long_command));
            }
            const SessionScope scope(session);
            return number_of(run_command(long_command));
        });
    };
    const Result without = status_and_output(false);
    const Result with = status_and_output(true);
    EXPECT_EQ(with.returned, without.returned);
    EXPECT_EQ(with.out, without.out);
}

TEST_F(Sessions, EndAToolThatTakesTooLongWithAllThatItHasStarted) {
    root.script("/sbin/tool", "trap '' TERM; sh -c 'trap \"\" TERM; sleep 60' & sleep 60; wait");
    settings.command_time_limit = std::chrono::milliseconds(300);
    const auto before = std::chrono::steady_clock::now();
    const Result run = root.call([this] {
        Session session(settings, Session::Kind::action);
        const SessionScope scope(session);
        const WaitStatus status = run_and_log("/sbin/tool");
        EXPECT_EQ(session.last_failure().command, "/sbin/tool");
        return status;
    });
    EXPECT_EQ(run.returned, -1);
    EXPECT_FALSE(run.left_processes);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(15));
    EXPECT_THAT(logged(), ElementsAre("'/sbin/tool' was ended: it took longer than 300 ms",
                                      "system(\"/sbin/tool\") return unnormal with exit(255) for "
                                      "'Connection timed out'"));
}

TEST_F(Sessions, LetAToolFinishInTime) {
    root.script("/sbin/tool", "sleep 0.2; exit 7");
    settings.command_time_limit = std::chrono::seconds(20);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(root.call([this] {
                      Session session(settings, Session::Kind::action);
                      const SessionScope scope(session);
                      return run_command("/sbin/tool");
                  })
                  .returned,
              7 << 8);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Sessions, ForReadingRunACommandOnce) {
    root.script("/sbin/tool", "echo x >> /tmp/runs; echo printed $1; exit 2");
    const Result run = root.call([this] {
        Session session(settings, Session::Kind::reading);
        const SessionScope scope(session);
        for (const char* form : {"/sbin/tool a > %s", "/sbin/tool a > %s ", "/sbin/tool b > %s"}) {
            const Capture capture("/tmp/capture.XXXXXX");
            const std::string path = capture.path();
            std::string command = form;
            command.replace(command.find("%s"), 2, path);
            const WaitStatus status = capture.run_and_log(command);
            std::printf("%d %s", number_of(status), capture.read().value_or("nothing").c_str());
        }
        for (const SessionFailure& failure : session.take_failures()) {
            std::printf("%s %d\n", failure.command.c_str(), failure.code);
        }
        EXPECT_THAT(session.take_failures(), IsEmpty());
    });
    EXPECT_EQ(run.out, "512 printed a\n512 printed a\n512 printed b\n"
                       "/sbin/tool a -11000\n/sbin/tool b -11000\n");
    EXPECT_EQ(root.read("/tmp/runs"), "x\nx\n");
    EXPECT_THAT(logged(), ElementsAre(StartsWith("system(\"/sbin/tool a > /tmp/capture."),
                                      StartsWith("system(\"/sbin/tool b > /tmp/capture.")));
}

TEST_F(Sessions, ForActionsRunACommandEachTime) {
    root.script("/sbin/tool", "echo x >> /tmp/runs");
    root.call([this] {
        Session session(settings, Session::Kind::action);
        const SessionScope scope(session);
        for (int i = 0; i < 2; ++i) {
            const Capture capture("/tmp/capture.XXXXXX");
            ignore(capture.run(std::string("/sbin/tool > ") + capture.path()));
        }
    });
    EXPECT_EQ(root.read("/tmp/runs"), "x\nx\n");
}

TEST_F(Sessions, TellOfTheStepsThatChangeSomething) {
    settings.progress = print_step;
    const Result run = root.call([this] {
        Session session(settings, Session::Kind::action);
        const SessionScope scope(session);
        ignore(run_command("/usr/local/bin/true  one > /dev/null"));
        const Capture capture("/tmp/capture.XXXXXX");
        ignore(capture.run(std::string("/usr/local/bin/true > ") + capture.path()));
        ignore(run_command("/usr/local/bin/false"));
    });
    EXPECT_EQ(run.out, "step 0: /usr/local/bin/true one\nstep 1: /usr/local/bin/false\n");
}

} // namespace
} // namespace zav
