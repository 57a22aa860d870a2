// SPDX-License-Identifier: MIT
// The options and the usage of mdmanage.
#include "applets/options/described_applet.h"

namespace zav::test {
namespace {

const Description expected = {
    .applet = "mdmanage",
    .short_options = "CSDRgn:l:d:a:r:",
    .rules = "C:S:D:R:a:r:C--SDR:S--CDR:D--SCR:R--CSD:a--r",
    .long_options =
        {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}, {"recover", 'R'}, {"fg-init", 'g'}},
    .bits = {{'C', 0x1},
             {'S', 0x2},
             {'D', 0x4},
             {'R', 0x8},
             {'g', 0x10},
             {'n', 0x20},
             {'l', 0x40},
             {'d', 0x80},
             {'a', 0x100},
             {'r', 0x200}},
    .conflicts = {"CS", "CD", "CR", "SC", "SD", "SR", "DC", "DS", "DR", "RC", "RS", "RD", "ra"},
    .usage = "\n"
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
             " -a\t\tadd disk to raid",
};

INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));

TEST(MdmanageOptions, AddingOrRemovingADiskIsAMode) {
    EXPECT_EQ(parse_for("mdmanage", {"-a", "1", "md1"}), 0x100u);
    EXPECT_EQ(parse_for("mdmanage", {"-r", "1", "md1"}), 0x200u);
    EXPECT_EQ(parse_for("mdmanage", {"-C", "-a", "1"}), 0x101u) << "no conflict";
}

TEST(MdmanageOptions, TwoLongNamesBeginWithD) {
    EXPECT_EQ(parse_for("mdmanage", {"--del"}), 0x4u);
    EXPECT_EQ(parse_for("mdmanage", {"--di"}), 0x2u);
}

} // namespace
} // namespace zav::test
