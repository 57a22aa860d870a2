// SPDX-License-Identifier: MIT
// How an outside command is run: directories, redirection, length, status.
#include "base/command.h"
#include "base/command/real_tools_root.h"
#include "fixtures/library.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::PrivateRoot;
using test::RealToolsRoot;
using test::Result;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* directories = "/bin:/sbin:/usr/bin:/usr/sbin:/usr/local/bin:/usr/local/sbin";

// Exit statuses and signals as encoded in the wait status.
constexpr int exited(int status) {
    return status << 8;
}

int status_of(PrivateRoot& root, const std::string& command, const test::RunOptions& options = {}) {
    return root.call([&command] { return run_command(command); }, options).returned;
}

TEST(Command, IsGivenToTheShellWithItsErrorsThrownAway) {
    PrivateRoot root;
    root.tool("/sbin/mdadm").on("/sbin/mdadm -S /dev/md1");
    const Result result = root.call([] { return run_command("/sbin/mdadm -S /dev/md1"); });
    EXPECT_THAT(result.commands, ElementsAre("/sbin/mdadm -S /dev/md1 2>> /dev/null"));
    EXPECT_EQ(result.returned, 0);
}

TEST(Command, PrintsToTheInheritedStandardOutput) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo printed; echo complained >&2");
    for (const char* command : {"/sbin/tool", "true; /sbin/tool"}) {
        const Result result = root.call([command] { return run_command(command); });
        EXPECT_EQ(result.out, "printed\n");
        EXPECT_EQ(result.err, "");
    }
}

TEST(Command, PrintsAfterWhatWasPrintedBefore) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo tool");
    for (const char* command : {"/sbin/tool", "true; /sbin/tool"}) {
        const Result result = root.call([command] {
            std::fputs("before ", stdout);
            ignore(run_command(command));
            std::fputs("after", stdout);
            return 0;
        });
        EXPECT_EQ(result.out, "before tool\nafter");
    }
}

TEST(Command, HasNoStandardInput) {
    RealToolsRoot root;
    for (const char* command : {"cat", "cat; true", "read a || echo nothing"}) {
        const Result result =
            root.call([command] { return run_command(command); }, {.input = "secret"});
        EXPECT_EQ(result.out,
                  std::strcmp(command, "read a || echo nothing") == 0 ? "nothing\n" : "");
    }
}

TEST(Command, LeavesTheCallersStandardInputAlone) {
    RealToolsRoot root;
    root.call(
        [] {
            ignore(run_command("cat"));
            std::array<char, 8> text = {};
            EXPECT_EQ(::read(STDIN_FILENO, text.data(), 6), 6);
            EXPECT_STREQ(text.data(), "secret");
            return 0;
        },
        {.input = "secret"});
}

TEST(Command, LeavesNoProcessBehind) {
    RealToolsRoot root;
    root.call([] {
        ignore(run_command("/usr/local/bin/true"));
        ignore(run_command("true; false"));
        ignore(run_command("/sbin/missing"));
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
        return 0;
    });
}

TEST(CommandStatus, IsTheWaitStatusOfTheTool) {
    RealToolsRoot root;
    root.script("/sbin/tool", "exit $1");
    EXPECT_EQ(status_of(root, "/sbin/tool 0"), 0);
    EXPECT_EQ(status_of(root, "/sbin/tool 3"), exited(3));
    EXPECT_EQ(status_of(root, "/sbin/tool 255"), exited(255));
    EXPECT_EQ(status_of(root, "true; /sbin/tool 3"), exited(3));
}

TEST(CommandStatus, OfAToolThatWasKilledIsItsSignal) {
    RealToolsRoot root;
    root.script("/sbin/tool", "kill -9 $$");
    EXPECT_EQ(status_of(root, "/sbin/tool"), SIGKILL);
}

TEST(CommandStatus, OfAToolThatAShellSawKilledIs128AndTheSignal) {
    RealToolsRoot root;
    root.script("/sbin/tool", "kill -9 $$");
    EXPECT_EQ(status_of(root, "/sbin/tool; exit $?"), exited(128 + SIGKILL));
}

TEST(CommandStatus, OfAMissingToolIs127) {
    RealToolsRoot root;
    EXPECT_EQ(status_of(root, "/sbin/missing -a"), exited(127));
    EXPECT_EQ(status_of(root, "missing -a"), exited(127));
}

TEST(CommandStatus, OfAFileThatIsNoProgramIs126) {
    RealToolsRoot root;
    root.file("/sbin/text", "text", 0644).directory("/sbin/directory");
    EXPECT_EQ(status_of(root, "/sbin/text"), exited(126));
    EXPECT_EQ(status_of(root, "/sbin/directory"), exited(126));
}

TEST(CommandStatus, OfAScriptWithoutAnInterpreterLineIsTheScripts) {
    RealToolsRoot root;
    root.file("/sbin/tool", "exit 5\n", 0755);
    EXPECT_EQ(status_of(root, "/sbin/tool"), exited(5));
}

TEST(CommandStatus, IsMinusOneWithoutAShell) {
    PrivateRoot root;
    root.file("/not-a-shell", "", 0644);
    root.bind(root.host_path("/not-a-shell"), "/bin/sh");
    EXPECT_EQ(status_of(root, "/sbin/missing"), -1);
    EXPECT_EQ(status_of(root, "true | false"), -1);
}

TEST(CommandStatus, OfAPlainToolNeedsNoShell) {
    RealToolsRoot root;
    root.file("/not-a-shell", "", 0644);
    root.script("/sbin/tool", "exit 4").bind(root.host_path("/not-a-shell"), "/bin/sh");
    EXPECT_EQ(status_of(root, "/sbin/tool > /dev/null"), exited(4));
}

TEST(Command, LeavesTheErrorNumberOfItsCallerAlone) {
    RealToolsRoot root;
    root.call([] {
        for (const char* command :
             {"/usr/local/bin/true", "/usr/local/bin/false", "/sbin/missing", "true; false"}) {
            errno = 0;
            ignore(run_command(command));
            EXPECT_EQ(errno, 0) << command;
        }
        return 0;
    });
}

TEST(CommandStatus, IsMinusOneWithoutRoomForAProcess) {
    RealToolsRoot root;
    root.call(
        [] {
            rlimit processes = {};
            ::getrlimit(RLIMIT_NPROC, &processes);
            const rlimit none = {0, processes.rlim_max};
            for (const char* command : {"/usr/local/bin/true", "true; true"}) {
                ::setrlimit(RLIMIT_NPROC, &none);
                const int status = number_of(run_command(command));
                ::setrlimit(RLIMIT_NPROC, &processes);
                EXPECT_EQ(status, -1) << command;
            }
            return 0;
        },
        {.uid = 65534});
}

TEST(CommandPath, PutsTheSystemsDirectoriesFirst) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo \"$PATH\"");
    const Result result = root.call([] { return run_command("/sbin/tool"); },
                                    {.environment = {{"PATH", "/home/bin:/opt"}}});
    EXPECT_EQ(result.out, std::string(directories) + ":/home/bin:/opt\n");
}

TEST(CommandPath, IsSearchedInItsOrder) {
    RealToolsRoot root;
    const std::vector<std::string> order = {"/bin",           "/sbin",          "/usr/bin",
                                            "/usr/sbin",      "/usr/local/bin", "/usr/local/sbin",
                                            "/home/user/bin", "/home/other/bin"};
    for (const std::string& directory : order) {
        root.script(directory + "/tool", "echo " + directory);
    }
    for (const std::string& directory : order) {
        const Result result =
            root.call([] { return run_command("tool"); },
                      {.environment = {{"PATH", "/home/user/bin:/home/other/bin"}}});
        EXPECT_EQ(result.out, directory + "\n");
        root.remove(directory + "/tool");
    }
}

TEST(CommandPath, FindsCatInTheSystemsDirectoriesFirst) {
    RealToolsRoot root;
    root.script("/home/bin/cat", "echo wrong").file("/tmp/text", "right\n");
    const Result result = root.call([] { return run_command("cat /tmp/text"); },
                                    {.environment = {{"PATH", "/home/bin"}}});
    EXPECT_EQ(result.out, "right\n");
}

TEST(CommandPath, ThatIsUnsetEndsInTheCurrentDirectory) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo \"$PATH\"").script("/home/here", "echo found");
    const Result result = root.call(
        [] {
            ignore(run_command("/sbin/tool"));
            return run_command("here");
        },
        {.environment = {{"PATH", std::nullopt}}, .working_directory = "/home"});
    EXPECT_EQ(result.out, std::string(directories) + ":\nfound\n");
}

TEST(CommandPath, ThatIsEmptyEndsInTheCurrentDirectory) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo \"$PATH\"");
    const Result result =
        root.call([] { return run_command("/sbin/tool"); }, {.environment = {{"PATH", ""}}});
    EXPECT_EQ(result.out, std::string(directories) + ":\n");
}

TEST(CommandPath, IsCutAt255CharactersForTheTool) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo \"$PATH\"");
    const std::string path = "/" + std::string(299, 'p');
    const Result result =
        root.call([] { return run_command("/sbin/tool"); }, {.environment = {{"PATH", path}}});
    EXPECT_EQ(result.out, (std::string(directories) + ":" + path).substr(0, 255) + "\n");
}

// A command of `length` characters, with a tool that records its last argument and prints an error.
struct LongCommand {
    std::size_t length;
    const char* complaint; // the file with the error message; "" if there is none
    bool is_run;
    std::size_t cut; // characters that the last argument loses
    std::size_t arguments;
};

std::string name_of(const testing::TestParamInfo<LongCommand>& info) {
    return "Of" + std::to_string(info.param.length) + "Characters";
}

class CommandLength : public testing::TestWithParam<LongCommand> {};

TEST_P(CommandLength, DecidesWhatIsLeftOfTheRedirection) {
    const LongCommand& expected = GetParam();
    RealToolsRoot root;
    root.script("/sbin/tool", "echo \"$# $1\" > /tmp/ran; echo complaint >&2; exit 7");
    const auto before = root.list("/");
    const std::string start = "/sbin/tool ";
    const std::string argument(expected.length - start.size(), 'x');
    const Result result = root.call([&] { return run_command(start + argument); });
    if (expected.is_run) {
        EXPECT_EQ(result.returned, exited(7));
        EXPECT_EQ(root.read("/tmp/ran"), std::to_string(expected.arguments) + " " +
                                             argument.substr(0, argument.size() - expected.cut) +
                                             "\n");
    } else {
        EXPECT_THAT(result.returned, testing::AnyOf(exited(1), exited(2)));
        EXPECT_FALSE(root.exists("/tmp/ran"));
    }
    const std::string complaint = expected.complaint;
    const bool is_file = complaint.starts_with("/") && complaint != "/dev/null";
    EXPECT_EQ(is_file ? root.read(complaint) : "", is_file ? "complaint\n" : "");
    if (expected.is_run) {
        EXPECT_EQ(result.err, complaint == "standard error" ? "complaint\n" : "");
    }
    EXPECT_EQ(root.list("/").size(), before.size() + (is_file && complaint.size() < 5 ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(Command, CommandLength,
                         testing::Values(LongCommand{100, "/dev/null", true, 0, 1},
                                         LongCommand{240, "/dev/null", true, 0, 1},
                                         LongCommand{241, "/dev/null", true, 0, 1},
                                         LongCommand{242, "/dev/nul", true, 0, 1},
                                         LongCommand{243, "/dev/nu", true, 0, 1},
                                         LongCommand{244, "/dev/n", true, 0, 1},
                                         LongCommand{245, "", false, 0, 0}, // /dev/
                                         LongCommand{246, "", false, 0, 0}, // /dev
                                         LongCommand{247, "/de", true, 0, 1},
                                         LongCommand{248, "/d", true, 0, 1},
                                         LongCommand{249, "", false, 0, 0},              // the root
                                         LongCommand{250, "", false, 0, 0},              // "2>> "
                                         LongCommand{251, "", false, 0, 0},              // "2>>"
                                         LongCommand{252, "", false, 0, 0},              // "2>"
                                         LongCommand{253, "standard error", true, 0, 2}, // "2"
                                         LongCommand{254, "standard error", true, 0, 1},
                                         LongCommand{255, "standard error", true, 0, 1},
                                         LongCommand{256, "standard error", true, 1, 1},
                                         LongCommand{300, "standard error", true, 45, 1},
                                         LongCommand{5000, "standard error", true, 4745, 1}),
                         name_of);

} // namespace
} // namespace zav
