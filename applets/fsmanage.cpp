// SPDX-License-Identifier: MIT
// fsmanage: lists, creates, deletes and repairs file systems on pools of their own.
#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/mount_register.h"
#include "actions/filesystems/status.h"
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/netdisks.h"
#include "inventory/pools.h"
#include "sources/mdfstab.h"

#include <string>

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

struct Arguments {
    const char* name = nullptr;
    const char* size = nullptr;
    const char* group = nullptr;
};

constexpr Fail fail("fsmanage_main");
constexpr End end(fail);

std::string mount_point(const Arguments& arguments) {
    return format_text("/mnt/%s/%s", arguments.group, arguments.name);
}

/// Makes the pool under the lock of its name. Code::ok or the code that the command fails with.
Code create_pool(const Arguments& arguments, SystemLock& name) {
    const Code result = pool_create_to_format(
        arguments.name, arguments.group, Gib{decimal(arguments.size)}, name, standard_output());
    if (result != Code::command_failed) {
        return result;
    }
    // The opposite of lvmanage: after a failed lvcreate the command goes on only when there is no
    // pool, and fails when it makes the file system. What an existing pool holds is not
    // overwritten: it has to be known that there is none.
    return is_known_absent(arguments.group, arguments.name, standard_output())
               ? Code::ok
               : Code::pool_not_created;
}

/// Whether a register has the name, or the mount point for another pool, or that cannot be told.
bool is_name_taken(const Arguments& arguments) {
    return mdfstab_has(arguments.name) != Presence::absent ||
           netfs_label_used(arguments.name) == Presence::present ||
           register_has_mount_point(mdfstab_path, mount_point(arguments)) != Presence::absent;
}

int create(const Arguments& arguments) {
    if (failed(check_name32(arguments.name)) || failed(check_name32(arguments.group))) {
        return fail(Code::bad_group_name);
    }
    if (failed(check_number8(arguments.size))) {
        return fail(Code::bad_size);
    }
    if (is_name_taken(arguments)) {
        return fail(Code::pool_name_taken);
    }
    SystemLock name;
    if (const Code result = create_pool(arguments, name); failed(result)) {
        return fail(result);
    }
    if (failed(fs_make(arguments.name, arguments.group))) {
        return fail(Code::fs_not_made);
    }
    const std::string mntpoint = mount_point(arguments);
    const Code registered = mdfstab_add(mntpoint.c_str(), arguments.group, arguments.name);
    ignore(mntdir_create(mntpoint.c_str()));
    if (failed(fs_mount(mntpoint.c_str(), arguments.group, arguments.name))) {
        return fail(Code::fs_not_mounted);
    }
    // One that is not registered would be gone after the next start of the system.
    return is_registered(registered) ? 0 : fail(registered);
}

/// Removes the pool. What is still listed after a failure counts as removed, what is gone does not:
/// the other way round than lvmanage, and front ends rely on it.
int remove_pool(const Arguments& arguments, const char* group) {
    const Code result = pool_remove_if_any(arguments.name, group, standard_output());
    if (!failed(result)) {
        return 0;
    }
    if (result != Code::command_failed) {
        return fail(result);
    }
    return check_lvdisplay(group, arguments.name, standard_output()) == Presence::present
               ? 0
               : fail(Code::pool_not_removed);
}

int delete_named(const Arguments& arguments) {
    if (failed(check_name32(arguments.name)) || failed(check_name32(arguments.group))) {
        return fail(Code::bad_group_name);
    }
    if (const Presence registered = mdfstab_has(arguments.name); registered != Presence::present) {
        if (registered == Presence::unknown && !is_register_missing(mdfstab_path)) {
            return fail(Code::register_unread); // the pool may be registered
        }
        log_failure(static_cast<Code>(registered), LogSite::here("fsmanage_main"));
        return 0;
    }
    const std::string mntpoint = mount_point(arguments);
    // LVM's backups know the pool's group better than the command line.
    GroupName group;
    if (const Code result = handle_abnorm_raid(arguments.name, group, standard_output());
        failed(result)) {
        return fail(result);
    }
    if (failed(check_umount(arguments.name, standard_output()))) {
        return fail(Code::fs_not_unmounted);
    }
    ignore(mntdir_remove(mntpoint.c_str()));
    ignore(mdfstab_remove(mntpoint.c_str()));
    return group.empty() ? 0 : remove_pool(arguments, group.c_str());
}

int repair(const Arguments& arguments) {
    if (failed(check_name32(arguments.name))) {
        return fail(Code::bad_pool_name);
    }
    if (failed(check_name32(arguments.group))) {
        return fail(Code::bad_group_name);
    }
    return end(repair_kor_fs(arguments.name, arguments.group, standard_output()));
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
