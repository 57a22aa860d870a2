// SPDX-License-Identifier: MIT
// A command that is started without a shell acts and ends as it does through a shell.
#include "base/command.h"
#include "base/command/real_tools_root.h"
#include "fixtures/library.h"

#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace zav {
namespace {

using test::RealToolsRoot;
using test::Result;

// The observable effects of a command: its status, its output, and all files.
struct Effect {
    int status;
    std::string out;
    std::string err;
    std::map<std::string, std::string> files;

    bool operator==(const Effect&) const = default;
};

void PrintTo(const Effect& effect, std::ostream* out) {
    *out << "status " << effect.status << ", out \"" << effect.out << "\", err \"" << effect.err
         << "\"";
    for (const auto& [path, content] : effect.files) {
        *out << "\n  " << path << ": " << content;
    }
}

// A shell's message without the name that the shell was started under.
std::string without_shell_name(std::string text) {
    const std::size_t name = text.find("sh: ");
    return name == text.npos ? text : text.substr(name);
}

Effect effect_of(RealToolsRoot& root, const test::Function& run) {
    root.script("/sbin/tool", "echo \"$# $* in $PWD\"; echo complaint >&2; exit 7")
        .script("/sbin/killed", "kill -$1 $$")
        .script("/sbin/cat", "echo a wrong cat")
        .script("/tmp/a=b", "echo assigned")
        .script("/tmp/-x", "echo dash")
        .script("/tmp/@%,:+", "echo signs")
        .script("/sbin/not-executable", "exit 0")
        .file("/sbin/no-interpreter", "echo no interpreter; exit 4\n", 0755)
        .file("/sbin/empty", "", 0755)
        .file("/sbin/garbage", std::string("\0\1\2garbage\0", 11), 0755)
        .file("/sbin/bad-interpreter", "#!/missing/interpreter\n", 0755)
        .directory("/sbin/directory")
        .file("/tmp/full", "old content\n")
        .file("/tmp/read-only", "old\n", 0444)
        .file("/tmp/text", "one\ntwo\n");
    ::chmod(root.host_path("/sbin/not-executable").c_str(), 0644);
    const Result result = root.call(run, {.input = "input", .working_directory = "/tmp"});
    return {result.returned, result.out, without_shell_name(result.err), root.snapshot().entries};
}

Effect with_shell(RealToolsRoot& root, const std::string& command) {
    return effect_of(root, [&command] {
        const std::string path = "/bin:/sbin:/usr/bin:/usr/sbin:/usr/local/bin:/usr/local/sbin";
        ::setenv("PATH", (path + ":" + path).c_str(), 1);
        ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        return std::system((command + " 2>> /dev/null").c_str());
    });
}

Effect as_command(RealToolsRoot& root, const std::string& command) {
    return effect_of(root, [&command] { return run_command(command); });
}

TEST(CommandDeath, IsWhatAShellThatBecomesTheToolShows) {
    for (const char* command :
         {"/sbin/killed 9", "/sbin/killed 15 > /tmp/out", "/sbin/killed 11"}) {
        RealToolsRoot through_shell;
        through_shell.bind("/bin/busybox", "/bin/sh");
        RealToolsRoot root;
        EXPECT_EQ(as_command(root, command), with_shell(through_shell, command)) << command;
    }
}

class CommandEquivalence : public testing::TestWithParam<const char*> {};

TEST_P(CommandEquivalence, ToTheShell) {
    RealToolsRoot through_shell;
    RealToolsRoot root;
    EXPECT_EQ(as_command(root, GetParam()), with_shell(through_shell, GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Of, CommandEquivalence,
    testing::Values(
        // Plain commands.
        "/sbin/tool", "/sbin/tool a b", "  /sbin/tool   a  b  ",
        "/sbin/tool -a --long=1 x,y:z @% +", "/sbin/tool a > /tmp/out", "/sbin/tool > /tmp/out a",
        "> /tmp/out /sbin/tool a", "/sbin/tool > /tmp/full", "/sbin/tool > /tmp/out > /tmp/out2",
        "/sbin/tool 2>> /tmp/errors", "/sbin/tool 2>> /tmp/full > /tmp/full",
        "/sbin/tool > /missing/out", "/sbin/tool > /tmp", "/sbin/tool 2>> /missing/errors",
        "/sbin/tool > out", "/sbin/tool > read-only", "/sbin/garbage", "/sbin/missing",
        "/sbin/missing > /tmp/out", "/sbin/no-interpreter", "/sbin/no-interpreter > /tmp/out",
        "/sbin/empty", "/sbin/directory", "/sbin/not-executable", "/sbin/bad-interpreter", "cat",
        "cat /tmp/text", "cat /missing", "cat text > copy", "/usr/local/bin/true",
        "/usr/local/bin/false", "/usr/local/bin/wc /tmp/text > /tmp/out",
        "/usr/local/bin/cp /tmp/text /tmp/copy", "./-x", "./@%,:+", "../sbin/tool", "/tmp/a=b",
        "./a=b", "/sbin/tool a=b", "/sbin/tool 2", "/sbin/tool 2 > /tmp/out", "/sbin/tool -",
        "/sbin/tool /tmp/../tmp/./text",
        // Commands that only a shell understands.
        "", " ", "true", "exit 5", "cd /missing", "a=b", "a=b /sbin/tool", "missing", "tool a",
        "/sbin/tool 'a  b' \"c\"", "/sbin/tool a\\ b", "/sbin/tool $HOME", "/sbin/tool `echo a`",
        "/sbin/tool $(echo a)", "/sbin/tool t*", "/sbin/tool tex?", "/sbin/tool [t]ext",
        "/sbin/tool {a,b}", "/sbin/tool ~", "/sbin/tool #a", "/sbin/tool !a", "/sbin/tool ^a",
        "/sbin/tool a;/sbin/tool b", "/sbin/tool a & wait", "/sbin/tool a|cat",
        "/sbin/tool && echo a", "/sbin/tool || echo a", "(/sbin/tool a)", "{ /sbin/tool a; }",
        "/sbin/tool < /tmp/text", "cat < /tmp/text", "cat <text", "/sbin/tool >out",
        "/sbin/tool 2>&1", "/sbin/tool >> full", "/sbin/tool 1> out", "/sbin/tool a> out",
        "/sbin/tool\ta", "/sbin/tool a\n/sbin/tool b", "/sbin/tool >", "/sbin/tool > > out",
        "/sbin/tool 'a", "/sbin/tool )", "if", "! /sbin/tool", "/sbin/killed 9; exit $?"),
    [](const auto& command) { return "Command" + std::to_string(command.index); });

} // namespace
} // namespace zav
