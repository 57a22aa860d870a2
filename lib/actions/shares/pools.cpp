// SPDX-License-Identifier: MIT
#include "actions/shares/pools.h"

#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/mount_register.h"
#include "actions/pools/pools.h"
#include "actions/shares/ftp_users.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/mounts.h"
#include "inventory/pools.h"
#include "platform/models.h"
#include "platform/services.h"
#include "sources/fs_repair.h"
#include "sources/fstab.h"
#include "sources/mdfstab.h"

#include <algorithm>

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

bool is_mounted(const share_info& share) {
    const auto mounts = read_mounts();
    return mounts && find_mount_named(*mounts, share.name) != nullptr;
}

Code register_mount(const std::string& mntpoint, const char* group, const char* pool) {
    const Code result = mdfstab_add(mntpoint.c_str(), group, pool);
    return result == Code::mount_point_registered ? Code::ok : result;
}

Code mount_at(const std::string& mntpoint, const char* group, const char* pool) {
    // From here on it is protected, also from being replaced.
    if (const Code made = mntdir_create(mntpoint.c_str()); made == Code::fs_not_mounted) {
        return made;
    }
    return !failed(fs_mount(mntpoint.c_str(), group, pool)) ? register_mount(mntpoint, group, pool)
                                                            : Code::fs_not_mounted;
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

Result<GroupName> find_pool_group(const char* pool, Sink& out) {
    pool_list pools;
    const Code listed = pool_list_get(pools, out);
    if (listed == Code::pool_output_unread) {
        return listed;
    }
    const auto found = std::ranges::find_if(
        pools, [pool](const pool_info& record) { return last_component(record.name) == pool; });
    if (found == pools.end()) {
        // Without LVM no pool is listed, and what is not known to be gone is not forgotten.
        return failed(listed) ? Result<GroupName>(listed) : GroupName();
    }
    if (!is_plain_name(found->vgname.view())) {
        log_error("no command takes the group '%s' of pool '%s'", found->vgname.c_str(), pool);
        return GroupName();
    }
    return GroupName(found->vgname.view());
}

Code mount_share(const share_info& share, const char* group) {
    return mount_at(path_of(share, group), group, share.name.c_str());
}

Code mount_missing_share(const share_info& share, const char* group) {
    const char* name = share.name.c_str();
    const std::string mntpoint = share_path(share_type::samba, group, name);
    return is_mounted(share) ? register_mount(mntpoint, group, name)
                             : mount_at(mntpoint, group, name);
}

Code mount_again(const share_info& share, const char* group) {
    if (!is_mounted(share)) {
        return mount_share(share, group);
    }
    const std::string mntpoint = path_of(share, group);
    if (!fs_is_mounted(mntpoint)) {
        ignore(mntdir_create(mntpoint.c_str())); // else this would protect the share's own root
    }
    return register_mount(mntpoint, group, share.name.c_str());
}

void unregister_mount(const share_info& share, const GroupName& group) {
    if (group.empty() && !has_ftp_account(share)) {
        log_error("share '%s' has no group: its mount point stays", share.name.c_str());
        return;
    }
    const std::string path = path_of(share, group.c_str());
    ignore(mdfstab_remove(path.c_str()));
    ignore(mntdir_remove(path.c_str()));
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
