// SPDX-License-Identifier: MIT
// The options and the usage of lvmanage.
#include "applets/options/described_applet.h"

namespace zav::test {
namespace {

const Description expected = {
    .applet = "lvmanage",
    .short_options = "CSDn:L:",
    .rules = "C:S:D:C--SD:S--CD:D--SC",
    .long_options = {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}},
    .bits = {{'C', 0x1}, {'S', 0x2}, {'D', 0x4}, {'n', 0x8}, {'L', 0x10}},
    .conflicts = {"CS", "CD", "SC", "SD", "DC", "DS"},
    .usage = "\n"
             "--display\t\tdisplay all lv info\n"
             "--display -n lvname(path)\t\tdisplay the lv info specified by 'lvname'\n"
             "--delete -n lvname vgname\t\tdelete the lv specified by 'lvname' on 'vgname'\n"
             "--create -L lvsize -n lvname vgname\t\tcreate a lv with 'lvname' and 'lvsize' on "
             "vgname\n\n"
             "manage the lv info\n"
             "Options:\n"
             " -n\t\tspecify lvname\n"
             " -L\t\tspecify lvsize",
};

INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));

} // namespace
} // namespace zav::test
