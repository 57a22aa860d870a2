// SPDX-License-Identifier: MIT
// zavbox --install: a link for each applet.
#include "applets/zavbox/names.h"
#include "fixtures/library.h"
#include "private_root.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace zav {
namespace {

namespace fs = std::filesystem;

using test::PrivateRoot;
using test::RunOptions;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* program = "/usr/bin/program"; // on the same file system as the links
constexpr const char* success = "zavbox links install success\n";

// A root in which the program is a file of the tree.
class InstallRoot : public PrivateRoot {
  public:
    InstallRoot() {
        call([] { return fs::copy_file("/usr/bin/zavbox", program) ? 0 : 1; });
    }

    test::Result install(const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"--install"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        test::Result result = run(all, {.program = program});
        EXPECT_EQ(result.exit_status, 0);
        EXPECT_EQ(result.err, "");
        return result;
    }

    [[nodiscard]] fs::path link(const std::string& name) const {
        return host_path("/usr/bin/" + name);
    }
    [[nodiscard]] bool is_hard_link(const std::string& name) const {
        return !fs::is_symlink(link(name)) && fs::exists(link(name)) &&
               fs::equivalent(link(name), host_path(program));
    }
    [[nodiscard]] bool is_symbolic_link(const std::string& name) const {
        return fs::is_symlink(link(name)) && fs::read_symlink(link(name)) == program;
    }
};

std::string errors_for_all() {
    std::string text;
    for (const std::string& name : names) {
        text += "error:/usr/bin/" + name;
    }
    return text;
}

TEST(Install, MakesAHardLinkForEachApplet) {
    InstallRoot root;
    EXPECT_EQ(root.install({}).out, success);
    for (const std::string& name : names) {
        EXPECT_TRUE(root.is_hard_link(name)) << name;
    }
    EXPECT_EQ(fs::hard_link_count(root.host_path(program)), names.size() + 1);
}

TEST(Install, MakesSymbolicLinksWithDashS) {
    InstallRoot root;
    EXPECT_EQ(root.install({"-s"}).out, success);
    for (const std::string& name : names) {
        EXPECT_TRUE(root.is_symbolic_link(name)) << name;
    }
}

TEST(Install, IgnoresWhatFollowsDashS) {
    InstallRoot root;
    EXPECT_EQ(root.install({"-s", "--help", "more"}).out, success);
    EXPECT_TRUE(root.is_symbolic_link("mdmanage"));
}

TEST(Install, MakesHardLinksForAnyOtherWord) {
    for (const char* word : {"-S", "-ss", "--symbolic", "s", "", "--help", "--version"}) {
        InstallRoot root;
        EXPECT_EQ(root.install({word, "-s"}).out, success);
        EXPECT_TRUE(root.is_hard_link("vgmanage")) << word;
    }
}

TEST(Install, AcceptsLinksThatAreThereAlready) {
    InstallRoot root;
    root.install({});
    EXPECT_EQ(root.install({}).out, success);
    EXPECT_EQ(root.install({"-s"}).out, success);
    EXPECT_TRUE(root.is_hard_link("mdmanage"));
}

TEST(Install, LeavesAnotherFileOfTheNameAloneSilently) {
    InstallRoot root;
    root.file("/usr/bin/mdmanage", "of somebody else\n");
    EXPECT_EQ(root.install({}).out, success);
    EXPECT_EQ(root.read("/usr/bin/mdmanage"), "of somebody else\n");
    EXPECT_TRUE(root.is_hard_link("netmanage"));
}

TEST(Install, NamesEachLinkThatFailsWithoutALineEndAndSaysSuccess) {
    PrivateRoot root; // the program is on another file system than the links
    const test::Result result = root.run({"--install"});
    EXPECT_EQ(result.out, errors_for_all() + success);
    EXPECT_EQ(result.exit_status, 0);
}

TEST(Install, ContinuesAfterALinkThatFails) {
    InstallRoot root;
    root.directory("/usr/bin/mdmanage"); // EEXIST is not an error
    root.read_only("/usr/bin");
    EXPECT_EQ(root.install({"-s"}).out,
              "error:/usr/bin/diskmanageerror:/usr/bin/disksmarterror:/usr/bin/fsmanage"
              "error:/usr/bin/lvmanageerror:/usr/bin/netmanageerror:/usr/bin/sharemanage"
              "error:/usr/bin/vgmanage" +
                  std::string(success));
}

TEST(Install, MakesSymbolicLinksAcrossFileSystems) {
    PrivateRoot root;
    EXPECT_EQ(root.run({"--install", "-s"}).out, success);
    for (const std::string& name : names) {
        EXPECT_EQ(fs::read_symlink(root.host_path("/usr/bin/" + name)), "/usr/bin/zavbox");
    }
}

TEST(Install, FailsWhenTheProgramsOwnPathCannotBeRead) {
    PrivateRoot root;
    root.remove("/proc/self");
    const test::Result result = root.run({"--install"});
    EXPECT_EQ(result.out, "/proc/self/exezavbox links install fail!\n");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_FALSE(root.exists("/usr/bin/mdmanage"));
}

TEST(Install, PutsNothingAnywhereElse) {
    InstallRoot root;
    const auto before = root.snapshot();
    root.install({"-s"});
    EXPECT_THAT(before.changes_to(root.snapshot()), IsEmpty());
    std::vector<std::string> expected = names;
    expected.insert(expected.end(), {"program", "zavbox"});
    EXPECT_THAT(root.list("/usr/bin"), testing::UnorderedElementsAreArray(expected));
    EXPECT_THAT(root.log(), IsEmpty());
}

} // namespace
} // namespace zav
