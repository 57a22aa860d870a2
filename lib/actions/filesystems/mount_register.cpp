// SPDX-License-Identifier: MIT
#include "actions/filesystems/mount_register.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/replacement.h"
#include "base/system_lock.h"
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
        if (fd && !lock_and_wait(fd.get())) {
            return {};
        }
        if (!fd || names_open_file(path, fd.get())) {
            return fd;
        }
    }
}

/// A register under its locks: the one between the instances of this program, which holds while
/// the file is replaced, and the one on the file, which everybody knows.
struct LockedRegister {
    const char* path;
    SystemLock lock = SystemLock::take_for_file(path);
    FileDescriptor fd = {};
    std::string text = {};

    /// Opens and reads it. False when it cannot be had; errno says why.
    bool open(int flags) {
        if (!lock) {
            return false;
        }
        fd = open_locked(path, flags);
        if ((!fd && errno != ENOENT) || !finish_replacement(path)) {
            return false;
        }
        if (!names_open_file(path, fd.get())) {
            fd = open_locked(path, flags); // the file that was finished
        }
        return read();
    }
    /// For one on a read-only file system too: mv will report that.
    bool open_to_replace() { return open(O_RDWR) || (errno == EROFS && open_read_only()); }

  private:
    bool open_read_only() {
        fd = FileDescriptor::open(path, O_RDONLY);
        return read();
    }

    bool read() {
        auto content = fd ? read_rest(fd.get()) : std::nullopt;
        text = content ? std::move(*content) : "";
        return content.has_value();
    }
};

/// Writes the whole register anew, and makes it durable.
bool rewrite_register(const LockedRegister& mounts, const std::string& text) {
    return replace_file(mounts.path, text, rights_of(mounts.fd.get()));
}

/// The text with a line at its end.
std::string with_line(std::string text, const std::string& line) {
    if (!text.empty() && text.back() != '\n') {
        text += '\n';
    }
    return text + line + "\n";
}

Code fail_to_copy(const char* path) {
    log_error("cannot open %s or tmpfile for %s", path, std::strerror(errno));
    return Code::register_unopened;
}

/// Moves a finished copy into the place of the register.
Code move_register(const char* path, const Capture& copy, std::string_view text) {
    const std::string command = format_text(move_command, copy.path(), path);
    switch (replace_by_command(path, text, [&command] { return run_and_log(command); })) {
    case Replacement::done:
        return Code::ok;
    case Replacement::failed:
        return Code::command_failed;
    case Replacement::not_begun:
        break;
    }
    return fail_to_copy(path);
}

/// The steps of a removal under the locks.
Code replace_register(const MountRegister& mounts, const char* mntpoint) {
    const Capture copy(mounts.copy_template);
    LockedRegister locked{mounts.path};
    if (!locked.open_to_replace() || ::access(copy.path(), F_OK) != 0) {
        return fail_to_copy(mounts.path);
    }
    const auto kept = register_without(locked.text, mntpoint);
    if (!kept) {
        return Code::ok;
    }
    if (!write_copy(copy.path(), *kept, mounts.path)) {
        return fail_to_copy(mounts.path);
    }
    return move_register(mounts.path, copy, *kept);
}

Code fail_to_open() {
    // The network disks' register goes under this name too.
    log_error("cannot open %s for %s", mdfstab_path, std::strerror(errno));
    return Code::register_unopened;
}

/// The steps of an addition under the locks.
Code extend_register(const MountRegister& mounts, const char* mntpoint, const std::string& line) {
    LockedRegister locked{mounts.path};
    if (!locked.open(O_RDWR | O_CREAT)) {
        return fail_to_open();
    }
    if (register_has(locked.text, mntpoint)) {
        return Code::mount_point_registered;
    }
    return rewrite_register(locked, with_line(locked.text, line)) ? Code::ok : fail_to_open();
}

} // namespace

void finish_register_change(const char* path) {
    if (!has_journal(path)) {
        return;
    }
    const SystemLock lock = SystemLock::take_for_file(path, std::chrono::milliseconds::zero());
    const FileDescriptor fd = lock ? FileDescriptor::open(path, O_RDWR) : FileDescriptor();
    if (lock && (!fd || try_lock(fd.get()) == LockResult::locked)) {
        ignore(finish_replacement(path)); // logged; the next change of the register needs it
    }
}

Code register_add(const MountRegister& mounts, const char* mntpoint, const std::string& line) {
    const Code result = extend_register(mounts, mntpoint, line);
    if (!failed(result)) {
        ignore(conf_save(mounts.path));
    }
    return result;
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
