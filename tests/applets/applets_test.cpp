// SPDX-License-Identifier: MIT
// The table of applets, and running one of them.
#include "applets/applets.h"
#include "private_root.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

TEST(Applets, StandInAlphabeticalOrder) {
    std::vector<std::string> names;
    for (const Applet& applet : applets()) {
        names.emplace_back(applet.name);
    }
    EXPECT_THAT(names, ElementsAre("diskmanage", "disksmart", "fsmanage", "lvmanage", "mdmanage",
                                   "netmanage", "sharemanage", "vgmanage"));
}

TEST(Applets, AreAllInstalledInUsrBin) {
    for (const Applet& applet : applets()) {
        EXPECT_EQ(applet.install_location, 3u) << applet.name;
        EXPECT_STREQ(install_directory(applet), "/usr/bin") << applet.name;
    }
}

TEST(Applets, InstallLocationsAreFive) {
    const auto directory = [](std::uint32_t location) {
        return std::string(install_directory({"applet", nullptr, location, {}, ""}));
    };
    EXPECT_EQ(directory(0), "");
    EXPECT_EQ(directory(1), "/bin");
    EXPECT_EQ(directory(2), "/sbin");
    EXPECT_EQ(directory(3), "/usr/bin");
    EXPECT_EQ(directory(4), "/usr/sbin");
}

// applet_run() and applet_usage_show() end the process.

std::vector<char*> argument_vector(std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    return arguments;
}

Result run_applet(std::vector<std::string> words) {
    PrivateRoot root;
    return root.call([&] {
        std::vector<char*> arguments = argument_vector(words);
        optind = 0; // getopt starts over
        applet_run(words[0].c_str(), static_cast<int>(words.size()), arguments.data());
        return 0;
    });
}

TEST(AppletRun, ReturnsForANameThatIsNoApplet) {
    EXPECT_TRUE(run_applet({"mdmanag"}).has_returned);
    EXPECT_TRUE(run_applet({"mdmanagex", "--help"}).has_returned);
    EXPECT_TRUE(run_applet({"MDMANAGE", "--help"}).has_returned);
    EXPECT_TRUE(run_applet({"", "--help"}).has_returned);
}

TEST(AppletRun, ShowsTheUsageForHelpAlone) {
    const Result result = run_applet({"mdmanage", "--help"});
    EXPECT_FALSE(result.has_returned);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.out, StartsWith("zavbox 0.1.0\n\nUsage: mdmanage \n--display"));
}

TEST(AppletRun, HelpWithAnotherWordIsAnUnknownOption) {
    const Result result = run_applet({"sharemanage", "--help", "x"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("sharemanage: unrecognized option '--help'\n"));
}

TEST(AppletRun, EndsTheProcessWithWhatTheAppletReturns) {
    const Result result = run_applet({"mdmanage", "--delete", "-n", "not a name"});
    EXPECT_FALSE(result.has_returned);
    EXPECT_EQ(result.exit_status, 256 - 127);
    EXPECT_EQ(result.out, "for errno '-127'\n");
}

TEST(AppletUsage, PageShowsTheVersionTheNameAndTheText) {
    EXPECT_EQ(usage_page("name", "\n--display"), "zavbox 0.1.0\n\nUsage: name \n--display\n\n");
    EXPECT_EQ(usage_page("name", ""), "zavbox 0.1.0\n\nUsage: name \n\n");
}

TEST(AppletUsage, TextThatBeginsWithABackspaceMeansNoHelp) {
    EXPECT_EQ(usage_page("name", "\b"), "zavbox\n\nNo help available.\n\n");
    EXPECT_EQ(usage_page("name", "\btext"), "zavbox\n\nNo help available.\n\n");
}

TEST(AppletUsage, BeforeAnAppletIsChosenIsTheFirstOneUnderTheProgramsName) {
    PrivateRoot root;
    const Result result = root.call([] {
        set_current_applet_name("/usr/local/bin/zavtool");
        applet_usage_show();
        return 0;
    });
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.out, StartsWith("zavbox 0.1.0\n\nUsage: zavtool \n--display\t\t display all"
                                       " disks info\n"));
}

TEST(AppletUsage, NameWithoutAFolderIsTakenWhole) {
    PrivateRoot root;
    const Result result = root.call([] {
        set_current_applet_name("zavtool");
        applet_usage_show();
        return 0;
    });
    EXPECT_THAT(result.out, StartsWith("zavbox 0.1.0\n\nUsage: zavtool \n"));
}

TEST(AppletUsage, AfterAFailedChoiceIsTheFirstOneToo) {
    PrivateRoot root;
    const Result result = root.call([] {
        std::vector<std::string> words = {"nothing"};
        std::vector<char*> arguments = argument_vector(words);
        set_current_applet_name("name");
        applet_run("nothing", 1, arguments.data());
        applet_usage_show();
        return 0;
    });
    EXPECT_THAT(result.out, StartsWith("zavbox 0.1.0\n\nUsage: name \n--display\t\t display all"));
}

TEST(AppletOptionsOf, UnknownNameAreThoseOfTheFirstApplet) {
    EXPECT_STREQ(applet_options("nothing").short_options, "ISHa:n:r:d:");
}

} // namespace
} // namespace zav::test
