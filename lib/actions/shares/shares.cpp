// SPDX-License-Identifier: MIT
#include "actions/shares/shares.h"

#include "actions/filesystems/filesystems.h"
#include "actions/pools/pools.h"
#include "actions/services/control.h"
#include "actions/shares/files.h"
#include "actions/shares/ftp_users.h"
#include "actions/shares/pools.h"
#include "actions/shares/steps.h"
#include "base/codes.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/pools.h"
#include "inventory/share_users.h"
#include "inventory/shares.h"
#include "platform/services.h"

#include <string>
#include <utility>
#include <vector>

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

/// The path that a share is registered with, whatever is mounted.
std::string registered_path(ShareFiles& files, const char* name) {
    const share_info* registered = find_by_name(files.registered(), name);
    return registered != nullptr ? std::string(registered->path.view()) : "";
}

/// The service that a share is registered with, whatever is given; empty for a forbidden one.
std::string_view own_type(ShareFiles& files, const share_info& share) {
    const share_info* registered = find_same(files.registered(), share);
    return registered != nullptr ? registered->type.view() : share.type.view();
}

/// The end of each way to put a share in use: no longer in a recycle file, but in its service's.
Code put_in_use(ShareFiles& files, share_info& share, LogSite operation) {
    const Code result = use_forbidden_share(files, share);
    return !failed(result) || result == Code::share_not_listed
               ? Code::ok
               : fail(result, Code::share_not_edited, operation);
}

/// The users whose files lead to the share's place below the home of the FTP users.
Result<std::vector<std::string>> bound_users(const share_info& share) {
    return users_of_directory(share_path(share_type::ftp, "", share.name.c_str()));
}

/// The users that are bound to an FTP share, or that an attempt to forbid one has left; makes sure
/// that they can be freed, before anything is changed. A file that cannot be read is a failure: in
/// a list of shares it is no user.
Result<std::vector<std::string>> find_bound_users(const share_info& share, AccountLock& accounts) {
    if (!share.type.empty() && !has_ftp_account(share)) {
        return std::vector<std::string>();
    }
    auto users = bound_users(share);
    const bool is_any = users && !users->empty();
    const Code usable = is_any ? check_bound_user(accounts) : Code::ok;
    return failed(usable) ? usable : std::move(users);
}

Code free_users(const std::vector<std::string>& users, std::string_view kept,
                AccountLock& accounts) {
    for (const std::string& user : users) {
        const Code result = user != kept ? ftp_user_remove(user, accounts) : Code::ok;
        if (failed(result)) {
            return result;
        }
    }
    return Code::ok;
}

/// Takes back what a failed attempt to put a forbidden share in use with FTP has left, or to forbid
/// one: users that are bound to it, and first, with `leave`, a mount that they reach.
Code leave_ftp(const share_info& share, Code (*leave)(const char* name)) {
    share_info forbidden = share;
    if (!has_ftp_account(share)) {
        forbidden.type.clear();
    }
    AccountLock accounts;
    const auto users = find_bound_users(forbidden, accounts);
    const Code left = users ? leave(share.name.c_str()) : users.code();
    return failed(left) ? left : free_users(*users, "", accounts);
}

/// Whether a share can be taken out of all files, and its users freed.
Code check_removal(ShareFiles& files, const share_info& share) {
    AccountLock accounts;
    const auto users = find_bound_users(share, accounts);
    return users ? prepare_removal(files, share) : users.code();
}

/// Deletes a share with a file system: what is mounted, the pool, the users, then the texts.
Code delete_mounted(ShareFiles& files, const share_info& share, const GroupName& group, Sink& out,
                    LogSite operation) {
    if (const Code result = check_umount(share.name.c_str(), out); failed(result)) {
        return fail(result, Code::fs_not_unmounted, operation);
    }
    Code result = unregister_mount(share, group);
    if (!failed(result) && !has_ftp_account(share)) {
        result = leave_ftp_directory(share.name.c_str());
    }
    if (failed(result)) { // else it would be mounted at the next start, when another has its name
        return fail(result, Code::share_not_deleted, operation);
    }
    if (const Code removed = remove_share_pool(share, group, out); failed(removed)) {
        return log_return(removed, operation);
    }
    AccountLock accounts;
    const auto users = find_bound_users(share, accounts);
    result = users ? free_users(*users, "", accounts) : users.code();
    result = failed(result) ? result : finish_removal(files);
    return !failed(result) ? Code::ok : fail(result, Code::share_not_deleted, operation);
}

/// What putting a share in use with FTP needs; the users that are bound to it.
Result<std::vector<std::string>> prepare_ftp_use(ShareFiles& files, const share_info& share,
                                                 AccountLock& accounts) {
    Code usable = open_to_use(files, share);
    usable = failed(usable) ? usable : check_ftp_user(share.users, accounts);
    return failed(usable) ? usable : find_bound_users(share, accounts);
}

/// Takes the mount points that a share had as one of another service out of the register: else its
/// pool would stand in two lines.
Code leave_old_path(const share_info& share, const char* group) {
    const char* name = share.name.c_str();
    const std::string old_path = share_path(share_type::samba, group, name);
    ignore(mntdir_remove(old_path.c_str()));
    const Code result = unregister_mount_point(old_path);
    const bool is_elsewhere = share.path != old_path && is_plain_path(share.path) &&
                              share.path != share_path(share_type::ftp, group, name);
    return failed(result) || !is_elsewhere ? result : unregister_mount_point(share.path.c_str());
}

/// Whether a share's pool may be in the group: not when the share is registered with another one's
/// path, which is logged.
Code check_group(ShareFiles& files, const char* name, const char* group) {
    const std::string path = registered_path(files, name);
    if (!is_path_of_other_group(name, path, group)) {
        return Code::ok;
    }
    log_error("share '%s' is at '%s', not in group '%s'", name, path.c_str(), group);
    return Code::no_such_group;
}

/// Whether the share could be added now: a repair may take hours, in which the files are not
/// locked.
Code check_files(const share_info& share, const char* group) {
    ShareFiles files;
    const Code result = open_to_use(files, share);
    return failed(result) ? result : check_group(files, share.name.c_str(), group);
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
        const std::string_view type = product_fs_type();
        if (const Code made = fs_make(share.name.c_str(), group, type); failed(made)) {
            return fail(made, Code::share_not_created);
        }
        result = mount_share(share, group, type);
        if (result == Code::fs_not_mounted) {
            return log_return(result);
        }
    }
    restart_service(share.type);
    return !failed(result) ? Code::ok : log_return(result);
}

Code delete_share(const char* name, Sink& out) {
    ShareFiles files;
    ignore(files.open({&share_register_file()})); // what comes next fails with it
    share_info share;
    if (const Code result = find_share(name, share); failed(result)) {
        return log_return(result);
    }
    const std::string path = registered_path(files, name);
    // A share that cannot be taken out of its files keeps its pool as well.
    if (const Code result = check_removal(files, share);
        failed(result) && result != Code::share_not_listed) {
        return fail(result, Code::share_not_deleted);
    }
    const auto group = bring_back_group(share, path, out);
    if (!group) {
        return log_return(group.code());
    }
    const bool is_forbidden = share.type.empty();
    return is_forbidden ? del_forbid_share(files, share, *group, out)
                        : del_use_share(files, share, *group, out);
}

Code del_use_share(ShareFiles& files, const share_info& share, const GroupName& group, Sink& out) {
    const Code result = is_on_device(share) ? del_iscsi_share(files, share, group, out)
                                            : del_snf_share(files, share, group, out);
    return !failed(result) ? Code::ok : log_return(result);
}

Code del_snf_share(ShareFiles& files, const share_info& share, const GroupName& group, Sink& out) {
    return delete_mounted(files, share, group, out, LogSite::here());
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
    return delete_mounted(files, share, group, out, LogSite::here());
}

Code edit_share(share_info& share, int state, Sink& out) {
    ShareFiles files;
    ignore(files.open({&share_register_file()})); // what comes next fails with it
    share_info current;
    if (const Code result = find_share(share.name.c_str(), current); failed(result)) {
        return log_return(result);
    }
    share.size = current.size;
    // What is mounted on a directory of its name may be somebody else's.
    const std::string path = registered_path(files, share.name.c_str());
    share.path = is_plain_path(path) ? std::string_view(path) : current.path.view();
    const bool is_in_use = !current.type.empty();
    if (is_in_use && !is_served_by(current, share.type)) {
        // Another service would leave this one serving it.
        return log_return(Code::edit_mode_invalid);
    }
    if (state == 0) {
        return is_in_use ? forbid_use_share(files, share, current)
                         : mod_forbiden_share(files, share);
    }
    if (is_in_use) {
        return mod_use_share(files, share);
    }
    return share.type == share_type::ftp ? set_to_ftp(files, share, out)
                                         : set_to_smbnfs(files, share, out);
}

Code forbid_use_share(ShareFiles& files, share_info& share, const share_info& current) {
    if (const Code result = open_files_of(files, share); failed(result)) {
        return fail(result, Code::share_not_forbidden);
    }
    if (!has_ftp_account(share)) {
        Code result = leave_ftp_directory_if_any(share.name.c_str());
        result = failed(result) ? result : forbid_share(files, share, current.type);
        const bool is_done =
            !failed(result) || result == Code::share_listed || result == Code::share_not_listed;
        return is_done ? Code::ok : fail(result, Code::share_not_forbidden);
    }
    AccountLock accounts;
    const auto users = find_bound_users(share, accounts);
    if (!users) {
        return fail(users.code(), Code::share_not_forbidden);
    }
    const Code result =
        unmount_and_unregister(files, share, share_path(share_type::ftp, "", share.name.c_str()));
    if (failed(result) && result != Code::share_not_listed) {
        return fail(result, Code::share_not_forbidden);
    }
    const Code freed = free_users(*users, "", accounts);
    return !failed(freed) ? Code::ok : fail(freed, Code::share_not_forbidden);
}

Code mod_use_share(ShareFiles& files, const share_info& share) {
    if (const Code result = open_files_of(files, share); failed(result)) {
        return fail(result, Code::share_not_used);
    }
    if (has_ftp_account(share)) {
        const auto users = bound_users(share);
        if (!users) {
            return fail(users.code(), Code::share_not_edited, LogSite::here("edit_share"));
        }
        if (const Code result = ftp_mod(share, *users); failed(result)) {
            return log_return(result, LogSite::here("edit_share"));
        }
    }
    const Code result = apply_share(files, share);
    return !failed(result) || result == Code::share_not_listed ? result
                                                               : fail(result, Code::share_not_used);
}

// Spelled so on purpose: support searches logs for it.
Code mod_forbiden_share(ShareFiles& files, share_info& share) {
    Code result = open_files_of(files, share);
    result = failed(result) ? result : leave_ftp(share, leave_ftp_directory);
    result = failed(result) ? result : edit_forbidden_share(files, share);
    return !failed(result) || result == Code::share_not_listed
               ? result
               : fail(result, Code::share_not_edited);
}

Code set_to_ftp(ShareFiles& files, share_info& share, Sink& out) {
    const char* name = share.name.c_str();
    const auto group = find_group_to_mount(name, registered_path(files, name), out);
    if (!group || group->empty()) {
        return log_return(Code::no_such_group);
    }
    AccountLock accounts;
    const auto users = prepare_ftp_use(files, share, accounts);
    if (!users) {
        return fail(users.code(), Code::share_not_edited);
    }
    if (const Code result = check_umount(name, out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    Code result = leave_old_path(share, group->c_str());
    result = failed(result) ? result : free_users(*users, share.users, accounts);
    if (failed(result)) {
        return fail(result, Code::share_not_edited);
    }
    share.path = share_path(share_type::ftp, group->c_str(), name);
    if (mount_share(share, group->c_str(), product_fs_type()) == Code::fs_not_mounted) {
        return log_return(Code::fs_not_mounted);
    }
    if (const Code bound = ftp_bind(share, accounts); failed(bound)) {
        return fail(bound, Code::share_not_edited);
    }
    return put_in_use(files, share, LogSite::here());
}

Code set_to_smbnfs(ShareFiles& files, share_info& share, Sink& out) {
    const char* name = share.name.c_str();
    const auto group = find_group_to_mount(name, registered_path(files, name), out);
    if (!group || group->empty()) {
        return log_return(Code::no_such_group);
    }
    Code result = open_to_use(files, share);
    result = failed(result) ? result : leave_ftp(share, leave_ftp_directory_if_any);
    if (failed(result)) {
        return fail(result, Code::share_not_edited);
    }
    // Also for iSCSI: the device has the share's file system on it, which a client that wrote to it
    // beside this mount would destroy. The daemon takes no directory: nobody gets at the files.
    share.path = share_path(share_type::samba, group->c_str(), name);
    if (is_on_device(share)) {
        log_error("share '%s' has a file system: its target cannot be used", name);
    }
    if (mount_missing_share(share, group->c_str()) == Code::fs_not_mounted) {
        return log_return(Code::fs_not_mounted);
    }
    return put_in_use(files, share, LogSite::here());
}

Code restore_share(share_info& share, const char* group) {
    if (has_ftp_account(share)) {
        share.users = default_ftp_user;
    }
    ShareFiles files;
    const Code usable = open_to_use(files, share);
    const Code checked = failed(usable) ? usable : check_group(files, share.name.c_str(), group);
    const Code added = failed(checked) ? checked : add_lost_share(files, share);
    if (failed(added) && added != Code::share_listed) {
        return fail(added, Code::share_not_restored);
    }
    share_info mounted = share;
    mounted.type = own_type(files, share);
    if (is_on_device(share) || is_on_device(mounted)) {
        return Code::ok;
    }
    if (mounted.type.empty()) {
        if (const Code result = leave_ftp_directory(share.name.c_str()); failed(result)) {
            return fail(result, Code::share_not_restored);
        }
    }
    const Code result = mount_again(mounted, group);
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
    const share_info found = share;
    if (found.type.empty()) {
        share.type = type;
    }
    if (equal_ignoring_case(share.comment, unmounted_comment)) {
        share.comment.clear();
    }
    if (has_ftp_account(share)) {
        share.users = default_ftp_user;
    }
    if (const Code result = check_files(share, group); failed(result)) {
        return fail(result, Code::share_not_repaired);
    }
    if (const Code result = check_umount(name, out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    if (const Code result = found.type.empty() ? leave_ftp_directory(name) : Code::ok;
        failed(result)) {
        return fail(result, Code::share_not_repaired);
    }
    repair_share_fs(name, group);
    if (mount_again(found, group) == Code::fs_not_mounted) {
        return log_return(Code::fs_not_mounted);
    }
    ShareFiles files;
    const Code added = add_lost_share(files, share);
    return !failed(added) || added == Code::share_listed ? Code::ok
                                                         : fail(added, Code::share_not_repaired);
}

} // namespace zav
