// SPDX-License-Identifier: MIT
// netmanage: lists, creates, deletes and repairs network disks.
#include "actions/filesystems/status.h"
#include "actions/netdisks/netdisks.h"
#include "applets/applets.h"
#include "applets/standard_output.h"
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
int fail(Code code, int line = __builtin_LINE()) {
    return fail_command(code, {"netmanage_main", line});
}

/// How the command ends with an operation's result.
int end(Code result, int line = __builtin_LINE()) {
    return !failed(result) ? 0 : fail(result, line);
}

int create(const Arguments& arguments) {
    if (failed(check_name32(arguments.label)) || failed(check_name32(arguments.device))) {
        return fail(Code::bad_group_name);
    }
    // What cannot be looked up counts as taken.
    if (netfs_label_used(arguments.label) != Presence::absent ||
        mdfstab_has(arguments.label) != Presence::absent) {
        return fail(Code::pool_name_taken);
    }
    return end(create_netfs(arguments.label, arguments.device));
}

int delete_labelled(const Arguments& arguments) {
    if (failed(check_name32(arguments.label))) {
        return fail(Code::bad_group_name);
    }
    if (const Presence registered = netfs_label_used(arguments.label);
        registered != Presence::present) {
        log_failure(static_cast<Code>(registered), {"netmanage_main", __builtin_LINE()});
        return 0;
    }
    return end(delete_netfs(arguments.label, standard_output()));
}

int repair(const Arguments& arguments) {
    if (failed(check_name32(arguments.label))) {
        return fail(Code::bad_pool_name);
    }
    return end(repair_kor_netfs(arguments.label, standard_output()));
}

int display() {
    fs_list list;
    ignore(netfs_list_get(list, standard_output()));
    ignore(fs_space_check(list, standard_output()));
    fs_table_show(list);
    return -1; // always; callers ignore it
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
