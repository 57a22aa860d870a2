// SPDX-License-Identifier: MIT
// The options and the usage of disksmart.
#include "applets/options/described_applet.h"

namespace zav::test {
namespace {

const Description expected = {
    .applet = "disksmart",
    .short_options = "Sen:d:",
    .rules = "S:",
    .long_options = {{"display", 'S'}, {"detail", 'e'}},
    .bits = {{'S', 0x1}, {'e', 0x2}, {'n', 0x4}, {'d', 0x8}},
    .conflicts = {},
    .usage =
        "\n"
        "--display\t\tdisplay all smart info\n"
        "--display -n channel -d dev\t\tdisplay the smart info under channel\n"
        "--display --detail -n channel -d dev\t\tdisplay the verbose smart info under channel\n\n"
        "manage the smart info\n"
        "Options:\n"
        " -d\t\tspecify a dev\n"
        " -n\t\tspecify a channel",
};

INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));

} // namespace
} // namespace zav::test
