// SPDX-License-Identifier: MIT
// lvmanage: lists, creates and deletes pools without file systems.
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "applets/applets.h"
#include "applets/standard_output.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/pools.h"

#include <cstdio>
#include <cstring>

namespace zav {

namespace {

// The bits of the options, by their places in the option string.
enum : std::uint32_t { create_bit = 0x1, display_bit = 0x2, delete_bit = 0x4 };

struct Arguments {
    const char* name = nullptr;
    const char* size = nullptr;
    const char* group = nullptr;
};

/// In the name of the command, from the line that calls this.
int fail(Code code, int line = __builtin_LINE()) {
    return fail_command(code, {"lvmanage_main", line});
}

int create(const Arguments& arguments) {
    if (failed(check_name32(arguments.name))) {
        return fail(Code::bad_pool_name);
    }
    if (failed(check_number8(arguments.size))) {
        return fail(Code::bad_size);
    }
    if (failed(check_name32(arguments.group))) {
        return fail(Code::bad_group_name);
    }
    if (check_lvname(arguments.name, standard_output()) == Presence::present) {
        return fail(Code::pool_name_taken);
    }
    const Code result =
        pool_create(arguments.name, arguments.group, decimal(arguments.size), standard_output());
    if (result != Code::command_failed) {
        return !failed(result) ? 0 : fail(result);
    }
    // LVM may have failed after the pool was there.
    return check_lvdisplay(arguments.group, arguments.name, standard_output()) == Presence::present
               ? 0
               : fail(Code::pool_not_created);
}

void show(pool_list& pools) {
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
    if (failed(check_name32(arguments.name))) {
        return fail(Code::bad_pool_name);
    }
    if (failed(check_name32(arguments.group))) {
        return fail(Code::bad_group_name);
    }
    if (const Code result = vg_raid_resume(arguments.group, standard_output()); failed(result)) {
        return fail(result);
    }
    const Code result = pool_remove(arguments.name, arguments.group, standard_output());
    if (result != Code::command_failed) {
        return !failed(result) ? 0 : fail(result);
    }
    // LVM may have failed after the pool was gone.
    return check_lvdisplay(arguments.group, arguments.name, standard_output()) != Presence::present
               ? 0
               : fail(Code::pool_not_removed);
}

} // namespace

int lvmanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode =
        zav_getopt(argc, argv, applet_options("lvmanage"), {&arguments.name, &arguments.size});
    arguments.group = optind < argc ? argv[optind] : nullptr;
    if ((mode & create_bit) != 0) {
        return create(arguments);
    }
    if ((mode & display_bit) != 0) {
        return display(arguments);
    }
    if ((mode & delete_bit) != 0) {
        return delete_named(arguments);
    }
    // An unknown option came before any mode.
    return 0;
}

} // namespace zav
