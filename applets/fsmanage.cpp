// SPDX-License-Identifier: MIT
// fsmanage: lists, creates, deletes and repairs file systems on pools of their own.
#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/status.h"
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "applets/applets.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/netdisks.h"
#include "inventory/pools.h"

#include <string>

namespace zav {

namespace {

// The bits of the options, by their places in the option string.
enum : std::uint32_t { create_bit = 0x1, display_bit = 0x2, delete_bit = 0x4, repair_bit = 0x8 };

struct Arguments {
    const char* name = nullptr;
    const char* size = nullptr;
    const char* group = nullptr;
};

/// In the name of the command, from the line that calls this.
int fail(int code, int line = __builtin_LINE()) {
    return fail_command(code, {"fsmanage_main", line});
}

std::string mount_point(const Arguments& arguments) {
    return format_text("/mnt/%s/%s", arguments.group, arguments.name);
}

/// Makes the pool. 0 or the code that the command fails with.
int create_pool(const Arguments& arguments) {
    const int result = pool_create(arguments.name, arguments.group, decimal(arguments.size));
    if (result != error::command_failed) {
        return result;
    }
    // The other way round than lvmanage: of a failed creation only one that left no pool goes on,
    // to fail when the file system is made. Whatever the pool holds is not overwritten so.
    return check_lvdisplay(arguments.group, arguments.name) == 1 ? 0 : error::pool_not_created;
}

int create(const Arguments& arguments) {
    if (check_name32(arguments.name) != 0 || check_name32(arguments.group) != 0) {
        return fail(error::bad_group_name);
    }
    if (check_number8(arguments.size) != 0) {
        return fail(error::bad_size);
    }
    if (mdfstab_has(arguments.name) != 0 || netfs_label_used(arguments.name) == 1) {
        return fail(error::pool_name_taken);
    }
    if (const int result = create_pool(arguments); result != 0) {
        return fail(result);
    }
    if (fs_make(arguments.name, arguments.group) != 0) {
        return fail(error::fs_not_made);
    }
    const std::string mntpoint = mount_point(arguments);
    mdfstab_add(mntpoint.c_str(), arguments.group, arguments.name);
    mntdir_create(mntpoint.c_str());
    const int result = fs_mount(mntpoint.c_str(), arguments.group, arguments.name);
    return result == 0 ? 0 : fail(error::fs_not_mounted);
}

/// Removes the pool. What is still listed after a failure counts as removed, what is gone does not:
/// the other way round than lvmanage, and front ends rely on it.
int remove_pool(const Arguments& arguments, const char* group) {
    const int result = pool_remove(arguments.name, group);
    if (result == 0 || result == error::no_such_pool) {
        return 0;
    }
    if (result != error::command_failed) {
        return fail(result);
    }
    return check_lvdisplay(group, arguments.name) == 0 ? 0 : fail(error::pool_not_removed);
}

int delete_named(const Arguments& arguments) {
    if (check_name32(arguments.name) != 0 || check_name32(arguments.group) != 0) {
        return fail(error::bad_group_name);
    }
    if (const int registered = mdfstab_has(arguments.name); registered != 1) {
        log_return(registered, {"fsmanage_main", __builtin_LINE()});
        return 0;
    }
    const std::string mntpoint = mount_point(arguments);
    // LVM's backups know the pool's group better than the command line.
    GroupName group;
    if (const int result = handle_abnorm_raid(arguments.name, group); result != 0) {
        return fail(result);
    }
    if (check_umount(arguments.name) != 0) {
        return fail(error::fs_not_unmounted);
    }
    mntdir_remove(mntpoint.c_str());
    mdfstab_remove(mntpoint.c_str());
    return group.empty() ? 0 : remove_pool(arguments, group.c_str());
}

int repair(const Arguments& arguments) {
    if (check_name32(arguments.name) != 0) {
        return fail(error::bad_pool_name);
    }
    if (check_name32(arguments.group) != 0) {
        return fail(error::bad_group_name);
    }
    const int result = repair_kor_fs(arguments.name, arguments.group);
    return result == 0 ? 0 : fail(result);
}

int display() {
    fs_list list;
    fs_list_get(list);
    fs_table_show(list);
    return -1; // well or not: front ends do not look at it
}

} // namespace

int fsmanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode = zav_getopt(argc, argv, applet_options("fsmanage"),
                                          {&arguments.name, &arguments.size, &arguments.group});
    if ((mode & delete_bit) != 0) {
        return delete_named(arguments);
    }
    if ((mode & repair_bit) != 0) {
        return repair(arguments);
    }
    if ((mode & display_bit) != 0) {
        return display();
    }
    if ((mode & create_bit) != 0) {
        return create(arguments);
    }
    // An unknown option came before any mode.
    return 0;
}

} // namespace zav
