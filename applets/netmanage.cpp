// SPDX-License-Identifier: MIT
// netmanage: lists, creates, deletes and repairs network disks.
#include "actions/filesystems/status.h"
#include "actions/netdisks/netdisks.h"
#include "applets/applets.h"
#include "base/checks.h"
#include "base/codes.h"
#include "inventory/filesystems.h"
#include "inventory/netdisks.h"

namespace zav {

namespace {

// The bits of the options, by their places in the option string.
enum : std::uint32_t { create_bit = 0x1, display_bit = 0x2, delete_bit = 0x4, repair_bit = 0x8 };

struct Arguments {
    const char* label = nullptr;
    const char* device = nullptr;
};

/// In the name of the command, from the line that calls this.
int fail(int code, int line = __builtin_LINE()) {
    return fail_command(code, {"netmanage_main", line});
}

/// How the command ends with an operation's result.
int end(int result, int line = __builtin_LINE()) {
    return result == 0 ? 0 : fail(result, line);
}

int create(const Arguments& arguments) {
    if (check_name32(arguments.label) != 0 || check_name32(arguments.device) != 0) {
        return fail(error::bad_group_name);
    }
    // What cannot be looked up counts as taken.
    if (netfs_label_used(arguments.label) != 0 || mdfstab_has(arguments.label) != 0) {
        return fail(error::pool_name_taken);
    }
    return end(create_netfs(arguments.label, arguments.device));
}

int delete_labelled(const Arguments& arguments) {
    if (check_name32(arguments.label) != 0) {
        return fail(error::bad_group_name);
    }
    if (const int registered = netfs_label_used(arguments.label); registered != 1) {
        log_return(registered, {"netmanage_main", __builtin_LINE()});
        return 0;
    }
    return end(delete_netfs(arguments.label));
}

int repair(const Arguments& arguments) {
    if (check_name32(arguments.label) != 0) {
        return fail(error::bad_pool_name);
    }
    return end(repair_kor_netfs(arguments.label));
}

int display() {
    fs_list list;
    netfs_list_get(list);
    fs_space_check(list);
    fs_table_show(list);
    return -1; // well or not: front ends do not look at it
}

} // namespace

int netmanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode =
        zav_getopt(argc, argv, applet_options("netmanage"), {&arguments.label, &arguments.device});
    if ((mode & create_bit) != 0) {
        return create(arguments);
    }
    if ((mode & delete_bit) != 0) {
        return delete_labelled(arguments);
    }
    if ((mode & repair_bit) != 0) {
        return repair(arguments);
    }
    if ((mode & display_bit) != 0) {
        return display();
    }
    // An unknown option came before any mode.
    return 0;
}

} // namespace zav
