// SPDX-License-Identifier: MIT
#include "actions/commands/filesystems.h"

#include "actions/commands/command_log.h"
#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/mount_register.h"
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "base/checks.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/netdisks.h"
#include "inventory/pools.h"
#include "sources/mdfstab.h"

#include <string>

namespace zav::commands {

namespace {

constexpr CommandLog fsmanage("fsmanage_main");

std::string mount_point(const PoolArguments& arguments) {
    return format_text("/mnt/%s/%s", arguments.group, arguments.name);
}

/// Makes the pool under the lock of its name. Code::ok or the code that the command fails with.
Code create_pool_to_format(const PoolArguments& arguments, SystemLock& name, Sink& out) {
    const Code result = pool_create_to_format(arguments.name, arguments.group,
                                              Gib{decimal(arguments.size)}, name, out);
    if (result != Code::command_failed) {
        return result;
    }
    // The opposite of lvmanage: after a failed lvcreate the command goes on only when there is no
    // pool, and fails when it makes the file system. What an existing pool holds is not
    // overwritten: it has to be known that there is none.
    return is_known_absent(arguments.group, arguments.name, out) ? Code::ok
                                                                 : Code::pool_not_created;
}

/// Whether a register has the name, or the mount point for another pool, or that cannot be told.
bool is_name_taken(const PoolArguments& arguments) {
    return mdfstab_has(arguments.name) != Presence::absent ||
           netfs_label_used(arguments.name) == Presence::present ||
           register_has_mount_point(mdfstab_path, mount_point(arguments)) != Presence::absent;
}

/// Removes the pool. What is still listed after a failure counts as removed, what is gone does not:
/// the other way round than lvmanage, and front ends rely on it.
Code remove_formatted_pool(const char* name, const char* group, Sink& out) {
    const Code result = pool_remove_if_any(name, group, out);
    if (result != Code::command_failed) {
        return fsmanage.end(result);
    }
    return check_lvdisplay(group, name, out) == Presence::present
               ? Code::ok
               : fsmanage.fail(Code::pool_not_removed);
}

} // namespace

Code create_filesystem(const PoolArguments& arguments, Sink& out) {
    if (failed(check_name32(arguments.name)) || failed(check_name32(arguments.group))) {
        return fsmanage.fail(Code::bad_group_name);
    }
    if (failed(check_number8(arguments.size))) {
        return fsmanage.fail(Code::bad_size);
    }
    if (is_name_taken(arguments)) {
        return fsmanage.fail(Code::pool_name_taken);
    }
    SystemLock name;
    if (const Code result = create_pool_to_format(arguments, name, out); failed(result)) {
        return fsmanage.fail(result);
    }
    // Looked up once: what is made is mounted and registered.
    const std::string_view type = product_fs_type();
    if (failed(fs_make(arguments.name, arguments.group, type))) {
        return fsmanage.fail(Code::fs_not_made);
    }
    const std::string mntpoint = mount_point(arguments);
    const Code registered = mdfstab_add(mntpoint.c_str(), arguments.group, arguments.name, type);
    ignore(mntdir_create(mntpoint.c_str()));
    if (failed(fs_mount(mntpoint.c_str(), arguments.group, arguments.name, type))) {
        return fsmanage.fail(Code::fs_not_mounted);
    }
    // One that is not registered would be gone after the next start of the system.
    return is_registered(registered) ? Code::ok : fsmanage.fail(registered);
}

Code remove_filesystem(const PoolArguments& arguments, Sink& out) {
    if (failed(check_name32(arguments.name)) || failed(check_name32(arguments.group))) {
        return fsmanage.fail(Code::bad_group_name);
    }
    if (const Presence registered = mdfstab_has(arguments.name); registered != Presence::present) {
        if (registered == Presence::unknown && !is_register_missing(mdfstab_path)) {
            return fsmanage.fail(Code::register_unread); // the pool may be registered
        }
        ignore(fsmanage.fail(static_cast<Code>(registered)));
        return Code::ok;
    }
    const std::string mntpoint = mount_point(arguments);
    // LVM's backups know the pool's group better than the command line.
    GroupName group;
    if (const Code result = handle_abnorm_raid(arguments.name, group, out); failed(result)) {
        return fsmanage.fail(result);
    }
    if (failed(check_umount(arguments.name, out))) {
        return fsmanage.fail(Code::fs_not_unmounted);
    }
    ignore(mntdir_remove(mntpoint.c_str()));
    ignore(mdfstab_remove(mntpoint.c_str()));
    return group.empty() ? Code::ok : remove_formatted_pool(arguments.name, group.c_str(), out);
}

Code repair_filesystem(const PoolArguments& arguments, Sink& out) {
    if (failed(check_name32(arguments.name))) {
        return fsmanage.fail(Code::bad_pool_name);
    }
    if (failed(check_name32(arguments.group))) {
        return fsmanage.fail(Code::bad_group_name);
    }
    return fsmanage.end(repair_kor_fs(arguments.name, arguments.group, out));
}

} // namespace zav::commands
