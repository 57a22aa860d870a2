// SPDX-License-Identifier: MIT
#include "actions/shares/pools.h"

#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/mount_register.h"
#include "actions/pools/pools.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/mounts.h"
#include "inventory/pools.h"
#include "platform/product_model.h"
#include "sources/fs_repair.h"

#include <algorithm>
#include <array>

namespace zav {

namespace {

constexpr std::array<std::string_view, 2> local_reiserfs_models = {"VEL7205E", "VEL7205P"};
constexpr std::array<std::string_view, 2> system_reiserfs_models = {"VEL7206P", "KOR7206LB"};

std::string repair_command(const char* name, const char* group) {
    const std::string model = product_model();
    if (std::ranges::find(local_reiserfs_models, model) != local_reiserfs_models.end()) {
        return format_text(repair_share_reiserfs_local_command, group, name);
    }
    if (std::ranges::find(system_reiserfs_models, model) != system_reiserfs_models.end()) {
        return format_text(repair_share_reiserfs_command, group, name);
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

int register_mount(const std::string& mntpoint, const char* group, const char* pool) {
    const int result = mdfstab_add(mntpoint.c_str(), group, pool);
    return result == mount_point_registered ? 0 : result;
}

int mount_at(const std::string& mntpoint, const char* group, const char* pool) {
    mntdir_create(mntpoint.c_str());
    return fs_mount(mntpoint.c_str(), group, pool) == 0 ? register_mount(mntpoint, group, pool)
                                                        : error::fs_not_mounted;
}

} // namespace

std::string share_path(std::string_view type, const char* group, const char* name) {
    if (equal_ignoring_case(type, share_type::ftp)) {
        return format_text("/home/%s/%s", std::string(default_ftp_user).c_str(), name);
    }
    if (equal_ignoring_case(type, share_type::iscsi)) {
        return pool_path(group, name);
    }
    return format_text("/mnt/%s/%s", group, name);
}

int find_pool_group(const char* pool, GroupName& group) {
    pool_list pools;
    if (const int result = pool_list_get(pools); result == error::pool_output_unread) {
        return result;
    }
    const auto found = std::ranges::find_if(
        pools, [pool](const pool_info& record) { return last_component(record.name) == pool; });
    if (found != pools.end()) {
        group = found->vgname.view();
    }
    return 0;
}

int mount_share(const share_info& share, const char* group) {
    return mount_at(path_of(share, group), group, share.name.c_str());
}

int mount_missing_share(const share_info& share, const char* group) {
    const char* name = share.name.c_str();
    const std::string mntpoint = share_path(share_type::samba, group, name);
    return is_mounted(share) ? register_mount(mntpoint, group, name)
                             : mount_at(mntpoint, group, name);
}

int mount_again(const share_info& share, const char* group) {
    if (!is_mounted(share)) {
        return mount_share(share, group);
    }
    const std::string mntpoint = path_of(share, group);
    mntdir_create(mntpoint.c_str());
    return register_mount(mntpoint, group, share.name.c_str());
}

void unregister_mount(const share_info& share, const GroupName& group) {
    if (group.empty() && !is_type(share, share_type::ftp)) {
        log_error("share '%s' has no group: its mount point stays", share.name.c_str());
        return;
    }
    const std::string path = path_of(share, group.c_str());
    mdfstab_remove(path.c_str());
    mntdir_remove(path.c_str());
}

int remove_share_pool(const share_info& share, const GroupName& group) {
    if (group.empty()) {
        return 0;
    }
    const char* name = share.name.c_str();
    const int result = pool_remove(name, group.c_str());
    if (result == error::no_such_pool) {
        return 0;
    }
    if (result != error::command_failed) {
        return result;
    }
    return check_lvname(name) == 0 ? 0 : error::pool_not_removed;
}

int repair_share_fs(const char* name, const char* group) {
    run_or_fail({group, name}, repair_command(name, group));
    return 0;
}

} // namespace zav
