// SPDX-License-Identifier: MIT
// netmanage: lists, creates, deletes and repairs network disks.
#include "actions/commands/netdisks.h"
#include "actions/filesystems/status.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/codes.h"
#include "inventory/filesystems.h"
#include "inventory/netdisks.h"

namespace zav {

namespace {

int netmanage_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'C',
     .name = "create",
     .role = Role::mode,
     .ways = {{"-n label -g device", "create file system"}}},
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all net file system info"}}},
    {.letter = 'D',
     .name = "delete",
     .role = Role::mode,
     .ways = {{"-n label", "delete file system"}}},
    {.letter = 'R',
     .name = "repair",
     .role = Role::mode,
     .ways = {{"-n label", "repair file system"}}},
    {.letter = 'n', .argument = Argument::label, .help = "specify a label"},
    {.letter = 'g', .argument = Argument::disk, .help = "specify the name of device"},
};

constexpr AppletTable table = {
    .name = "netmanage",
    .main = netmanage_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "SRCD",
    .summary = "manage the net file system info",
    .help_order = "ng",
};

using Arguments = commands::NewNetdiskArguments;

int create(const Arguments& arguments) {
    return end_command(commands::create_netdisk(arguments));
}

int delete_labelled(const Arguments& arguments) {
    return end_command(commands::remove_netdisk(arguments.label, standard_output()));
}

int repair(const Arguments& arguments) {
    return end_command(commands::repair_netdisk(arguments.label, standard_output()));
}

int display(const Arguments& /*arguments*/) {
    fs_list list;
    ignore(netfs_list_get(list, standard_output()));
    ignore(fs_space_check(list, standard_output()));
    fs_table_show(list);
    return -1; // always; callers ignore it
}

constexpr Action<Arguments> actions[] = {
    {option_bit(options, 'C'), create},
    {option_bit(options, 'D'), delete_labelled},
    {option_bit(options, 'R'), repair},
    {option_bit(options, 'S'), display},
};

int netmanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode =
        zav_getopt(argc, argv, netmanage_applet.options, {&arguments.label, &arguments.disk});
    return run_action(actions, mode, arguments);
}

} // namespace

constexpr Applet netmanage_applet = applet_of<table>();
constexpr AppletTable netmanage_table = table;

} // namespace zav
