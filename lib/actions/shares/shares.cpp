// SPDX-License-Identifier: MIT
#include "actions/shares/shares.h"

#include "actions/filesystems/filesystems.h"
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "actions/services/control.h"
#include "actions/shares/ftp_users.h"
#include "actions/shares/pools.h"
#include "actions/shares/steps.h"
#include "base/codes.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/pools.h"
#include "inventory/shares.h"
#include "platform/services.h"

namespace zav {

namespace {

/// Logs why a step failed, and gives the operation's code in its place.
Code fail(Code cause, Code code, LogSite site = LogSite::here()) {
    log_failure(cause, site);
    return code;
}

/// Makes the pool. A failed command is a success when the pool is there all the same.
Code create_pool(const share_info& share, const char* group, Sink& out) {
    const char* name = share.name.c_str();
    const Code result = pool_create(name, group, unsigned_size(share.size), out);
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
    if (const auto group = get_vgname_from_lvdisplay(name)) {
        return *group;
    }
    GroupName group;
    vgname_from_backup(name, group, out);
    return group;
}

/// The end of each way to put a share in use: no longer in a recycle file, but in its service's.
Code put_in_use(const share_info& share, LogSite operation) {
    const Code removed = remove_from_recycle_files(share);
    if (failed(removed) && removed != Code::share_not_listed) {
        return fail(removed, Code::share_not_edited, operation);
    }
    const Code applied = apply_share(share);
    return !failed(applied) || applied == Code::share_not_listed
               ? Code::ok
               : fail(applied, Code::share_not_edited, operation);
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
    if (const Code result = check_share(share.name.c_str()); failed(result)) {
        return log_return(result);
    }
    // Registered before it exists: whoever asks for the name meanwhile is refused.
    if (const Code result = add_share(share); failed(result)) {
        return result == Code::share_listed ? log_return(result)
                                            : fail(result, Code::share_not_created);
    }
    if (const Code result = create_pool(share, group, out); failed(result)) {
        return log_return(result);
    }
    if (has_own_ftp_user(share)) {
        Code result = ftp_user_set(share);
        result = failed(result) ? result : rewrite_home(share.users, ftp_home);
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
    share_info share;
    if (const Code result = find_share(name, share); failed(result)) {
        return log_return(result);
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
    return is_forbidden ? del_forbid_share(share, group, out) : del_use_share(share, group, out);
}

Code del_use_share(const share_info& share, const GroupName& group, Sink& out) {
    const Code result =
        is_on_device(share) ? del_iscsi_share(share, group, out) : del_snf_share(share, group, out);
    return !failed(result) ? Code::ok : log_return(result);
}

Code del_snf_share(const share_info& share, const GroupName& group, Sink& out) {
    if (const Code result = check_umount(share.name.c_str(), out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    unregister_mount(share, group);
    if (const Code result = remove_share_pool(share, group, out); failed(result)) {
        return log_return(result);
    }
    if (has_own_ftp_user(share)) {
        if (const Code result = ftp_user_remove(share); failed(result)) {
            return fail(result, Code::share_not_deleted);
        }
    }
    const Code result = remove_share(share);
    return !failed(result) || result == Code::share_not_listed
               ? Code::ok
               : fail(result, Code::share_not_deleted);
}

Code del_iscsi_share(const share_info& share, const GroupName& group, Sink& out) {
    if (const Code result = remove_share(share);
        failed(result) && result != Code::share_not_listed) {
        return fail(result, Code::share_not_deleted);
    }
    restart_service(share.type); // the device must not be in use when its pool goes
    const Code result = remove_share_pool(share, group, out);
    return !failed(result) ? Code::ok : log_return(result);
}

Code del_forbid_share(const share_info& share, const GroupName& group, Sink& out) {
    if (const Code result = check_umount(share.name.c_str(), out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    unregister_mount(share, group);
    if (const Code result = remove_share_pool(share, group, out); failed(result)) {
        return log_return(result);
    }
    const Code result = remove_forbidden_share(share);
    return !failed(result) || result == Code::share_not_listed
               ? Code::ok
               : fail(result, Code::share_not_deleted);
}

Code edit_share(share_info& share, int state, Sink& out) {
    share_info current;
    if (const Code result = find_share(share.name.c_str(), current); failed(result)) {
        return log_return(result);
    }
    share.size = current.size;
    share.path = current.path.view();
    const bool is_in_use = !current.type.empty();
    if (state == 0) {
        return is_in_use ? forbid_use_share(share, current.users) : mod_forbiden_share(share);
    }
    if (is_in_use) {
        if (has_ftp_account(share)) {
            if (const Code result = ftp_mod(share, current.users); failed(result)) {
                return log_return(result);
            }
        }
        return mod_use_share(share);
    }
    recall_texts(share);
    return share.type == share_type::ftp ? set_to_ftp(share, out) : set_to_smbnfs(share, out);
}

Code forbid_use_share(share_info& share, std::string_view current_user) {
    if (!has_ftp_account(share)) {
        const Code result = forbid_share(share);
        const bool is_done =
            !failed(result) || result == Code::share_listed || result == Code::share_not_listed;
        return is_done ? Code::ok : fail(result, Code::share_not_forbidden);
    }
    const Code result =
        unmount_and_unregister(share, share_path(share_type::ftp, "", share.name.c_str()));
    if (failed(result) && result != Code::share_not_listed) {
        return fail(result, Code::share_not_forbidden);
    }
    if (current_user.empty() || current_user == default_ftp_user) {
        return Code::ok;
    }
    share_info bound;
    bound.users = current_user;
    const Code unbound = ftp_user_remove(bound);
    return !failed(unbound) ? Code::ok : fail(unbound, Code::share_not_forbidden);
}

Code mod_use_share(const share_info& share) {
    const Code result = apply_share(share);
    return !failed(result) || result == Code::share_not_listed ? result
                                                               : fail(result, Code::share_not_used);
}

// Spelled so on purpose: support searches logs for it.
Code mod_forbiden_share(share_info& share) {
    const Code result = edit_forbidden_share(share);
    return !failed(result) || result == Code::share_not_listed
               ? result
               : fail(result, Code::share_not_edited);
}

Code set_to_ftp(share_info& share, Sink& out) {
    const char* name = share.name.c_str();
    const GroupName group = find_group(name, out);
    if (group.empty()) {
        return log_return(Code::no_such_group);
    }
    if (const Code result = check_umount(name, out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    const std::string old_path = share_path(share_type::samba, group.c_str(), name);
    ignore(mntdir_remove(old_path.c_str()));
    ignore(mdfstab_remove(old_path.c_str()));
    share.path = share_path(share_type::ftp, group.c_str(), name);
    if (const Code result = mount_share(share, group.c_str()); result == Code::fs_not_mounted) {
        return log_return(result);
    }
    if (const Code result = ftp_bind(share); failed(result)) {
        return fail(result, Code::share_not_edited);
    }
    return put_in_use(share, LogSite::here());
}

Code set_to_smbnfs(share_info& share, Sink& out) {
    const char* name = share.name.c_str();
    const GroupName group = find_group(name, out);
    if (group.empty()) {
        return log_return(Code::no_such_group);
    }
    share.path = share_path(share_type::samba, group.c_str(), name);
    if (const Code result = mount_missing_share(share, group.c_str());
        result == Code::fs_not_mounted) {
        return log_return(result);
    }
    return put_in_use(share, LogSite::here());
}

Code restore_share(share_info& share, const char* group) {
    if (has_ftp_account(share)) {
        share.users = default_ftp_user;
    }
    const Code added = add_share(share);
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
    if (const Code result = check_umount(name, out); failed(result)) {
        return fail(result, Code::fs_not_unmounted);
    }
    repair_share_fs(name, group);
    if (const Code result = mount_again(share, group); result == Code::fs_not_mounted) {
        return log_return(result);
    }
    const Code added = add_share(share);
    return !failed(added) || added == Code::share_listed ? Code::ok
                                                         : fail(added, Code::share_not_repaired);
}

} // namespace zav
