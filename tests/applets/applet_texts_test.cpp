// SPDX-License-Identifier: MIT
// The exact usage texts: front ends and manuals quote them, misspellings included.
#include "applets/applet_texts.h"
#include "applets/applets.h"
#include "private_root.h"

#include <gmock/gmock.h>
#include <ostream>
#include <string>

namespace zav::test {
namespace {

struct Usage {
    const char* applet;
    const char* text;
};

void PrintTo(const Usage& usage, std::ostream* out) {
    *out << usage.applet;
}

constexpr Usage usages[] = {
    {"diskmanage", "\n"
                   "--display\t\t display all disks info\n"
                   "--display -n channel -d dev\t\tdisplay a single disk info under channel\n"
                   "--hotspare -a channel -d dev\t\t create a hotspare disk with channel\n"
                   "--hotspare -r channel -d dev\t\tremove the hotapare disk under channel\n"
                   "--init -n channel -d dev\t\tinitialize the disk undere channel\n\n"
                   "manage the disk info\n"
                   "Options:\n"
                   " -d\t\tspecify a device\n"
                   " -n\t\tspecify a channel\n"
                   " -a\t\tcreate a hotspare disk\n"
                   " -r\t\tremove a hotspare disk"},
    {"disksmart",
     "\n"
     "--display\t\tdisplay all smart info\n"
     "--display -n channel -d dev\t\tdisplay the smart info under channel\n"
     "--display --detail -n channel -d dev\t\tdisplay the verbose smart info under channel\n\n"
     "manage the smart info\n"
     "Options:\n"
     " -d\t\tspecify a dev\n"
     " -n\t\tspecify a channel"},
    {"fsmanage", "\n"
                 "--display\t\tdisplay all file system info\n"
                 "--repair -n lvname -g vgname\t\trepair file system\n"
                 "--create -n lvname -s size -g vgname\t\tcreate file system\n"
                 "--delete -n lvname -g vgname\t\tcreate file system\n\n"
                 "manage the file system info\n"
                 "Options:\n"
                 " -n\t\tspecify a name of logical volume\n"
                 " -s\t\tspecify the size of logical volume\n"
                 " -g\t\tspecify the name of volume group"},
    {"lvmanage",
     "\n"
     "--display\t\tdisplay all lv info\n"
     "--display -n lvname(path)\t\tdisplay the lv info specified by 'lvname'\n"
     "--delete -n lvname vgname\t\tdelete the lv specified by 'lvname' on 'vgname'\n"
     "--create -L lvsize -n lvname vgname\t\tcreate a lv with 'lvname' and 'lvsize' on vgname\n\n"
     "manage the lv info\n"
     "Options:\n"
     " -n\t\tspecify lvname\n"
     " -L\t\tspecify lvsize"},
    {"mdmanage",
     "\n"
     "--display\t\tdisplay all raid info\n"
     "--display -n raidname\t\tdisplay a raid info specified by 'raidname'\n"
     "-a channel raidname\t\tremove disk with 'channel' form the raid 'raidname'\n"
     "-r channel raidname\t\tadd disk with 'channel' to the raid 'raidname'\n"
     "--delete -n raidname\t\tdelete a raid specified by 'raidname'\n"
     "--recover -n raidname\t\trecover the raid in state of 'NOT START'\n"
     "--create [--fg-init] -n raidname -l raidlevel -d dev channels\t\tcreate a raid with "
     "'raidname' 'raidlevel' and 'channels' in 'device'\n\n"
     "manage the raid info\n"
     "Options:\n"
     " -d\t\tspecify a device\n"
     " -n\t\tspecify raidname\n"
     " -l\t\tspecify raidlevel\n"
     " -c\t\tspecify strip size\n"
     " --fg-init\t\tintialize raid\n"
     " -r\t\tremove disk to raid\n"
     " -a\t\tadd disk to raid"},
    {"netmanage", "\n"
                  "--display\t\tdisplay all net file system info\n"
                  "--repair -n label\t\trepair file system\n"
                  "--create -n label -g device\t\tcreate file system\n"
                  "--delete -n label\t\tdelete file system\n\n"
                  "manage the net file system info\n"
                  "Options:\n"
                  " -n\t\tspecify a label\n"
                  " -g\t\tspecify the name of device"},
    {"sharemanage",
     "\n"
     "--display\t\tdisplay all share conf info\n"
     "--display -n sharename\t\tdisplay share conf info specified by 'sharename'\n"
     "--delete -n sharename\t\tdelete a share specified by 'sharename'\n"
     "--repair -n sharename -f flag vgname\t\t repair the share file system\n"
     "--create -n sharename -f flag -s size [-u user] [-x ro/rw] [-c commnet] vgname\t\tcreate a "
     "share with 'sharename' 'flag' 'user' and 'size' on 'vgname'\n"
     "--edit -n sharename -f flag [-s size] [-u user] [-x ro/rw] [-c comment] -b 0/1\t\t edit "
     "the share 'sharename'\n"
     "--restore -n sharename -f flag -s size [-u user] [-x ro/rw] [-c comment] vgname\t\t "
     "restore the share 'sharename'\n\n"
     "manage share conf info\n"
     "Options:\n"
     " -n\t\tspecify a sharename\n"
     " -f\t\tspecify share mode\n"
     " -s\t\tspecify size\n"
     " -u\t\tspecify user\n"
     " -x\t\tspecify access\n"
     " -c\t\tspecify comment\n"
     " -b\t\tspecify share state"},
    {"vgmanage",
     "\n"
     "--display\t\tdisplay all vg info\n"
     "--display -n vgname\t\tdisplay a vg info specified by 'vgname'\n"
     "--create -c pvname(channel or md?) -n vgname -d dev\t\tcreate a vg with 'vgname' on "
     "'pvname'\n"
     "--delete -n vgname\t\tdelete a vg specified by 'vgname'\n\n"
     "manage the vg info\n"
     "Options:\n"
     " -d\t\tspecify device\n"
     " -n\t\tspecify vgname\n"
     " -c\t\tspecify pvname"},
};

class AppletTexts : public testing::TestWithParam<Usage> {};

INSTANTIATE_TEST_SUITE_P(EveryApplet, AppletTexts, testing::ValuesIn(usages),
                         [](const auto& test) { return std::string(test.param.applet); });

TEST_P(AppletTexts, UsageStandsAtTheAppletsPlaceInTheTable) {
    const auto all = applets();
    ASSERT_EQ(all.size(), std::size(usages));
    ASSERT_EQ(applet_texts().size(), std::size(usages));
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (std::string(all[i].name) == GetParam().applet) {
            EXPECT_STREQ(applet_texts()[i].usage, GetParam().text);
            return;
        }
    }
    FAIL() << "no such applet";
}

TEST_P(AppletTexts, HelpPrintsTheUsageAndEndsWithStatus0) {
    PrivateRoot root;
    const Result result = root.run({GetParam().applet, "--help"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, std::string("zavbox 0.1.0\n\nUsage: ") + GetParam().applet + " " +
                              GetParam().text + "\n\n");
    EXPECT_EQ(result.err, "");
}

// Every applet needs one of its modes.
TEST_P(AppletTexts, CommandWithoutOptionsPrintsTheUsageAndEndsWithStatus0) {
    PrivateRoot root;
    const Result result = root.run({GetParam().applet});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, std::string("zavbox 0.1.0\n\nUsage: ") + GetParam().applet + " " +
                              GetParam().text + "\n\n");
    EXPECT_EQ(result.err, "");
    EXPECT_FALSE(root.exists("/var/log/log.libzav"));
}

TEST_P(AppletTexts, UsageIsNotMarkedAsMissing) {
    EXPECT_NE(GetParam().text[0], '\b');
}

} // namespace
} // namespace zav::test
