// SPDX-License-Identifier: MIT
// lvmanage: lists, creates and deletes pools without file systems.
#include "applets/lvmanage.h"

#include "actions/commands/pools.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/pools.h"

#include <cstdio>
#include <cstring>

namespace zav {

namespace {

int lvmanage_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'C',
     .name = "create",
     .role = Role::mode,
     .operand = Argument::group,
     .ways = {{"-L lvsize -n lvname vgname", "create a lv with 'lvname' and 'lvsize' on vgname"}}},
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all lv info"},
              {"-n lvname(path)", "display the lv info specified by 'lvname'"}}},
    {.letter = 'D',
     .name = "delete",
     .role = Role::mode,
     .operand = Argument::group,
     .ways = {{"-n lvname vgname", "delete the lv specified by 'lvname' on 'vgname'"}}},
    {.letter = 'n', .argument = Argument::pool, .help = "specify lvname"},
    {.letter = 'L', .argument = Argument::size, .help = "specify lvsize"},
};

constexpr AppletTable table = {
    .name = "lvmanage",
    .main = lvmanage_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "SDC",
    .summary = "manage the lv info",
    .help_order = "nL",
};

using Arguments = commands::PoolArguments;

constexpr Fail fail("lvmanage_main");

int create(const Arguments& arguments) {
    return end_command(commands::create_pool(arguments, standard_output()));
}

void show(const pool_list& pools) {
    std::puts("lvname\tstatus\tallsize\tusedsize\tvgname\tdevice");
    std::puts("*****************************************************");
    pool_list_show(&pools);
}

int display(const Arguments& arguments) {
    pool_list pools;
    if (pool_list_get(pools, standard_output()) == Code::pool_output_unread) {
        return fail(Code::pools_unread);
    }
    if (arguments.name == nullptr) {
        show(pools);
        return 0;
    }
    const char* slash = std::strrchr(arguments.name, '/');
    pool_list found;
    if (slash == nullptr || failed(check_name32(slash + 1)) ||
        failed(pool_list_copy_one(pools, found, arguments.name))) {
        fail(Code::bad_pool_name);
        return 0; // the output alone tells of the failure: front ends rely on the status
    }
    show(found);
    return 0;
}

int delete_named(const Arguments& arguments) {
    return end_command(commands::remove_pool(arguments, standard_output()));
}

constexpr Action<Arguments> actions[] = {
    {option_bit(options, 'C'), create},
    {option_bit(options, 'S'), display},
    {option_bit(options, 'D'), delete_named},
};

int lvmanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode =
        zav_getopt(argc, argv, lvmanage_applet.options, {&arguments.name, &arguments.size});
    arguments.group = optind < argc ? argv[optind] : nullptr;
    return run_action(actions, mode, arguments);
}

} // namespace

void pool_show(const pool_info& pool) {
    std::printf("%s\t%s\t%lldG\t%lldG\t%s\t%s\n", pool.name.c_str(), pool.status.c_str(),
                static_cast<long long>(pool.allsize.count),
                static_cast<long long>(pool.usedsize.count), pool.vgname.c_str(),
                text_or(pool.device, not_available));
}

void pool_list_show(const pool_list* list) {
    show_list(list, pool_show);
}

int pool_list_destroy(pool_list* list) {
    return destroy_list(list);
}

constexpr Applet lvmanage_applet = applet_of<table>();
constexpr AppletTable lvmanage_table = table;

} // namespace zav
