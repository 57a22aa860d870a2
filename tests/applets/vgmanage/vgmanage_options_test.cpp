// SPDX-License-Identifier: MIT
// The options and the usage of vgmanage.
#include "applets/options/described_applet.h"

namespace zav::test {
namespace {

const Description expected = {
    .applet = "vgmanage",
    .short_options = "CSDn:c:d:",
    .rules = "C:S:D:C--SD:S--CD:D--SC",
    .long_options = {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}},
    .bits = {{'C', 0x1}, {'S', 0x2}, {'D', 0x4}, {'n', 0x8}, {'c', 0x10}, {'d', 0x20}},
    .conflicts = {"CS", "CD", "SC", "SD", "DC", "DS"},
    .usage = "\n"
             "--display\t\tdisplay all vg info\n"
             "--display -n vgname\t\tdisplay a vg info specified by 'vgname'\n"
             "--create -c pvname(channel or md?) -n vgname -d dev\t\tcreate a vg with 'vgname' on "
             "'pvname'\n"
             "--delete -n vgname\t\tdelete a vg specified by 'vgname'\n\n"
             "manage the vg info\n"
             "Options:\n"
             " -d\t\tspecify device\n"
             " -n\t\tspecify vgname\n"
             " -c\t\tspecify pvname",
};

INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));

TEST(VgmanageOptions, CreateAndDisplayTogetherAreBothSeen) {
    EXPECT_EQ(parse_for("vgmanage", {"-C", "-S"}), 0x3u | conflict_bit);
}

} // namespace
} // namespace zav::test
