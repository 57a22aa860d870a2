// SPDX-License-Identifier: MIT
// A command that is refused: the line of one that failed, and one that says that it was not run.
#include "base/command.h"
#include "base/command/real_tools_root.h"
#include "fixtures/library.h"

#include <gmock/gmock.h>

namespace zav {
namespace {

using test::LogLine;
using test::RealToolsRoot;
using test::Result;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

std::vector<std::string> logged_by(const std::string& command, const std::string& name) {
    RealToolsRoot root;
    const Result run = root.call([&] { return run_or_fail({name}, command); });
    EXPECT_EQ(run.returned, -11000);
    EXPECT_THAT(run.commands, IsEmpty());
    std::vector<std::string> texts;
    for (const LogLine& line : root.log()) {
        texts.push_back(line.text);
    }
    return texts;
}

TEST(RefusedCommand, IsLoggedAsNotRunWithTheNameThatIsNotPlain) {
    EXPECT_THAT(logged_by("/sbin/tool ..", ".."),
                ElementsAre(StartsWith("system(\"/sbin/tool ..\") return unnormal with exit(255) "
                                       "for '"),
                            "'/sbin/tool ..' was not run: '..' is not a plain name"));
}

TEST(RefusedCommand, IsLoggedAsNotRunWhenItIsTooLong) {
    const std::string command = "/sbin/tool " + std::string(240, 'x');
    EXPECT_THAT(logged_by(command, "x"),
                ElementsAre(StartsWith("system(\"/sbin/tool xxx"),
                            "'" + command + "' was not run: it is too long to be run whole"));
}

} // namespace
} // namespace zav
