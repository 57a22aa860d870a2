// SPDX-License-Identifier: MIT
#include "actions/filesystems/filesystems.h"

#include "actions/filesystems/mount_register.h"
#include "base/bounded_text.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/log.h"
#include "base/system_lock.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/mounts.h"
#include "inventory/netdisks.h"
#include "platform/models.h"
#include "sources/file_tools.h"
#include "sources/fs_repair.h"
#include "sources/mdfstab.h"
#include "sources/mkfs.h"
#include "sources/mount.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <sys/utsname.h>

namespace zav {

namespace {

constexpr MountRegister mdfstab = {mdfstab_path, mdfstab_copy_template};

/// run_and_log() for a command on a path, which may come from the mount table or a register.
WaitStatus run_on_path(std::string_view path, const std::string& command,
                       FailureWording wording = FailureWording::standard) {
    return is_plain_path(path) && is_run_whole(command) ? run_and_log(command, wording)
                                                        : refuse_command(command, wording);
}

/// The same for an operation's result.
Code run_on_path_or_fail(std::string_view path, const std::string& command,
                         FailureWording wording = FailureWording::standard) {
    return failed(run_on_path(path, command, wording)) ? Code::command_failed : Code::ok;
}

std::string real_path(const std::string& path) {
    char buffer[PATH_MAX] = "";
    return ::realpath(path.c_str(), buffer) != nullptr ? buffer : path;
}

/// The lock that keeps mounts on a mount point or below it, and its removal, by all instances of
/// this program apart. Mount points are three directories deep, as /mnt/data/pool: what is deeper
/// is below one. A mount may take long, and keeps no other mount point waiting.
SystemLock lock_mount_point(const std::string& mntpoint) {
    constexpr std::size_t depth = 3;
    const std::string path = real_path(mntpoint);
    auto directories = split(path, "/");
    directories.resize(std::min(directories.size(), depth));
    std::string name = "mount";
    for (const std::string_view directory : directories) {
        name.append("-").append(directory);
    }
    return SystemLock::take(name);
}

constexpr std::string_view user_homes = "/home/ftpuser";

bool is_in_user_home(std::string_view path) {
    return path.starts_with(user_homes) && path.substr(user_homes.size()).starts_with('/');
}

/// The first part of a path below the homes of FTP users that is a link; empty when there is none.
/// Its owner could lead a mount anywhere.
std::string find_user_link(const std::string& path) {
    if (!is_in_user_home(path)) {
        return "";
    }
    for (std::size_t end = user_homes.size(); end != std::string::npos;) {
        end = path.find('/', end + 1);
        std::string part = path.substr(0, end);
        struct stat status = {};
        if (::lstat(part.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
            return part;
        }
    }
    return "";
}

/// Why nothing may be mounted there, or made there to mount on; empty when it may.
std::string reason_not_to_mount(const char* mntpoint) {
    const std::string link = find_user_link(mntpoint);
    return link.empty() ? "" : format_text("'%s' is a link", link.c_str());
}

/// How the kernel names a mount point in a user's home. What leads to the homes is root's alone,
/// and may be a link.
std::string kernel_path(std::string_view mntpoint) {
    std::string path = real_path(std::string(user_homes));
    for (const std::string_view part : split(mntpoint.substr(user_homes.size()), "/")) {
        path.append("/").append(part);
    }
    return path;
}

/// What one of two mount tables has more than the other.
MountTable mounts_beyond(MountTable table, const MountTable& other) {
    for (const Mount& mount : other) {
        if (const auto found = std::ranges::find(table, mount); found != table.end()) {
            table.erase(found);
        }
    }
    return table;
}

constexpr std::string_view by_label = "-L ";

/// The device of what is mounted, under any of its names.
std::string source_device(std::string_view source) {
    return source.starts_with(by_label) ? labelled_device(source.substr(by_label.size()))
                                        : std::string(source);
}

/// Looks where a mount in a user's home went, whose owner could exchange the directory for a link
/// right before. One that is elsewhere is undone: Code::command_failed, logged. `before` is the
/// table before the mount; one that has not changed since says nothing.
Code check_where_mounted(const char* mntpoint, std::string_view source, const MountTable& before) {
    const auto after = read_mounts();
    if (!after || *after == before || is_mount_point(*after, kernel_path(mntpoint))) {
        return Code::ok;
    }
    log_error("'%s' is not mounted on '%s': its directory was exchanged meanwhile",
              std::string(source).c_str(), mntpoint);
    // Others mount meanwhile, too.
    const std::string device = real_path(source_device(source));
    const MountTable added = mounts_beyond(*after, before);
    for (const Mount& mount : added) {
        if (added.size() == 1 || real_path(mount.device) == device) {
            log_error("'%s' is unmounted from '%s'", mount.device.c_str(), mount.directory.c_str());
            ignore(fs_umount(mount.directory.c_str()));
        }
    }
    return Code::command_failed;
}

/// Why the lock of a mount point, just asked for, is not held; empty when it is.
std::string reason_without(const SystemLock& lock) {
    return lock ? "" : format_text("mounts cannot be locked: %s", std::strerror(errno));
}

bool is_at_or_below(std::string_view path, std::string_view directory) {
    return path.starts_with(directory) &&
           (path.size() == directory.size() || path[directory.size()] == '/');
}

/// Whether the directory is on another file system than the one that it lies in.
bool begins_file_system(const std::string& directory) {
    struct stat own = {};
    struct stat parent = {};
    return ::lstat(directory.c_str(), &own) == 0 && S_ISDIR(own.st_mode) &&
           ::stat((directory + "/..").c_str(), &parent) == 0 && own.st_dev != parent.st_dev;
}

/// Why a mount point must not be removed with all in it; empty when it may.
std::string reason_to_keep(const std::string& mntpoint) {
    const auto mounts = read_mounts();
    if (!mounts) {
        return "the mount table cannot be read";
    }
    const std::string real = real_path(mntpoint);
    const bool is_mounted = std::ranges::any_of(*mounts, [&](const Mount& mount) {
        return is_at_or_below(mount.directory, mntpoint) || is_at_or_below(mount.directory, real);
    });
    return is_mounted || begins_file_system(mntpoint) ? "something is mounted there" : "";
}

/// "/dev/data/pool" or "-L label".
bool is_plain_source(std::string_view source) {
    return source.starts_with(by_label) ? is_plain_name(source.substr(by_label.size()))
                                        : is_plain_path(source);
}

/// mount_source() for a pool.
Code mount_pool(const char* mntpoint, const char* group, const char* pool, std::string_view type,
                const char* reiserfs_mount) {
    return mount_source(mntpoint, pool_path(group, pool), type, reiserfs_mount);
}

} // namespace

std::string pool_path(const char* group, const char* pool) {
    return format_text("/dev/%s/%s", group, pool);
}

Code fs_make(const char* pool, const char* group, std::string_view type) {
    const bool is_reiserfs = type == reiserfs_type;
    return run_or_fail({group, pool}, is_reiserfs ? format_text(make_reiserfs_command, group, pool)
                                                  : format_text(make_xfs_command, group, pool));
}

Code fs_mount(const char* mntpoint, const char* group, const char* pool, std::string_view type) {
    return mount_pool(mntpoint, group, pool, type, "mount");
}

Code fs_mount_typed(const char* mntpoint, const char* group, const char* pool,
                    std::string_view type) {
    return mount_pool(mntpoint, group, pool, type, "/bin/mount");
}

Code mount_source(const char* mntpoint, const std::string& source, std::string_view type,
                  const char* reiserfs_mount) {
    utsname kernel = {};
    if (::uname(&kernel) != 0) {
        return Code::command_failed;
    }
    const std::string command = mount_text(mntpoint, source, type, reiserfs_mount, kernel.release);
    if (!is_plain_source(source)) {
        ignore(refuse_command(command));
        return Code::command_failed;
    }
    const SystemLock lock = lock_mount_point(mntpoint);
    std::string reason = reason_without(lock);
    if (reason.empty()) {
        reason = reason_not_to_mount(mntpoint);
    }
    if (!reason.empty()) {
        ignore(refuse_command(command, reason));
        return Code::command_failed;
    }
    const auto before = is_in_user_home(mntpoint) ? read_mounts() : std::nullopt;
    Code result = run_on_path_or_fail(mntpoint, command);
    if (!failed(result) && before) {
        result = check_where_mounted(mntpoint, source, *before);
    }
    return failed(result)
               ? result
               : run_on_path_or_fail(mntpoint, format_text(open_to_all_command, mntpoint));
}

Code fs_umount(const char* mntpoint) {
    return run_on_path_or_fail(mntpoint, format_text(unmount_command, mntpoint));
}

Code check_umount(const char* name, Sink& out) {
    const auto mounts = read_mounts_or_print(out);
    if (!mounts) {
        return log_return(Code::mounts_unread);
    }
    for (const Mount& mount : *mounts) {
        if (last_component(mount.directory) != name) {
            continue;
        }
        if (const Code result = fs_umount(mount.directory.c_str()); failed(result)) {
            return log_return(is_plain_path(mount.directory) ? result : Code::fs_not_unmounted);
        }
    }
    return Code::ok;
}

Code mntdir_create(const char* mntpoint) {
    const std::string command = format_text(make_directory_command, mntpoint);
    if (const std::string reason = reason_not_to_mount(mntpoint); !reason.empty()) {
        ignore(refuse_command(command, reason));
        return Code::fs_not_mounted;
    }
    const Code result = run_on_path_or_fail(mntpoint, command);
    return failed(result)
               ? result
               : run_on_path_or_fail(mntpoint, format_text(protect_directory_command, mntpoint),
                                     FailureWording::no_blank_before_return);
}

Code mntdir_remove(const char* mntpoint) {
    constexpr auto wording = FailureWording::no_blank_before_return;
    const std::string release = format_text(release_directory_command, mntpoint);
    const std::string removal = format_text(remove_directory_command, mntpoint);
    const SystemLock lock = lock_mount_point(mntpoint);
    std::string reason = reason_without(lock);
    if (reason.empty()) {
        reason = reason_to_keep(mntpoint);
    }
    if (!reason.empty()) {
        ignore(refuse_command(release, reason, wording));
    } else {
        ignore(run_on_path(mntpoint, release, wording));
        reason = reason_to_keep(mntpoint); // rm would empty what was mounted meanwhile
    }
    if (!reason.empty()) {
        ignore(refuse_command(removal, reason, wording));
        return Code::command_failed;
    }
    return run_on_path_or_fail(mntpoint, removal, wording);
}

Code mdfstab_add(const char* mntpoint, const char* group, const char* pool, std::string_view type) {
    return register_add(mdfstab, mntpoint,
                        format_text(mdfstab_line, group, pool, mntpoint, type.data()));
}

Code mdfstab_remove(const char* mntpoint) {
    return register_remove(mdfstab, mntpoint);
}

Code repair_device(const std::string& device, std::string_view type) {
    const char* directory = repair_directory();
    const std::string command =
        type == xfs_type ? format_text(repair_xfs_command, directory, device.c_str())
                         : format_text(repair_reiserfs_command, directory, device.c_str());
    return failed(run_on_path(device, command)) ? Code::fs_not_repaired : Code::ok;
}

Code fs_repair(const char* pool, const char* group, std::string_view type) {
    return repair_device(pool_path(group, pool), type);
}

Code check_mount_point(const char* mntpoint) {
    // One that fills its field may have been longer.
    const bool is_whole = std::string_view(mntpoint).size() < BoundedText<128>::capacity;
    if (is_whole && is_plain_path(mntpoint)) {
        return Code::ok;
    }
    log_error("no command takes the mount point '%s'", mntpoint);
    return Code::fs_not_unmounted;
}

Code mount_repaired(const char* name, const char* mntpoint, const std::function<Code()>& mount) {
    const bool may_mount = mntdir_create(mntpoint) != Code::fs_not_mounted;
    const auto mounts = read_mounts();
    const bool is_mounted = mounts && find_mount_named(*mounts, name) != nullptr;
    return is_mounted || (may_mount && !failed(mount())) ? Code::ok : Code::fs_not_mounted;
}

Code repair_kor_fs(const char* pool, const char* group, Sink& out) {
    if (failed(check_umount(pool, out))) {
        return log_return(Code::fs_not_unmounted);
    }
    BoundedText<16> type;
    BoundedText<128> mntpoint;
    ignore(mdfstab_lookup(pool, group, type, mntpoint)); // without a type it is not registered
    if (type.empty()) {
        return log_return(Code::fs_not_repaired);
    }
    const char* directory = mntpoint.c_str();
    if (const Code result = check_mount_point(directory); failed(result)) {
        return log_return(result);
    }
    const Code repaired = fs_repair(pool, group, type);
    if (failed(repaired)) {
        log_failure(repaired);
    }
    const Code mounted = mount_repaired(
        pool, directory, [&] { return fs_mount_typed(directory, group, pool, type); });
    if (failed(mounted)) {
        return log_return(mounted);
    }
    ignore(mdfstab_add(directory, group, pool, type.view()));
    return repaired;
}

} // namespace zav
