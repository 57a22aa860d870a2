// SPDX-License-Identifier: MIT
#include "actions/filesystems/mount_register.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "platform/conf_save.h"
#include "sources/file_tools.h"
#include "sources/fstab.h"
#include "sources/mdfstab.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace zav {

namespace {

constexpr mode_t register_mode = 0644;

/// Opens and locks a register. While this process waits for the lock, another may put a new file in
/// its place.
FileDescriptor open_locked(const char* path, int flags) {
    for (;;) {
        FileDescriptor fd = FileDescriptor::open(path, flags, register_mode);
        if (!fd || !lock_and_wait(fd.get()) || names_open_file(path, fd.get())) {
            return fd;
        }
    }
}

/// For a register on a read-only file system too: mv will report that.
FileDescriptor open_to_read(const char* path) {
    FileDescriptor fd = open_locked(path, O_RDWR);
    return fd || errno == ENOENT ? std::move(fd) : FileDescriptor::open(path, O_RDONLY);
}

Code fail_to_copy(const char* path) {
    log_error("cannot open %s or tmpfile for %s", path, std::strerror(errno));
    return Code::register_unopened;
}

/// The steps of a removal under the lock.
Code replace_register(const MountRegister& mounts, const char* mntpoint) {
    const Capture copy(mounts.copy_template);
    const FileDescriptor old = open_to_read(mounts.path);
    const bool has_both = old && ::access(copy.path(), F_OK) == 0;
    const auto text = has_both ? read_rest(old.get()) : std::nullopt;
    if (!text) {
        return fail_to_copy(mounts.path);
    }
    const auto kept = register_without(*text, mntpoint);
    if (!kept) {
        return Code::ok;
    }
    if (!write_copy(copy.path(), *kept, mounts.path)) {
        return fail_to_copy(mounts.path);
    }
    return run_or_fail(format_text(move_command, copy.path(), mounts.path));
}

} // namespace

Code register_add(const MountRegister& mounts, const char* mntpoint, const std::string& line) {
    FileDescriptor fd = open_locked(mounts.path, O_RDWR | O_APPEND | O_CREAT);
    const auto text = fd ? read_rest(fd.get()) : std::nullopt;
    if (text && register_has(*text, mntpoint)) {
        return Code::mount_point_registered;
    }
    if (!text || !append_line(fd.get(), *text, line)) {
        // The network disks' register goes under this name too.
        log_error("cannot open %s for %s", mdfstab_path, std::strerror(errno));
        return Code::register_unopened;
    }
    fd.close();
    ignore(conf_save(mounts.path));
    return Code::ok;
}

Code register_remove(const MountRegister& mounts, const char* mntpoint) {
    const Code result = replace_register(mounts, mntpoint);
    if (!failed(result)) {
        // Also when nothing was removed.
        ignore(conf_save(mounts.path));
    }
    return result;
}

} // namespace zav
