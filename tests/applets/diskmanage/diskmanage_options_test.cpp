// SPDX-License-Identifier: MIT
// The options and the usage of diskmanage.
#include "applets/options/described_applet.h"

namespace zav::test {
namespace {

const Description expected = {
    .applet = "diskmanage",
    .short_options = "ISHa:n:r:d:",
    .rules = "S:H:I:S--HI:H--SI:I--SH:H?ar:a--r",
    .long_options = {{"init", 'I'}, {"display", 'S'}, {"hotspare", 'H'}},
    .bits = {{'I', 0x1}, {'S', 0x2}, {'H', 0x4}, {'a', 0x8}, {'n', 0x10}, {'r', 0x20}, {'d', 0x40}},
    .conflicts = {"SH", "SI", "HS", "HI", "IS", "IH", "ra"},
    .usage = "\n"
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
             " -r\t\tremove a hotspare disk",
};

INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));

TEST(DiskmanageOptions, HotspareNeedsAChannelToAddOrToRemove) {
    EXPECT_TRUE(shows_usage_of("diskmanage", {"--hotspare"}));
    EXPECT_TRUE(shows_usage_of("diskmanage", {"--hotspare", "-n", "1", "-d", "0"}));
    EXPECT_EQ(parse_for("diskmanage", {"--hotspare", "-a", "1"}), 0xcu);
    EXPECT_EQ(parse_for("diskmanage", {"--hotspare", "-r", "1"}), 0x24u);
}

TEST(DiskmanageOptions, ChannelsOfAllKindsMayShareOnePlace) {
    const char* channel = nullptr;
    const char* device = nullptr;
    CommandLine line({"-H", "-a", "3", "-n", "5", "-d", "0"});
    EXPECT_EQ(line.parse(applet_options("diskmanage"), {&channel, &channel, &channel, &device}),
              0x5cu);
    EXPECT_STREQ(channel, "5");
    EXPECT_STREQ(device, "0");
}

} // namespace
} // namespace zav::test
