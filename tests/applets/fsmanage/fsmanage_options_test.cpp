// SPDX-License-Identifier: MIT
// The options and the usage of fsmanage.
#include "applets/options/described_applet.h"

namespace zav::test {
namespace {

const Description expected = {
    .applet = "fsmanage",
    .short_options = "CSDRn:s:g:",
    .rules = "C:S:D:R:C--SDR:S--CDR:D--SCR:R--CSD",
    .long_options = {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}, {"repair", 'R'}},
    .bits = {{'C', 0x1}, {'S', 0x2}, {'D', 0x4}, {'R', 0x8}, {'n', 0x10}, {'s', 0x20}, {'g', 0x40}},
    .conflicts = {"CS", "CD", "CR", "SC", "SD", "SR", "DC", "DS", "DR", "RC", "RS", "RD"},
    .usage = "\n"
             "--display\t\tdisplay all file system info\n"
             "--repair -n lvname -g vgname\t\trepair file system\n"
             "--create -n lvname -s size -g vgname\t\tcreate file system\n"
             "--delete -n lvname -g vgname\t\tcreate file system\n\n"
             "manage the file system info\n"
             "Options:\n"
             " -n\t\tspecify a name of logical volume\n"
             " -s\t\tspecify the size of logical volume\n"
             " -g\t\tspecify the name of volume group",
};

INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));

} // namespace
} // namespace zav::test
