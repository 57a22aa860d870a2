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

namespace zav {

namespace {

/// Logs why a step failed, and gives the operation's code in its place.
int fail(int cause, int code, LogSite site = LogSite::here()) {
    log_return(cause, site);
    return code;
}

/// Makes the pool. A failed command is a success when the pool is there all the same.
int create_pool(const share_info& share, const char* group) {
    const char* name = share.name.c_str();
    const int result = pool_create(name, group, static_cast<std::uint64_t>(share.size));
    if (result != error::command_failed) {
        return result;
    }
    return check_lvname(name) == 1 ? 0 : error::pool_not_created;
}

/// A share that nobody was found for is the default user's.
bool has_own_ftp_user(const share_info& share) {
    return is_type(share, share_type::ftp) && !share.users.empty() &&
           share.users != default_ftp_user;
}

/// The group that a share's pool is in; empty when nothing tells.
GroupName find_group(const char* name) {
    GroupName group;
    if (get_vgname_from_lvdisplay(name, group) != 0) {
        vgname_from_backup(name, group);
    }
    return group;
}

/// The end of each way to put a share in use: no longer in a recycle file, but in its service's.
int put_in_use(const share_info& share, LogSite operation) {
    const int removed = remove_from_recycle_files(share);
    if (removed != 0 && removed != error::share_not_listed) {
        return fail(removed, error::share_not_edited, operation);
    }
    const int applied = apply_share(share);
    return applied == 0 || applied == error::share_not_listed
               ? 0
               : fail(applied, error::share_not_edited, operation);
}

} // namespace

int share_space_check(const char* group, std::uint64_t size) {
    std::uint64_t room = 0;
    if (const int result = vg_room(group, room); result != 0) {
        return result;
    }
    return size <= room ? 0 : error::size_not_possible;
}

int create_share(const share_info& share, const char* group) {
    if (const int result = check_share(share.name.c_str()); result != 0) {
        return log_return(result);
    }
    // The share is registered before it exists: who asks meanwhile is refused.
    if (const int result = add_share(share); result != 0) {
        return result == error::share_listed ? log_return(result)
                                             : fail(result, error::share_not_created);
    }
    if (const int result = create_pool(share, group); result != 0) {
        return log_return(result);
    }
    if (has_own_ftp_user(share)) {
        int result = ftp_user_set(share);
        result = result == 0 ? rewrite_home(share.users, ftp_home) : result;
        if (result != 0) {
            return fail(result, error::share_not_created);
        }
    }
    int result = 0;
    if (!is_type(share, share_type::iscsi)) {
        if (const int made = fs_make(share.name.c_str(), group); made != 0) {
            return fail(made, error::share_not_created);
        }
        result = mount_share(share, group);
        if (result == error::fs_not_mounted) {
            return log_return(result);
        }
    }
    restart_service(share.type);
    return result == 0 ? 0 : log_return(result);
}

int delete_share(const char* name) {
    share_info share;
    if (const int result = find_share(name, share); result != 0) {
        return log_return(result);
    }
    GroupName group;
    if (const int result = handle_abnorm_raid(name, group); result != 0) {
        return log_return(result);
    }
    if (group.empty()) {
        if (const int result = find_pool_group(name, group); result != 0) {
            return log_return(result);
        }
    }
    const bool is_forbidden = share.type.empty();
    return is_forbidden ? del_forbid_share(share, group) : del_use_share(share, group);
}

int del_use_share(const share_info& share, const GroupName& group) {
    const int result = is_type(share, share_type::iscsi) ? del_iscsi_share(share, group)
                                                         : del_snf_share(share, group);
    return result == 0 ? 0 : log_return(result);
}

int del_snf_share(const share_info& share, const GroupName& group) {
    if (const int result = check_umount(share.name.c_str()); result != 0) {
        return fail(result, error::fs_not_unmounted);
    }
    unregister_mount(share, group);
    if (const int result = remove_share_pool(share, group); result != 0) {
        return log_return(result);
    }
    if (has_own_ftp_user(share)) {
        if (const int result = ftp_user_remove(share); result != 0) {
            return fail(result, error::share_not_deleted);
        }
    }
    const int result = remove_share(share);
    return result == 0 || result == error::share_not_listed
               ? 0
               : fail(result, error::share_not_deleted);
}

int del_iscsi_share(const share_info& share, const GroupName& group) {
    if (const int result = remove_share(share); result != 0 && result != error::share_not_listed) {
        return fail(result, error::share_not_deleted);
    }
    restart_service(share_type::iscsi); // the device must not be in use when its pool goes
    const int result = remove_share_pool(share, group);
    return result == 0 ? 0 : log_return(result);
}

int del_forbid_share(const share_info& share, const GroupName& group) {
    if (const int result = check_umount(share.name.c_str()); result != 0) {
        return fail(result, error::fs_not_unmounted);
    }
    unregister_mount(share, group);
    if (const int result = remove_share_pool(share, group); result != 0) {
        return log_return(result);
    }
    const int result = remove_forbidden_share(share);
    return result == 0 || result == error::share_not_listed
               ? 0
               : fail(result, error::share_not_deleted);
}

int edit_share(share_info& share, int state) {
    share_info current;
    if (const int result = find_share(share.name.c_str(), current); result != 0) {
        return log_return(result);
    }
    share.size = current.size;
    share.path = current.path.view();
    const bool is_in_use = !current.type.empty();
    if (state == 0) {
        return is_in_use ? forbid_use_share(share, current.users) : mod_forbiden_share(share);
    }
    if (is_in_use) {
        if (is_type(share, share_type::ftp)) {
            if (const int result = ftp_mod(share, current.users); result != 0) {
                return log_return(result);
            }
        }
        return mod_use_share(share);
    }
    recall_texts(share);
    return share.type == share_type::ftp ? set_to_ftp(share) : set_to_smbnfs(share);
}

int forbid_use_share(share_info& share, std::string_view current_user) {
    if (!is_type(share, share_type::ftp)) {
        const int result = forbid_share(share);
        const bool is_done =
            result == 0 || result == error::share_listed || result == error::share_not_listed;
        return is_done ? 0 : fail(result, error::share_not_forbidden);
    }
    const int result =
        unmount_and_unregister(share, share_path(share_type::ftp, "", share.name.c_str()));
    if (result != 0 && result != error::share_not_listed) {
        return fail(result, error::share_not_forbidden);
    }
    if (current_user.empty() || current_user == default_ftp_user) {
        return 0;
    }
    share_info bound;
    bound.users = current_user;
    const int unbound = ftp_user_remove(bound);
    return unbound == 0 ? 0 : fail(unbound, error::share_not_forbidden);
}

int mod_use_share(const share_info& share) {
    const int result = apply_share(share);
    return result == 0 || result == error::share_not_listed ? result
                                                            : fail(result, error::share_not_used);
}

// The name is known so: logs have it.
int mod_forbiden_share(share_info& share) {
    const int result = edit_forbidden_share(share);
    return result == 0 || result == error::share_not_listed ? result
                                                            : fail(result, error::share_not_edited);
}

int set_to_ftp(share_info& share) {
    const char* name = share.name.c_str();
    const GroupName group = find_group(name);
    if (group.empty()) {
        return log_return(error::no_such_group);
    }
    if (const int result = check_umount(name); result != 0) {
        return fail(result, error::fs_not_unmounted);
    }
    const std::string old_path = share_path(share_type::samba, group.c_str(), name);
    mntdir_remove(old_path.c_str());
    mdfstab_remove(old_path.c_str());
    share.path = share_path(share_type::ftp, group.c_str(), name);
    if (const int result = mount_share(share, group.c_str()); result == error::fs_not_mounted) {
        return log_return(result);
    }
    if (const int result = ftp_bind(share); result != 0) {
        return fail(result, error::share_not_edited);
    }
    return put_in_use(share, LogSite::here());
}

int set_to_smbnfs(share_info& share) {
    const char* name = share.name.c_str();
    const GroupName group = find_group(name);
    if (group.empty()) {
        return log_return(error::no_such_group);
    }
    share.path = share_path(share_type::samba, group.c_str(), name);
    if (const int result = mount_missing_share(share, group.c_str());
        result == error::fs_not_mounted) {
        return log_return(result);
    }
    return put_in_use(share, LogSite::here());
}

int restore_share(share_info& share, const char* group) {
    if (is_type(share, share_type::ftp)) {
        share.users = default_ftp_user;
    }
    const int added = add_share(share);
    if (added != 0 && added != error::share_listed) {
        return fail(added, error::share_not_restored);
    }
    if (is_type(share, share_type::iscsi)) {
        return 0;
    }
    const int result = mount_again(share, group);
    return result == error::fs_not_mounted ? log_return(result) : 0;
}

int repair_share(const char* name, std::string_view type, const char* group) {
    share_info share;
    if (const int result = find_share(name, share); result != 0) {
        return log_return(result);
    }
    if (is_type(share, share_type::iscsi)) {
        return 0; // what is on the device is not ours, whatever the caller takes it for
    }
    if (share.type.empty()) {
        share.type = type;
    }
    if (equal_ignoring_case(share.comment, unmounted_comment)) {
        share.comment.clear();
    }
    if (is_type(share, share_type::ftp)) {
        share.users = default_ftp_user;
    }
    if (const int result = check_umount(name); result != 0) {
        return fail(result, error::fs_not_unmounted);
    }
    if (const int result = repair_share_fs(name, group); result != 0) {
        return fail(result, error::share_not_repaired);
    }
    if (const int result = mount_again(share, group); result == error::fs_not_mounted) {
        return log_return(result);
    }
    const int added = add_share(share);
    return added == 0 || added == error::share_listed ? 0 : fail(added, error::share_not_repaired);
}

} // namespace zav
