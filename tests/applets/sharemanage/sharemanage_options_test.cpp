// SPDX-License-Identifier: MIT
// The options and the usage of sharemanage.
#include "applets/options/described_applet.h"

namespace zav::test {
namespace {

const Description expected = {
    .applet = "sharemanage",
    .short_options = "CSDERQn:f:s:u:x:c:b:",
    .rules = "C:S:D:E:R:Q:C--SDREQ:S--CDREQ:D--SCREQ:E--CSDRQ:R--CSDEQ:Q--CSDER",
    .long_options = {{"create", 'C'},
                     {"display", 'S'},
                     {"delete", 'D'},
                     {"edit", 'E'},
                     {"repair", 'R'},
                     {"restore", 'Q'}},
    .bits = {{'C', 0x1},
             {'S', 0x2},
             {'D', 0x4},
             {'E', 0x8},
             {'R', 0x10},
             {'Q', 0x20},
             {'n', 0x40},
             {'f', 0x80},
             {'s', 0x100},
             {'u', 0x200},
             {'x', 0x400},
             {'c', 0x800},
             {'b', 0x1000}},
    .conflicts = {"CS", "CD", "CE", "CR", "CQ", "SC", "SD", "SE", "SR", "SQ",
                  "DC", "DS", "DE", "DR", "DQ", "EC", "ES", "ED", "ER", "EQ",
                  "RC", "RS", "RD", "RE", "RQ", "QC", "QS", "QD", "QE", "QR"},
    .usage =
        "\n"
        "--display\t\tdisplay all share conf info\n"
        "--display -n sharename\t\tdisplay share conf info specified by 'sharename'\n"
        "--delete -n sharename\t\tdelete a share specified by 'sharename'\n"
        "--repair -n sharename -f flag vgname\t\t repair the share file system\n"
        "--create -n sharename -f flag -s size [-u user] [-x ro/rw] [-c commnet] vgname\t\tcreate "
        "a "
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
        " -b\t\tspecify share state",
};

INSTANTIATE_TEST_SUITE_P(Table, DescribedApplet, testing::Values(expected));

} // namespace
} // namespace zav::test
