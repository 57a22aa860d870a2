// SPDX-License-Identifier: MIT
// The options and the usage of netmanage.
#include "applets/options/described_applet.h"

namespace zav::test {
namespace {

const Description expected = {
    .applet = "netmanage",
    .short_options = "CSDRn:g:",
    .rules = "C:S:D:R:C--SDR:S--CDR:D--SCR:R--CSD",
    .long_options = {{"create", 'C'}, {"display", 'S'}, {"delete", 'D'}, {"repair", 'R'}},
    .bits = {{'C', 0x1}, {'S', 0x2}, {'D', 0x4}, {'R', 0x8}, {'n', 0x10}, {'g', 0x20}},
    .conflicts = {"CS", "CD", "CR", "SC", "SD", "SR", "DC", "DS", "DR", "RC", "RS", "RD"},
    .usage = "\n"
             "--display\t\tdisplay all net file system info\n"
             "--repair -n label\t\trepair file system\n"
             "--create -n label -g device\t\tcreate file system\n"
             "--delete -n label\t\tdelete file system\n\n"
             "manage the net file system info\n"
             "Options:\n"
             " -n\t\tspecify a label\n"
             " -g\t\tspecify the name of device",
};

INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));

} // namespace
} // namespace zav::test
