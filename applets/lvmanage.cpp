// SPDX-License-Identifier: MIT
// lvmanage: lists, creates and deletes pools without file systems.
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "applets/applets.h"
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
int fail(int code, int line = __builtin_LINE()) {
    return fail_command(code, {"lvmanage_main", line});
}

int create(const Arguments& arguments) {
    if (check_name32(arguments.name) != 0) {
        return fail(error::bad_pool_name);
    }
    if (check_number8(arguments.size) != 0) {
        return fail(error::bad_size);
    }
    if (check_name32(arguments.group) != 0) {
        return fail(error::bad_group_name);
    }
    if (check_lvname(arguments.name) == 1) {
        return fail(error::pool_name_taken);
    }
    const int result = pool_create(arguments.name, arguments.group, decimal(arguments.size));
    if (result != error::command_failed) {
        return result == 0 ? 0 : fail(result);
    }
    // LVM may have failed after the pool was there.
    return check_lvdisplay(arguments.group, arguments.name) == 0 ? 0
                                                                 : fail(error::pool_not_created);
}

void show(pool_list& pools) {
    std::puts("lvname\tstatus\tallsize\tusedsize\tvgname\tdevice");
    std::puts("*****************************************************");
    pool_list_show(&pools);
}

int display(const Arguments& arguments) {
    pool_list pools;
    if (pool_list_get(pools) == error::pool_output_unread) {
        return fail(error::pools_unread);
    }
    if (arguments.name == nullptr) {
        show(pools);
        return 0;
    }
    const char* slash = std::strrchr(arguments.name, '/');
    pool_list found;
    if (slash == nullptr || check_name32(slash + 1) != 0 ||
        pool_list_copy_one(pools, found, arguments.name) != 0) {
        fail(error::bad_pool_name);
        return 0; // the output alone tells of the failure: front ends rely on the status
    }
    show(found);
    return 0;
}

int delete_named(const Arguments& arguments) {
    if (check_name32(arguments.name) != 0) {
        return fail(error::bad_pool_name);
    }
    if (check_name32(arguments.group) != 0) {
        return fail(error::bad_group_name);
    }
    if (const int result = vg_raid_resume(arguments.group); result != 0) {
        return fail(result);
    }
    const int result = pool_remove(arguments.name, arguments.group);
    if (result != error::command_failed) {
        return result == 0 ? 0 : fail(result);
    }
    // LVM may have failed after the pool was gone.
    return check_lvdisplay(arguments.group, arguments.name) != 0 ? 0
                                                                 : fail(error::pool_not_removed);
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
