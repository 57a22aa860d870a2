// SPDX-License-Identifier: MIT
// Programs of zavbox's own in place of the system's.
#include "base/adapters.h"
#include "base/command.h"
#include "base/command/real_tools_root.h"
#include "base/process.h"
#include "fixtures/library.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

namespace zav {
namespace {

using test::RealToolsRoot;
using test::Result;
using testing::HasSubstr;

const std::string tools = "/usr/lib/zavbox/tools";

// The system's tool and its adapter.
class Adapter : public testing::Test {
  protected:
    Adapter() {
        root.script("/sbin/tool", "echo system $*");
        root.script(tools + "/sbin/tool", "echo adapter ${0} $*");
    }

    std::string printed(const char* command) {
        return root.call([command] { return run_command(command); }).out;
    }
    std::string found() { return found("/sbin/tool"); }
    std::string found(const char* program) {
        return root.call([program] { std::fputs(adapter_of(program).c_str(), stdout); }).out;
    }
    // To a user that is not root.
    void give_away(const std::string& path) {
        if (::lchown(root.host_path(path).c_str(), 1234, 0) != 0) {
            GTEST_SKIP() << "only root can give files away";
        }
    }

    RealToolsRoot root;
};

TEST_F(Adapter, RunsInPlaceOfTheTool) {
    EXPECT_EQ(printed("/sbin/tool -a b"), "adapter /usr/lib/zavbox/tools/sbin/tool -a b\n");
}

TEST_F(Adapter, IsNotNeeded) {
    root.remove(tools + "/sbin/tool");
    EXPECT_EQ(printed("/sbin/tool -a b"), "system -a b\n");
    root.remove("/usr/lib/zavbox");
    EXPECT_EQ(printed("/sbin/tool -a b"), "system -a b\n");
}

TEST_F(Adapter, MayBeThereWithoutTheTool) {
    root.remove("/sbin/tool");
    EXPECT_EQ(printed("/sbin/tool"), "adapter /usr/lib/zavbox/tools/sbin/tool\n");
}

TEST_F(Adapter, LeavesTheCommandInTheLogAsItIs) {
    root.script(tools + "/sbin/tool", "exit 3");
    const Result result = root.call([] { return run_and_log("/sbin/tool -a b"); });
    EXPECT_EQ(result.returned, 3 << 8);
    const std::vector<test::LogLine> log = root.log();
    ASSERT_EQ(log.size(), 1U);
    EXPECT_THAT(log[0].text,
                HasSubstr("system(\"/sbin/tool -a b\") return normal with exit(3) for '"));
}

TEST_F(Adapter, IsOfNoUseToAShell) {
    EXPECT_EQ(printed("true; /sbin/tool"), "system\n");
}

TEST_F(Adapter, DoesNotReplaceTheShell) {
    root.script(tools + "/bin/sh", "echo adapter");
    EXPECT_EQ(printed("true; /sbin/tool"), "system\n");
}

TEST_F(Adapter, IsOfNoUseToABareProgram) {
    root.script(tools + "/bin/cat", "echo adapter");
    root.script(tools + "/cat", "echo adapter");
    root.file("/etc/text", "text\n");
    EXPECT_EQ(printed("cat /etc/text"), "text\n");
    EXPECT_EQ(found("cat"), "");
}

TEST_F(Adapter, RunsInASessionToo) {
    const Result result = root.call([] {
        bool was_ended = false;
        const ProgramLimits limits = {true, -1, std::chrono::seconds(10)};
        return run_command_within("/sbin/tool > /tmp/out", limits, was_ended);
    });
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(root.read("/tmp/out"), "adapter /usr/lib/zavbox/tools/sbin/tool\n");
}

TEST_F(Adapter, ThatCannotBeRunIsNotTheTool) {
    root.file(tools + "/sbin/tool", "no program", 0644);
    const Result result = root.call([] { return run_command("/sbin/tool"); });
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.returned, 126 << 8);
}

TEST_F(Adapter, ThatIsNoFileIsNone) {
    root.remove(tools + "/sbin/tool").directory(tools + "/sbin/tool");
    EXPECT_EQ(found(), "");
    EXPECT_EQ(printed("/sbin/tool"), "system\n");
    EXPECT_EQ(found("/sbin"), "");
    EXPECT_EQ(found("/"), "");
}

TEST_F(Adapter, ThatOthersMayChangeIsNone) {
    for (const mode_t mode : {0775U, 0757U, 0777U}) {
        ::chmod(root.host_path(tools + "/sbin/tool").c_str(), mode);
        EXPECT_EQ(found(), "") << mode;
    }
    ::chmod(root.host_path(tools + "/sbin/tool").c_str(), 0755);
    EXPECT_EQ(found(), tools + "/sbin/tool");
}

TEST_F(Adapter, InADirectoryThatOthersMayChangeIsNone) {
    for (const char* path : {"/", "/usr", "/usr/lib", "/usr/lib/zavbox", "/usr/lib/zavbox/tools",
                             "/usr/lib/zavbox/tools/sbin"}) {
        for (const mode_t mode : {0775U, 0757U, 01777U}) {
            root.directory(path, mode);
            EXPECT_EQ(found(), "") << path << " " << mode;
        }
        root.directory(path, 0755);
        EXPECT_EQ(found(), tools + "/sbin/tool") << path;
    }
}

TEST_F(Adapter, OfAnotherUserIsNone) {
    for (const char* path : {"/usr/lib/zavbox/tools/sbin/tool", "/usr/lib/zavbox/tools/sbin",
                             "/usr/lib/zavbox/tools", "/usr/lib/zavbox", "/usr/lib", "/usr"}) {
        give_away(path);
        EXPECT_EQ(found(), "") << path;
        ASSERT_EQ(::lchown(root.host_path(path).c_str(), 0, 0), 0);
        EXPECT_EQ(found(), tools + "/sbin/tool") << path;
    }
}

TEST_F(Adapter, MayBeALinkInTheTree) {
    root.symlink("tool", tools + "/sbin/other");
    root.symlink("../../../sbin/tool", tools + "/usr/local/bin/tool");
    root.symlink("usr/local", tools + "/short");
    for (const char* program : {"/sbin/other", "/usr/local/bin/tool", "/short/bin/tool"}) {
        EXPECT_EQ(found(program), tools + program);
    }
    EXPECT_EQ(printed("/sbin/other"), "adapter /usr/lib/zavbox/tools/sbin/other\n");
}

TEST_F(Adapter, IsNoLinkThatLeavesTheTree) {
    for (const char* target :
         {"/sbin/tool", "../../../../../../sbin/tool", "../../../../usr/lib/zavbox/tools/sbin/real",
          "/usr/lib/zavbox/tools/sbin/real", "link", "nowhere", "..", "../.."}) {
        root.script(tools + "/sbin/real", "echo adapter");
        root.script(tools + "/sbin/sbin/tool", "echo where no link leads");
        root.remove(tools + "/sbin/link").symlink(target, tools + "/sbin/link");
        EXPECT_EQ(found("/sbin/link"), "") << target;
    }
    EXPECT_EQ(found("/../../../../sbin/tool"), "");
}

TEST_F(Adapter, IsNoLinkOfAnotherUser) {
    root.symlink("tool", tools + "/sbin/other");
    EXPECT_EQ(found("/sbin/other"), tools + "/sbin/other");
    give_away(tools + "/sbin/other");
    EXPECT_EQ(found("/sbin/other"), "");
}

TEST_F(Adapter, IsNoLinkThroughADirectoryThatOthersMayChange) {
    root.script(tools + "/open/real", "echo adapter").symlink("../open/real", tools + "/sbin/link");
    EXPECT_EQ(found("/sbin/link"), tools + "/sbin/link");
    root.directory(tools + "/open", 0777);
    EXPECT_EQ(found("/sbin/link"), "");
}

TEST_F(Adapter, IsTakenFromATreeThatIsNoLink) {
    root.directory("/opt");
    std::filesystem::rename(root.host_path(tools), root.host_path("/opt/tools"));
    root.symlink("/opt/tools", tools);
    EXPECT_EQ(found(), "");
}

} // namespace
} // namespace zav
