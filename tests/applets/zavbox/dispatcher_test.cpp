// SPDX-License-Identifier: MIT
// The executable: which request or applet a command line selects, and how it ends.
#include "applets/zavbox/names.h"
#include "private_root.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::PrivateRoot;
using test::RunOptions;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

test::Result run(const std::vector<std::string>& arguments, const RunOptions& options = {}) {
    PrivateRoot root;
    test::Result result = root.run(arguments, options);
    EXPECT_THAT(result.commands, IsEmpty());
    return result;
}

// The output of a request to the dispatcher itself, which always ends with status 0.
std::string printed(const std::vector<std::string>& arguments, const RunOptions& options = {}) {
    PrivateRoot root;
    const test::Result result = root.run(arguments, options);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
    return result.out;
}

std::string usage_of(const std::string& invocation) {
    return invocation + " " + invocation +
           "\n\nUsage: 0.1.0 [function] [arguments]...\n"
           "\tMost people will create a link to zavbox\n"
           "\tfor each function they wish to manage zav and\n"
           "\tzavbox will act like whatever it was invoked as!\n"
           "\tusing '--help' in this form 'cmd --help',\n"
           "\tyou can get the usage of the cmd\n"
           "\nCurrently defined functions:\n"
           "\tdiskmanage, disksmart, fsmanage, lvmanage, mdmanage, netmanage,\n"
           "\tsharemanage, vgmanage\n\n";
}

TEST(Dispatcher, ShowsItsThreeVersions) {
    EXPECT_EQ(printed({"--version"}), "ZAVBOX version:\t0.1.0 (2008-10-08)\n"
                                      "LIBZAV version:\t0.1.2\n"
                                      "SVN version:\t360\n");
}

TEST(Dispatcher, TreatsVersionWithAnotherWordAsAnApplet) {
    EXPECT_EQ(printed({"--version", "now"}), "applets '--version' not found\n");
}

TEST(Dispatcher, ShowsItsUsageWithoutAnArgument) {
    EXPECT_EQ(printed({}), usage_of("zavbox"));
}

TEST(Dispatcher, ShowsItsUsageForHelp) {
    EXPECT_EQ(printed({"--help"}), usage_of("zavbox"));
}

TEST(Dispatcher, TreatsHelpWithAnotherWordAsAnApplet) {
    EXPECT_EQ(printed({"--help", "mdmanage"}), "applets '--help' not found\n");
}

TEST(Dispatcher, ShowsTheWholePathThatItWasStartedUnder) {
    EXPECT_EQ(printed({}, {.argv0 = "/usr/bin/zavbox"}), usage_of("/usr/bin/zavbox"));
    EXPECT_EQ(printed({"--help"}, {.argv0 = "/100%s/"}), usage_of("/100%s/"));
}

TEST(Dispatcher, ReportsAnUnknownApplet) {
    for (const char* name : {"nomanage", "MDMANAGE", "mdmanag", "mdmanagee", "", " mdmanage", "-s",
                             "%s%n", "--versio", "/usr/bin/mdmanage"}) {
        EXPECT_EQ(printed({name}), std::string("applets '") + name + "' not found\n");
        EXPECT_EQ(printed({name, "--display"}), std::string("applets '") + name + "' not found\n");
    }
}

TEST(Dispatcher, DoesNotChooseAnAppletByItsOwnName) {
    PrivateRoot root;
    root.symlink("/usr/bin/zavbox", "/usr/bin/diskmanage");
    const RunOptions as_link = {.argv0 = "diskmanage", .program = "/usr/bin/diskmanage"};
    const test::Result result = root.run({"--display"}, as_link);
    EXPECT_EQ(result.out, "applets '--display' not found\n");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(root.run({}, as_link).out, usage_of("diskmanage"));
    EXPECT_THAT(root.run({"mdmanage", "--help"}, as_link).out,
                StartsWith("zavbox 0.1.0\n\nUsage: mdmanage \n"));
}

TEST(Dispatcher, SurvivesAnEmptyArgumentList) {
    PrivateRoot root;
    const test::Result result = root.call([] {
        const pid_t child = ::fork();
        if (child == 0) {
            std::array<char*, 1> nothing = {nullptr};
            std::array<char*, 2> environment = {const_cast<char*>("mdmanage"), nullptr};
            ::execve("/usr/bin/zavbox", nothing.data(), environment.data());
            ::_exit(1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        return status;
    });
    EXPECT_EQ(result.returned, 0);
    // Newer kernels substitute an empty string for the missing name.
    EXPECT_THAT(result.out, testing::AnyOf(usage_of(""), "applets '' not found\n"));
}

TEST(Dispatcher, WorksWithoutAnyOpenDescriptor) {
    EXPECT_EQ(run({"--version"}, {.closed = {0, 1, 2}}).exit_status, 0);
}

TEST(Dispatcher, PassesOnTheStatusOfAnAppletModulo256) {
    PrivateRoot root; // without disks the array list cannot be built
    root.allow_unexpected();
    const test::Result result = root.run({"mdmanage", "-S"});
    EXPECT_EQ(result.out, "for errno '-422'\n");
    EXPECT_EQ(result.exit_status, 256 - 422 % 256);
}

class AppletOfTheTable : public testing::TestWithParam<std::string> {};

TEST_P(AppletOfTheTable, ParsesItsOptionsWhenHelpIsNotAlone) {
    PrivateRoot root;
    const test::Result result = root.run({GetParam(), "--help", "more"});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith(GetParam() + ": unrecognized option '--help'\n"));
    ASSERT_EQ(root.log().size(), 1U);
    EXPECT_EQ(root.log()[0].text, "zav_getopt[499]: other option: ?");
}

INSTANTIATE_TEST_SUITE_P(Dispatcher, AppletOfTheTable, testing::ValuesIn(names),
                         [](const auto& name) { return name.param; });

} // namespace
} // namespace zav
