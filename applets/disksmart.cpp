// SPDX-License-Identifier: MIT
// disksmart: lists disks with what they say about their health.
#include "actions/disks/management.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "records/disk.h"

namespace zav {

namespace {

int disksmart_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all smart info"},
              {"-n channel -d dev", "display the smart info under channel"},
              {"--detail -n channel -d dev", "display the verbose smart info under channel"}}},
    {.letter = 'e', .name = "detail"},
    {.letter = 'n', .argument = Argument::channel, .help = "specify a channel"},
    {.letter = 'd', .argument = Argument::device, .help = "specify a dev"},
};

constexpr AppletTable table = {
    .name = "disksmart",
    .main = disksmart_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "S",
    .summary = "manage the smart info",
    .help_order = "dn",
};

constexpr std::uint32_t detail_bit = option_bit(options, 'e');

struct Arguments {
    std::uint32_t mode = 0;
    const char* channel = nullptr;
    const char* device = disk_device::main_controller;
};

// Support knows the failures by these numbers.
constexpr Fail fail("disksmart_main");
constexpr End end(fail);

int display(const Arguments& arguments) {
    if (arguments.channel != nullptr && failed(check_number_list(arguments.channel))) {
        return fail(Code::bad_channel, 120);
    }
    if (failed(check_name8(arguments.device))) {
        return fail(Code::bad_device, 137);
    }
    const int channel = arguments.channel != nullptr ? decimal_int(arguments.channel) : 0;
    const bool detail = (arguments.mode & detail_bit) != 0;
    return end(zav_disk_smart_display(channel, arguments.device, detail, standard_output()), 156);
}

constexpr Action<Arguments> actions[] = {{option_bit(options, 'S'), display}};

int disksmart_main(int argc, char** argv) {
    Arguments arguments;
    arguments.mode =
        zav_getopt(argc, argv, disksmart_applet.options, {&arguments.channel, &arguments.device});
    return run_action(actions, arguments.mode, arguments);
}

} // namespace

constexpr Applet disksmart_applet = applet_of<table>();

} // namespace zav
