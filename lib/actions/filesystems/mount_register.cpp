// SPDX-License-Identifier: MIT
#include "actions/filesystems/mount_register.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
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

/// Where the old register stays until the new one is known to be whole.
std::string old_path(const char* path) {
    return journal_path(path) + ".old";
}

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

/// Finishes what a run that was cut short had begun, under the locks. False when that cannot be
/// done; errno says why.
bool settle(const char* path) {
    const auto entries = read_journal(path);
    if (!entries) {
        return false;
    }
    const std::string old = old_path(path);
    for (const JournalEntry& entry : *entries) {
        if (entry.path != path || read_file(path) == entry.text) {
            continue;
        }
        FileDescriptor fd = FileDescriptor::open(old.c_str(), O_RDONLY);
        if (!fd) {
            fd = FileDescriptor::open(path, O_RDONLY);
        }
        if (!replace_file(path, entry.text,
                          fd ? rights_of(fd.get()) : FileRights{register_mode, {}, {}})) {
            return false;
        }
    }
    if (!entries->empty()) {
        remove_journal(path);
    }
    ::unlink(old.c_str());
    return true;
}

/// A register under its locks: the one between the instances of this program, which holds while
/// the file is replaced, and the one on the file, which everybody knows.
struct LockedRegister {
    const char* path;
    SystemLock lock = SystemLock::take(last_component(path));
    FileDescriptor fd = {};
    std::string text = {};

    /// Opens and reads it. False when it cannot be had; errno says why.
    bool open(int flags) {
        if (!lock) {
            return false;
        }
        fd = open_locked(path, flags);
        if ((!fd && errno != ENOENT) || !settle(path)) {
            return false;
        }
        if (!names_open_file(path, fd.get())) {
            fd = open_locked(path, flags); // the file that was finished
        }
        auto content = fd ? read_rest(fd.get()) : std::nullopt;
        text = content ? std::move(*content) : "";
        return content.has_value();
    }
    /// For one on a read-only file system too: mv will report that.
    bool open_to_replace() { return open(O_RDWR) || (errno == EROFS && open_read_only()); }

  private:
    bool open_read_only() {
        fd = FileDescriptor::open(path, O_RDONLY);
        auto content = fd ? read_rest(fd.get()) : std::nullopt;
        text = content ? std::move(*content) : "";
        return content.has_value();
    }
};

/// Writes the whole register anew, and makes it durable. When that fails it is as before, or at
/// least its journal makes it whole.
bool rewrite_register(const LockedRegister& mounts, const std::string& text) {
    const int fd = mounts.fd.get();
    const JournalEntry entry = {mounts.path, text};
    if (!lock_for_rewriting(fd) || !write_journal(mounts.path, {&entry, 1})) {
        return false;
    }
    const bool is_new = mounts.text.empty(); // its name may not be on the disk yet
    bool written =
        rewrite(fd, text) && sync_files({&fd, 1}) && (!is_new || sync_directory_of(mounts.path));
    const int error = errno;
    if (written || (rewrite(fd, mounts.text) && sync_files({&fd, 1}))) {
        remove_journal(mounts.path);
    }
    errno = error;
    return written;
}

/// The text with a line at its end.
std::string with_line(std::string text, const std::string& line) {
    if (!text.empty() && text.back() != '\n') {
        text += '\n';
    }
    return text + line + "\n";
}

/// Whether the register holds that text on the disk.
bool is_on_disk(const char* path, std::string_view text) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
    const int number = fd.get();
    return fd && read_rest(number) == text && sync_files({&number, 1}) && sync_directory_of(path);
}

/// Puts the old register back unless it is still there.
bool put_back(const LockedRegister& mounts) {
    const std::string old = old_path(mounts.path);
    return read_file(mounts.path) == mounts.text ||
           // It takes no room on a full disk; but the file itself may have been overwritten.
           (read_file(old.c_str()) == mounts.text && ::rename(old.c_str(), mounts.path) == 0 &&
            sync_directory_of(mounts.path)) ||
           replace_file(mounts.path, mounts.text, rights_of(mounts.fd.get()));
}

/// Moves a finished copy into the place of the register. Between two file systems that is a copy
/// and a deletion, which may stop at any point.
Code move_register(const LockedRegister& mounts, const Capture& copy, std::string_view text) {
    const std::string old = old_path(mounts.path);
    // Without it the old register is written anew if need be.
    [[maybe_unused]] const bool is_kept = ::link(mounts.path, old.c_str()) == 0;
    Code result = run_or_fail(format_text(move_command, copy.path(), mounts.path));
    if (!failed(result) && !is_on_disk(mounts.path, text)) {
        log_error("%s does not hold what was moved there: it stays as it was", mounts.path);
        result = Code::command_failed;
    }
    if (!failed(result) || put_back(mounts)) {
        ::unlink(old.c_str());
        remove_journal(mounts.path);
    }
    return result;
}

Code fail_to_copy(const char* path) {
    log_error("cannot open %s or tmpfile for %s", path, std::strerror(errno));
    return Code::register_unopened;
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
    const JournalEntry entry = {mounts.path, *kept};
    if (!lock_for_rewriting(locked.fd.get()) || !write_copy(copy.path(), *kept, mounts.path) ||
        // On a read-only file system nothing can be lost.
        (!write_journal(mounts.path, {&entry, 1}) && errno != EROFS)) {
        return fail_to_copy(mounts.path);
    }
    return move_register(locked, copy, *kept);
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
