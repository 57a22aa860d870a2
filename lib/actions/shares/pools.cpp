// SPDX-License-Identifier: MIT
#include "actions/shares/pools.h"

#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/mount_register.h"
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "actions/shares/ftp_users.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/mounts.h"
#include "inventory/pools.h"
#include "inventory/shares.h"
#include "platform/models.h"
#include "platform/services.h"
#include "sources/fs_repair.h"
#include "sources/fstab.h"
#include "sources/mdfstab.h"

#include <algorithm>
#include <vector>

namespace zav {

namespace {

std::string repair_command(const char* name, const char* group) {
    switch (product_model().share_repair) {
    case ShareRepair::local_reiserfsck:
        return format_text(repair_share_reiserfs_local_command, group, name);
    case ShareRepair::system_reiserfsck:
        return format_text(repair_share_reiserfs_command, group, name);
    case ShareRepair::xfs_repair:
        break;
    }
    return format_text(repair_share_xfs_command, group, name);
}

std::string path_of(const share_info& share, const char* group) {
    return share_path(share.type, group, share.name.c_str());
}

std::string ftp_path(const char* name) {
    return share_path(share_type::ftp, "", name);
}

bool is_mounted(const share_info& share) {
    const auto mounts = read_mounts();
    return mounts && find_mount_named(*mounts, share.name) != nullptr;
}

Code register_mount(const std::string& mntpoint, const char* group, const char* pool,
                    std::string_view type) {
    const Code result = mdfstab_add(mntpoint.c_str(), group, pool, type);
    return result == Code::mount_point_registered ? Code::ok : result;
}

Code mount_at(const std::string& mntpoint, const char* group, const char* pool,
              std::string_view type) {
    // From here on it is protected, also from being replaced.
    if (const Code made = mntdir_create(mntpoint.c_str()); made == Code::fs_not_mounted) {
        return made;
    }
    return !failed(fs_mount(mntpoint.c_str(), group, pool, type))
               ? register_mount(mntpoint, group, pool, type)
               : Code::fs_not_mounted;
}

bool contains(const std::vector<GroupName>& groups, std::string_view group) {
    return std::ranges::find(groups, group, &GroupName::view) != groups.end();
}

void add_new(std::vector<GroupName>& groups, const std::vector<GroupName>& others) {
    for (const GroupName& other : others) {
        if (!contains(groups, other.view())) {
            groups.push_back(other);
        }
    }
}

/// A group that commands take; else none, which is logged.
GroupName plain_group(const GroupName& group, const char* what, const char* name) {
    if (!group.empty() && !is_plain_name(group.view())) {
        log_error("no command takes the group '%s' of %s '%s'", group.c_str(), what, name);
        return GroupName();
    }
    return group;
}

/// The group of the file system that is registered at a mount point; empty for none.
GroupName registered_group(std::string_view mntpoint) {
    fs_list list;
    if (is_register_missing(mdfstab_path) || failed(mdfstab_read(list))) {
        return GroupName();
    }
    const auto found =
        std::ranges::find(list, mntpoint, [](const fs_info& fs) { return fs.mntpoint.view(); });
    const bool is_plain = found != list.end() && is_plain_name(found->ownername.view());
    return is_plain ? found->ownername : GroupName();
}

/// The group that the path of a share's pool names; empty for a path of another form, which an FTP
/// share has.
GroupName group_in_path(const char* pool, std::string_view path) {
    for (const std::string_view top : {"/mnt/", "/dev/"}) {
        const std::string_view rest = path.starts_with(top) ? path.substr(top.size()) : "";
        const std::string_view group = rest.substr(0, rest.find('/'));
        if (is_plain_name(group) && rest.substr(group.size()) == std::string("/") + pool) {
            return GroupName(group);
        }
    }
    return GroupName();
}

/// The group of the share's own pool: the one that the path names that the share is registered
/// with, if it is one of `groups`; the one that is registered to be mounted there; else the named
/// one, or the one that is registered at its place below the home of the FTP users. Empty when
/// nothing tells.
GroupName own_group(const char* pool, std::string_view path, const std::vector<GroupName>& groups) {
    const GroupName named = group_in_path(pool, path);
    if (contains(groups, named.view())) {
        return named;
    }
    const GroupName registered = registered_group(path);
    return !registered.empty() ? registered
           : !named.empty()    ? named
                               : registered_group(ftp_path(pool));
}

std::string names_of(std::vector<GroupName> groups) {
    std::string names;
    std::ranges::sort(groups, {}, &GroupName::view);
    for (const GroupName& group : groups) {
        names.append(names.empty() ? "'" : ", '").append(group.view()).append("'");
    }
    return names;
}

/// Whether the register of mounts has the only pool of a share's name, whose path names no group,
/// for another mount point than the share's: it is a file system of its own. That is logged.
bool is_of_others(const share_info& share, const GroupName& group, std::string_view path) {
    const char* pool = share.name.c_str();
    if (group.empty() || !group_in_path(pool, path).empty()) {
        return false;
    }
    const std::string device = pool_path(group.c_str(), pool);
    const std::string own_path = share_path(share.type, group.c_str(), pool);
    fs_list list;
    if (is_register_missing(mdfstab_path) || failed(mdfstab_read(list))) {
        return false;
    }
    const auto found = std::ranges::find_if(list, [&](const fs_info& fs) {
        return fs.name == device && fs.mntpoint != path && fs.mntpoint != own_path;
    });
    if (found == list.end()) {
        return false;
    }
    log_error("'%s' is mounted on '%s', which is not the share's", device.c_str(),
              found->mntpoint.c_str());
    return true;
}

/// Of the groups that have a pool of the share's name the one that has its own; empty, which is
/// logged, when its own pool is gone, maybe by a deletion that was cut short: the others are
/// somebody else's. Code::no_such_group, also logged, when nothing tells.
Result<GroupName> choose_group(const std::vector<GroupName>& groups, const char* pool,
                               std::string_view path) {
    const GroupName own = own_group(pool, path, groups);
    const bool is_only = groups.size() == 1;
    if (contains(groups, own.view()) || (is_only && !is_plain_name(groups.front().view()))) {
        return is_only ? groups.front() : own;
    }
    if (!own.empty()) {
        log_error("the pool '%s' of '%s' is gone: that of %s is not the share's", pool, own.c_str(),
                  names_of(groups).c_str());
        return GroupName();
    }
    if (is_only) {
        return groups.front();
    }
    log_error("the groups %s have a pool '%s': nothing tells which is the share's",
              names_of(groups).c_str(), pool);
    return Code::no_such_group;
}

} // namespace

std::string share_path(std::string_view type, const char* group, const char* name) {
    const Service* service = find_service(type);
    switch (service != nullptr ? service->path : SharePath::group_directory) {
    case SharePath::user_home:
        return format_text("/home/%s/%s", std::string(default_ftp_user).c_str(), name);
    case SharePath::device:
        return pool_path(group, name);
    case SharePath::group_directory:
        break;
    }
    return format_text("/mnt/%s/%s", group, name);
}

bool is_path_of_other_group(const char* pool, std::string_view path, std::string_view group) {
    const GroupName named = group_in_path(pool, path);
    return !named.empty() && named != group;
}

Result<GroupName> find_pool_group(const char* pool, std::string_view path, Sink& out) {
    pool_list pools;
    const Code listed = pool_list_get(pools, out);
    if (listed == Code::pool_output_unread) {
        return listed;
    }
    std::vector<GroupName> groups;
    for (const pool_info& record : pools) {
        if (last_component(record.name) == pool) {
            add_new(groups, {GroupName(record.vgname.view())});
        }
    }
    if (groups.empty()) {
        // Without LVM no pool is listed, and what is not known to be gone is not forgotten.
        return failed(listed) ? Result<GroupName>(listed) : GroupName();
    }
    const auto chosen = choose_group(groups, pool, path);
    if (failed(listed) && chosen && chosen->empty()) {
        return listed; // its own may be in the part that is missing
    }
    return chosen ? plain_group(*chosen, "pool", pool) : chosen;
}

Result<GroupName> find_group_to_mount(const char* pool, std::string_view path, Sink& out) {
    const auto listed = groups_of_pool(pool);
    std::vector<GroupName> groups = listed ? *listed : std::vector<GroupName>();
    if (GroupName group; groups.empty()) {
        vgname_from_backup(pool, group, out);
        add_new(groups, {group});
    }
    add_new(groups, groups_of_pool_in_backups(pool));
    std::erase(groups, GroupName());
    if (groups.empty()) {
        return GroupName();
    }
    const auto chosen = choose_group(groups, pool, path);
    return chosen ? plain_group(*chosen, "share", pool) : chosen;
}

Result<GroupName> bring_back_group(const share_info& share, std::string_view path, Sink& out) {
    const char* pool = share.name.c_str();
    std::vector<GroupName> groups = groups_of_pool_in_backups(pool);
    const GroupName own = groups.empty() ? GroupName() : own_group(pool, path, groups);
    if (!groups.empty() && own.empty()) {
        const auto listed = groups_of_pool(pool);
        if (!listed) {
            return listed.code();
        }
        add_new(groups, *listed);
        const auto chosen = choose_group(groups, pool, path);
        if (!chosen || is_of_others(share, *chosen, path)) {
            return Code::no_such_group;
        }
    } else if (groups.size() > 1 && contains(groups, own.view())) {
        const Code result = vg_raid_resume(own.c_str(), out);
        return failed(result) ? Result<GroupName>(result) : own;
    }
    const bool is_own = own.empty() || contains(groups, own.view());
    GroupName group;
    const Code result = is_own ? handle_abnorm_raid(pool, group, out) : Code::ok;
    if (failed(result) || !group.empty()) {
        return failed(result) ? Result<GroupName>(result) : group;
    }
    const auto found = find_pool_group(pool, path, out);
    return found && is_of_others(share, *found, path) ? Code::no_such_group : found;
}

Code mount_share(const share_info& share, const char* group, std::string_view type) {
    return mount_at(path_of(share, group), group, share.name.c_str(), type);
}

Code mount_missing_share(const share_info& share, const char* group) {
    const char* name = share.name.c_str();
    const std::string mntpoint = share_path(share_type::samba, group, name);
    const std::string_view type = product_fs_type();
    return is_mounted(share) ? register_mount(mntpoint, group, name, type)
                             : mount_at(mntpoint, group, name, type);
}

Code mount_again(const share_info& share, const char* group) {
    const std::string_view type = product_fs_type();
    if (!is_mounted(share)) {
        return mount_share(share, group, type);
    }
    const std::string mntpoint = path_of(share, group);
    if (!fs_is_mounted(mntpoint)) {
        ignore(mntdir_create(mntpoint.c_str())); // else this would protect the share's own root
    }
    return register_mount(mntpoint, group, share.name.c_str(), type);
}

Code unregister_mount(const share_info& share, const GroupName& group) {
    if (group.empty() && !has_ftp_account(share)) {
        log_error("share '%s' has no group: its mount point stays", share.name.c_str());
        return Code::ok;
    }
    const std::string path = path_of(share, group.c_str());
    const Code result = unregister_mount_point(path);
    if (!failed(result)) {
        ignore(mntdir_remove(path.c_str()));
    }
    return result;
}

Code unregister_mount_point(const std::string& mntpoint) {
    const Code result = mdfstab_remove(mntpoint.c_str());
    if (!failed(result)) {
        return Code::ok;
    }
    const bool is_gone = is_register_missing(mdfstab_path) ||
                         register_has_mount_point(mdfstab_path, mntpoint) == Presence::absent;
    return is_gone ? Code::ok : result;
}

Code give_up_mount_point(const std::string& mntpoint) {
    if (const Code result = fs_umount(mntpoint.c_str()); failed(result)) {
        const auto mounts = read_mounts();
        if (!mounts || is_mount_point(*mounts, mntpoint)) {
            return result; // what is still mounted must not be removed
        }
    }
    ignore(mntdir_remove(mntpoint.c_str()));
    return unregister_mount_point(mntpoint);
}

Code leave_ftp_directory(const char* name) {
    const std::string mntpoint = ftp_path(name);
    const auto mounts = read_mounts();
    if (!mounts) {
        return Code::mounts_unread;
    }
    if (is_mount_point(*mounts, mntpoint)) {
        return give_up_mount_point(mntpoint);
    }
    if (is_register_missing(mdfstab_path) ||
        register_has_mount_point(mdfstab_path, mntpoint) == Presence::absent) {
        return Code::ok;
    }
    ignore(mntdir_remove(mntpoint.c_str()));
    return unregister_mount_point(mntpoint);
}

Code leave_ftp_directory_if_any(const char* name) {
    const std::string mntpoint = ftp_path(name);
    const auto mounts = read_mounts();
    const bool is_any = (mounts && is_mount_point(*mounts, mntpoint)) ||
                        (!is_register_missing(mdfstab_path) &&
                         register_has_mount_point(mdfstab_path, mntpoint) == Presence::present);
    return is_any ? leave_ftp_directory(name) : Code::ok;
}

Code remove_share_pool(const share_info& share, const GroupName& group, Sink& out) {
    if (group.empty()) {
        return Code::ok;
    }
    const char* name = share.name.c_str();
    const Code result = pool_remove_if_any(name, group.c_str(), out);
    if (result != Code::command_failed) {
        return result;
    }
    // Without LVM no pool is listed, either: only a list that could be made tells that it is gone.
    return check_lvname(name, out) == Presence::absent ? Code::ok : Code::pool_not_removed;
}

void repair_share_fs(const char* name, const char* group) {
    ignore(run_or_fail({group, name}, repair_command(name, group)));
}

} // namespace zav
