// SPDX-License-Identifier: MIT
// fsmanage: lists, creates, deletes and repairs file systems on pools of their own.
#include "actions/commands/filesystems.h"
#include "actions/filesystems/status.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/codes.h"
#include "inventory/filesystems.h"

namespace zav {

namespace {

int fsmanage_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'C',
     .name = "create",
     .role = Role::mode,
     .ways = {{"-n lvname -s size -g vgname", "create file system"}}},
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all file system info"}}},
    {.letter = 'D',
     .name = "delete",
     .role = Role::mode,
     .ways = {{"-n lvname -g vgname", "create file system"}}},
    {.letter = 'R',
     .name = "repair",
     .role = Role::mode,
     .ways = {{"-n lvname -g vgname", "repair file system"}}},
    {.letter = 'n', .argument = Argument::pool, .help = "specify a name of logical volume"},
    {.letter = 's', .argument = Argument::size, .help = "specify the size of logical volume"},
    {.letter = 'g', .argument = Argument::group, .help = "specify the name of volume group"},
};

constexpr AppletTable table = {
    .name = "fsmanage",
    .main = fsmanage_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "SRCD",
    .summary = "manage the file system info",
    .help_order = "nsg",
};

using Arguments = commands::PoolArguments;

int create(const Arguments& arguments) {
    return end_command(commands::create_filesystem(arguments, standard_output()));
}

int delete_named(const Arguments& arguments) {
    return end_command(commands::remove_filesystem(arguments, standard_output()));
}

int repair(const Arguments& arguments) {
    return end_command(commands::repair_filesystem(arguments, standard_output()));
}

int display(const Arguments& /*arguments*/) {
    fs_list list;
    ignore(fs_list_get(list, standard_output()));
    fs_table_show(list);
    return -1; // always; callers ignore it
}

constexpr Action<Arguments> actions[] = {
    {option_bit(options, 'D'), delete_named},
    {option_bit(options, 'R'), repair},
    {option_bit(options, 'S'), display},
    {option_bit(options, 'C'), create},
};

int fsmanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode = zav_getopt(argc, argv, fsmanage_applet.options,
                                          {&arguments.name, &arguments.size, &arguments.group});
    return run_action(actions, mode, arguments);
}

} // namespace

constexpr Applet fsmanage_applet = applet_of<table>();
constexpr AppletTable fsmanage_table = table;

} // namespace zav
