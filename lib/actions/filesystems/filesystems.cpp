// SPDX-License-Identifier: MIT
#include "actions/filesystems/filesystems.h"

#include "actions/filesystems/mount_register.h"
#include "base/bounded_text.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/mounts.h"
#include "platform/models.h"
#include "sources/file_tools.h"
#include "sources/fs_repair.h"
#include "sources/mdfstab.h"
#include "sources/mkfs.h"
#include "sources/mount.h"

#include <sys/utsname.h>

namespace zav {

namespace {

constexpr MountRegister mdfstab = {mdfstab_path, mdfstab_copy_template};

/// run_and_log() for a command on a path, which may come from the mount table or a register.
int run_on_path(std::string_view path, const std::string& command,
                FailureWording wording = FailureWording::standard) {
    return is_plain_path(path) && is_run_whole(command) ? run_and_log(command, wording)
                                                        : refuse_command(command, wording);
}

/// The same for an operation's result.
int run_on_path_or_fail(std::string_view path, const std::string& command,
                        FailureWording wording = FailureWording::standard) {
    return run_on_path(path, command, wording) == 0 ? 0 : error::command_failed;
}

/// "/dev/data/pool" or "-L label".
bool is_plain_source(std::string_view source) {
    constexpr std::string_view by_label = "-L ";
    return source.starts_with(by_label) ? is_plain_name(source.substr(by_label.size()))
                                        : is_plain_path(source);
}

/// mount_source() for a pool.
int mount_pool(const char* mntpoint, const char* group, const char* pool, std::string_view type,
               const char* reiserfs_mount) {
    return mount_source(mntpoint, pool_path(group, pool), type, reiserfs_mount);
}

} // namespace

std::string pool_path(const char* group, const char* pool) {
    return format_text("/dev/%s/%s", group, pool);
}

int fs_make(const char* pool, const char* group) {
    const bool is_reiserfs = product_fs_type() == reiserfs_type;
    return run_or_fail({group, pool}, is_reiserfs ? format_text(make_reiserfs_command, group, pool)
                                                  : format_text(make_xfs_command, group, pool));
}

int fs_mount(const char* mntpoint, const char* group, const char* pool) {
    return mount_pool(mntpoint, group, pool, product_fs_type(), "mount");
}

int fs_mount_typed(const char* mntpoint, const char* group, const char* pool,
                   std::string_view type) {
    return mount_pool(mntpoint, group, pool, type, "/bin/mount");
}

int mount_source(const char* mntpoint, const std::string& source, std::string_view type,
                 const char* reiserfs_mount) {
    utsname kernel = {};
    if (::uname(&kernel) != 0) {
        return error::command_failed;
    }
    const std::string command = mount_text(mntpoint, source, type, reiserfs_mount, kernel.release);
    if (!is_plain_source(source)) {
        refuse_command(command);
        return error::command_failed;
    }
    const int result = run_on_path_or_fail(mntpoint, command);
    return result != 0 ? result
                       : run_on_path_or_fail(mntpoint, format_text(open_to_all_command, mntpoint));
}

int fs_umount(const char* mntpoint) {
    return run_on_path_or_fail(mntpoint, format_text(unmount_command, mntpoint));
}

int check_umount(const char* name) {
    const auto mounts = read_mounts_or_print();
    if (!mounts) {
        return log_return(-1);
    }
    for (const Mount& mount : *mounts) {
        if (last_component(mount.directory) != name) {
            continue;
        }
        if (const int result = fs_umount(mount.directory.c_str()); result != 0) {
            return log_return(is_plain_path(mount.directory) ? result : error::fs_not_unmounted);
        }
    }
    return 0;
}

int mntdir_create(const char* mntpoint) {
    const int result = run_on_path_or_fail(mntpoint, format_text(make_directory_command, mntpoint));
    return result != 0
               ? result
               : run_on_path_or_fail(mntpoint, format_text(protect_directory_command, mntpoint),
                                     FailureWording::no_blank_before_return);
}

int mntdir_remove(const char* mntpoint) {
    run_on_path(mntpoint, format_text(release_directory_command, mntpoint),
                FailureWording::no_blank_before_return);
    return run_on_path_or_fail(mntpoint, format_text(remove_directory_command, mntpoint),
                               FailureWording::no_blank_before_return);
}

int mdfstab_add(const char* mntpoint, const char* group, const char* pool) {
    return register_add(mdfstab, mntpoint,
                        format_text(mdfstab_line, group, pool, mntpoint, product_fs_type().data()));
}

int mdfstab_remove(const char* mntpoint) {
    return register_remove(mdfstab, mntpoint);
}

int repair_device(const std::string& device, std::string_view type) {
    const char* directory = repair_directory();
    const std::string command =
        type == xfs_type ? format_text(repair_xfs_command, directory, device.c_str())
                         : format_text(repair_reiserfs_command, directory, device.c_str());
    const bool is_repaired = run_on_path(device, command) == 0;
    return is_repaired ? 0 : error::fs_not_repaired;
}

int fs_repair(const char* pool, const char* group, std::string_view type) {
    return repair_device(pool_path(group, pool), type);
}

int check_mount_point(const char* mntpoint) {
    // One that fills its field may have been longer.
    const bool is_whole = std::string_view(mntpoint).size() < BoundedText<128>::capacity;
    if (is_whole && is_plain_path(mntpoint)) {
        return 0;
    }
    log_error("no command takes the mount point '%s'", mntpoint);
    return error::fs_not_unmounted;
}

int mount_repaired(const char* name, const char* mntpoint, const std::function<int()>& mount) {
    mntdir_create(mntpoint);
    const auto mounts = read_mounts();
    const bool is_mounted = mounts && find_mount_named(*mounts, name) != nullptr;
    return is_mounted || mount() == 0 ? 0 : error::fs_not_mounted;
}

int repair_kor_fs(const char* pool, const char* group) {
    if (check_umount(pool) != 0) {
        return log_return(error::fs_not_unmounted);
    }
    BoundedText<16> type;
    BoundedText<128> mntpoint;
    mdfstab_lookup(pool, group, type, mntpoint);
    if (type.empty()) {
        return log_return(error::fs_not_repaired);
    }
    const char* directory = mntpoint.c_str();
    if (const int result = check_mount_point(directory); result != 0) {
        return log_return(result);
    }
    const int repaired = fs_repair(pool, group, type);
    if (repaired != 0) {
        log_return(repaired);
    }
    const int mounted = mount_repaired(
        pool, directory, [&] { return fs_mount_typed(directory, group, pool, type); });
    if (mounted != 0) {
        return log_return(mounted);
    }
    mdfstab_add(directory, group, pool);
    return repaired;
}

} // namespace zav
