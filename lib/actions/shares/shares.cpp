// SPDX-License-Identifier: MIT
#include "actions/shares/shares.h"

#include "actions/filesystems/filesystems.h"
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "actions/services/control.h"
#include "actions/shares/files.h"
#include "actions/shares/ftp_users.h"
#include "actions/shares/pools.h"
#include "actions/shares/steps.h"
#include "base/codes.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/pools.h"
#include "inventory/share_users.h"
#include "inventory/shares.h"
#include "platform/services.h"

namespace zav {

namespace {

/// Logs why a step failed, and gives the operation's code in its place.
Code fail(Code cause, Code code, LogSite site = LogSite::here()) {
    log_failure(cause, site);
    return code;
}

/// Makes the pool under the lock of its name. A failed command is a success when the pool, known to
/// be new, is there all the same.
Code create_pool(const share_info& share, const char* group, SystemLock& lock, Sink& out) {
    const char* name = share.name.c_str();
    const Code result = pool_create_to_format(name, group, unsigned_size(share.size), lock, out);
    if (result != Code::command_failed) {
        return result;
    }
    return check_lvname(name, out) == Presence::present ? Code::ok : Code::pool_not_created;
}

/// A share without a known user belongs to the default user.
bool has_own_ftp_user(const share_info& share) {
    return has_ftp_account(share) && !share.users.empty() && share.users != default_ftp_user;
}

/// The group that a share's pool is in; empty when nothing tells.
GroupName find_group(const char* name, Sink& out) {
    GroupName group;
    if (const auto found = get_vgname_from_lvdisplay(name)) {
        group = *found;
    } else {
        vgname_from_backup(name, group, out);
    }
    if (!group.empty() && !is_plain_name(group.view())) {
        log_error("no command takes the group '%s' of share '%s'", group.c_str(), name);
        group.clear();
    }
    return group;
}

/// The end of each way to put a share in use: no longer in a recycle file, but in its service's.
Code put_in_use(ShareFiles& files, share_info& share, LogSite operation) {
    const Code result = use_forbidden_share(files, share);
    return !failed(result) || result == Code::share_not_listed
               ? Code::ok
               : fail(result, Code::share_not_edited, operation);
}

/// Makes sure of the user of an FTP share, and that it can be freed, before anything is changed: in
/// a list a file that could not be read is no user.
Code check_own_user(share_info& share, AccountLock& accounts) {
    if (!has_ftp_account(share)) {
        return Code::ok;
    }
    const auto user = user_of_share(share.name.view());
    if (!user) {
        return user.code();
    }
    if (!user->empty()) {
        share.users = *user;
    }
    return has_own_ftp_user(share) ? check_bound_user(accounts) : Code::ok;
}

/// Whether a share can be taken out of all files, and its user freed.
Code check_removal(ShareFiles& files, share_info& share) {
    AccountLock accounts;
    const Code result = check_own_user(share, accounts);
    return failed(result) ? result : prepare_removal(files, share);
}

/// Whether the share could be added now: a repair may take hours, in which the files are not
/// locked.
Code check_files(const share_info& share) {
    ShareFiles files;
    return open_to_use(files, share);
}

/// Registers a share before it exists: whoever asks for the name meanwhile is refused.
Code register_new(const share_info& share, AccountLock& accounts,
                  LogSite operation = LogSite::here()) {
    ShareFiles files;
    const Code opened = files.open({&share_register_file()});
    if (const Code taken = check_share(share.name.c_str()); failed(taken)) {
        log_failure(taken, operation);
        return taken;
    }
    const bool is_bound = has_own_ftp_user(share) && !failed(opened);
    const Code usable = is_bound ? check_ftp_user(share.users, accounts) : opened;
    const Code added = failed(usable) ? usable : add_share(files, share);
    if (failed(added)) {
        log_failure(added, operation);
    }
    return !failed(added) || added == Code::share_listed ? added : Code::share_not_created;
}

} // namespace

Code share_space_check(const char* group, Gib size, Sink& out) {
    const auto room = vg_room(group, out);
    if (!room) {
        return room.code();
    }
    return size <= *room ? Code::ok : Code::size_not_possible;
}

Code create_share(const share_info& share, const char* group, Sink& out) {
    AccountLock accounts;
    if (const Code result = register_new(share, accounts); failed(result)) {
        return result;
    }
    SystemLock pool_name;
    if (const Code result = create_pool(share, group, pool_name, out); failed(result)) {
        return log_return(result);
    }
    if (has_own_ftp_user(share)) {
        Code result = ftp_user_set(share);
        result = failed(result) ? result : rewrite_home(share.users, ftp_home, accounts);
        accounts.release();
        if (failed(result)) {
            return fail(result, Code::share_not_created);
        }
    }
    Code result = Code::ok;
    if (!is_on_device(share)) {
        if (const Code made = fs_make(share.name.c_str(), group); failed(made)) {
            return fail(made, Code::share_not_created);
        }
        result = mount_share(share, group);
        if (result == Code::fs_not_mounted) {
            return log_return(result);
        }
    }
    restart_service(share.type);
    return !failed(result) ? Code::ok : log_return(result);
}

Code delete_share(const char* name, Sink& out) {
    ShareFiles files;
    const Code opened = files.open({&share_register_file()});
    share_info share;
    if (const Code result = find_share(name, share); failed(result)) {
        return log_return(result);
    }
    // A share that cannot be taken out of its files keeps its pool as well.
    if (const Code result = failed(opened) ? opened : check_removal(files, share);
        failed(result) && result != Code::share_not_listed) {
        return fail(result, Code::share_not_deleted);
    }
    GroupName group;
    if (const Code result = handle_abnorm_raid(name, group, out); failed(result)) {
        return log_return(result);
    }
    if (group.empty()) {
        const auto found = find_pool_group(name, out);
        if (!found) {
            return log_return(found.code());
        }
        group = *found;
    }
    const bool is_forbidden = share.type.empty();
    return is_forbidden ? del_forbid_share(files, share, group, out)
                        : del_use_share(files, share, group, out);
}

Code del_use_share(ShareFiles& files, const share_info& share, const GroupName& group, Sink& out) {
    const Code result = is_on_device(share) ? del_iscsi_share(files, share, group, out)
                                            : del_snf_share(files, share, group, out);
    return !failed(result) ? Code::ok : log_return(result);
}

Code del_snf_share(ShareFiles& files, const share_info& share, const GroupName& group, Sink& out) {
    if (const Code result = check_umount(share.name.c_str(), out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    unregister_mount(share, group);
    if (const Code result = remove_share_pool(share, group, out); failed(result)) {
        return log_return(result);
    }
    if (has_own_ftp_user(share)) {
        AccountLock accounts;
        if (const Code result = ftp_user_remove(share, accounts); failed(result)) {
            return fail(result, Code::share_not_deleted);
        }
    }
    const Code result = finish_removal(files);
    return !failed(result) ? Code::ok : fail(result, Code::share_not_deleted);
}

Code del_iscsi_share(ShareFiles& files, const share_info& share, const GroupName& group,
                     Sink& out) {
    if (const Code result = finish_removal(files); failed(result)) {
        return fail(result, Code::share_not_deleted);
    }
    restart_service(share.type); // the device must not be in use when its pool goes
    const Code result = remove_share_pool(share, group, out);
    return !failed(result) ? Code::ok : log_return(result);
}

Code del_forbid_share(ShareFiles& files, const share_info& share, const GroupName& group,
                      Sink& out) {
    if (const Code result = check_umount(share.name.c_str(), out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    unregister_mount(share, group);
    if (const Code result = remove_share_pool(share, group, out); failed(result)) {
        return log_return(result);
    }
    const Code result = finish_removal(files);
    return !failed(result) ? Code::ok : fail(result, Code::share_not_deleted);
}

Code edit_share(share_info& share, int state, Sink& out) {
    ShareFiles files;
    const Code opened = files.open({&share_register_file()});
    share_info current;
    if (const Code result = find_share(share.name.c_str(), current); failed(result)) {
        return log_return(result);
    }
    share.size = current.size;
    share.path = current.path.view();
    const bool is_in_use = !current.type.empty();
    if (is_in_use && !is_served_by(current, share.type)) {
        // Another service would leave this one serving it.
        return log_return(Code::edit_mode_invalid);
    }
    if (state == 0) {
        return is_in_use ? forbid_use_share(files, opened, share, current)
                         : mod_forbiden_share(files, opened, share);
    }
    if (is_in_use) {
        return mod_use_share(files, opened, share, current.users);
    }
    return share.type == share_type::ftp ? set_to_ftp(files, opened, share, out)
                                         : set_to_smbnfs(files, opened, share, out);
}

Code forbid_use_share(ShareFiles& files, Code opened, share_info& share,
                      const share_info& current) {
    opened = failed(opened) ? opened : open_files_of(files, share);
    if (failed(opened)) {
        return fail(opened, Code::share_not_forbidden);
    }
    if (!has_ftp_account(share)) {
        const Code result = forbid_share(files, share, current.type);
        const bool is_done =
            !failed(result) || result == Code::share_listed || result == Code::share_not_listed;
        return is_done ? Code::ok : fail(result, Code::share_not_forbidden);
    }
    AccountLock accounts;
    share_info bound = share;
    bound.users = current.users.view();
    if (const Code result = check_own_user(bound, accounts); failed(result)) {
        return fail(result, Code::share_not_forbidden);
    }
    const Code result =
        unmount_and_unregister(files, share, share_path(share_type::ftp, "", share.name.c_str()));
    if (failed(result) && result != Code::share_not_listed) {
        return fail(result, Code::share_not_forbidden);
    }
    if (!has_own_ftp_user(bound)) {
        return Code::ok;
    }
    const Code unbound = ftp_user_remove(bound, accounts);
    return !failed(unbound) ? Code::ok : fail(unbound, Code::share_not_forbidden);
}

Code mod_use_share(ShareFiles& files, Code opened, const share_info& share,
                   std::string_view current_user) {
    opened = failed(opened) ? opened : open_files_of(files, share);
    if (failed(opened)) {
        return fail(opened, Code::share_not_used);
    }
    if (has_ftp_account(share)) {
        const auto bound_user = user_of_share(share.name.view());
        if (!bound_user) {
            return fail(bound_user.code(), Code::share_not_edited,
                        {"edit_share", __builtin_LINE()});
        }
        const std::string_view old_user = bound_user->empty() ? current_user : *bound_user;
        if (const Code result = ftp_mod(share, old_user); failed(result)) {
            return log_return(result, {"edit_share", __builtin_LINE()});
        }
    }
    const Code result = apply_share(files, share);
    return !failed(result) || result == Code::share_not_listed ? result
                                                               : fail(result, Code::share_not_used);
}

// Spelled so on purpose: support searches logs for it.
Code mod_forbiden_share(ShareFiles& files, Code opened, share_info& share) {
    AccountLock accounts;
    share_info left = share; // with a user that an attempt to forbid it could not free
    left.users.clear();
    Code result = failed(opened) ? opened : check_own_user(left, accounts);
    result = failed(result) ? result : edit_forbidden_share(files, share);
    if (has_own_ftp_user(left) && (!failed(result) || result == Code::share_not_listed)) {
        const Code freed = ftp_user_remove(left, accounts);
        result = failed(freed) ? freed : result;
    }
    return !failed(result) || result == Code::share_not_listed
               ? result
               : fail(result, Code::share_not_edited);
}

Code set_to_ftp(ShareFiles& files, Code opened, share_info& share, Sink& out) {
    const char* name = share.name.c_str();
    const GroupName group = find_group(name, out);
    if (group.empty()) {
        return log_return(Code::no_such_group);
    }
    AccountLock accounts;
    Code usable = failed(opened) ? opened : open_to_use(files, share);
    usable = failed(usable) ? usable : check_ftp_user(share.users, accounts);
    if (failed(usable)) {
        return fail(usable, Code::share_not_edited);
    }
    if (const Code result = check_umount(name, out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    const std::string old_path = share_path(share_type::samba, group.c_str(), name);
    const std::string new_path = share_path(share_type::ftp, group.c_str(), name);
    ignore(mntdir_remove(old_path.c_str()));
    Code freed = unregister_mount_point(old_path);
    if (share.path != old_path && share.path != new_path && is_plain_path(share.path)) {
        freed = failed(freed) ? freed : unregister_mount_point(share.path.c_str());
    }
    if (failed(freed)) {
        return fail(freed, Code::share_not_edited); // else the pool would stand in two lines
    }
    share.path = new_path;
    if (const Code result = mount_share(share, group.c_str()); result == Code::fs_not_mounted) {
        return log_return(result);
    }
    if (const Code result = ftp_bind(share, accounts); failed(result)) {
        return fail(result, Code::share_not_edited);
    }
    return put_in_use(files, share, LogSite::here());
}

Code set_to_smbnfs(ShareFiles& files, Code opened, share_info& share, Sink& out) {
    const char* name = share.name.c_str();
    const GroupName group = find_group(name, out);
    if (group.empty()) {
        return log_return(Code::no_such_group);
    }
    if (const Code result = failed(opened) ? opened : open_to_use(files, share); failed(result)) {
        return fail(result, Code::share_not_edited);
    }
    // Also for iSCSI: the device has the share's file system on it, which a client that wrote to it
    // beside this mount would destroy. The daemon takes no directory: nobody gets at the files.
    share.path = share_path(share_type::samba, group.c_str(), name);
    if (is_on_device(share)) {
        log_error("share '%s' has a file system: its target cannot be used", name);
    }
    if (const Code result = mount_missing_share(share, group.c_str());
        result == Code::fs_not_mounted) {
        return log_return(result);
    }
    return put_in_use(files, share, LogSite::here());
}

Code restore_share(share_info& share, const char* group) {
    if (has_ftp_account(share)) {
        share.users = default_ftp_user;
    }
    ShareFiles files;
    const Code added = add_lost_share(files, share);
    if (failed(added) && added != Code::share_listed) {
        return fail(added, Code::share_not_restored);
    }
    if (is_on_device(share)) {
        return Code::ok;
    }
    const Code result = mount_again(share, group);
    return result == Code::fs_not_mounted ? log_return(result) : Code::ok;
}

Code repair_share(const char* name, std::string_view type, const char* group, Sink& out) {
    share_info share;
    if (const Code result = find_share(name, share); failed(result)) {
        return log_return(result);
    }
    if (is_on_device(share)) {
        return Code::ok; // what is on the device is not ours, whatever the caller takes it for
    }
    if (share.type.empty()) {
        share.type = type;
    }
    if (equal_ignoring_case(share.comment, unmounted_comment)) {
        share.comment.clear();
    }
    if (has_ftp_account(share)) {
        share.users = default_ftp_user;
    }
    if (const Code result = check_files(share); failed(result)) {
        return fail(result, Code::share_not_repaired);
    }
    if (const Code result = check_umount(name, out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    repair_share_fs(name, group);
    if (const Code result = mount_again(share, group); result == Code::fs_not_mounted) {
        return log_return(result);
    }
    ShareFiles files;
    const Code added = add_lost_share(files, share);
    return !failed(added) || added == Code::share_listed ? Code::ok
                                                         : fail(added, Code::share_not_repaired);
}

} // namespace zav
