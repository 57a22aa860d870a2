// SPDX-License-Identifier: MIT
#include "actions/arrays/name_reservation.h"

#include "base/codes.h"
#include "base/file.h"
#include "base/system_lock.h"
#include "sources/reserved_names.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace zav {

namespace {

constexpr mode_t reservation_mode = 0700;
constexpr int lock_attempts = 5;
constexpr unsigned seconds_between_attempts = 1;

/// Kept while this process has a name reserved: it tells a name of a creation that was killed.
SystemLock own_name;

std::string lock_of(const char* name) {
    return std::string("mdname-") + name;
}

/// Opens the file without following a link, and only as a regular file of ours that has no other
/// name: anyone may put something else under that name into /tmp.
FileDescriptor open_reservations() {
    FileDescriptor fd = FileDescriptor::open_regular(reservation_path, O_RDWR | O_NOFOLLOW);
    struct stat status = {};
    const bool is_ours = fd && ::fstat(fd.get(), &status) == 0 && status.st_uid == ::geteuid() &&
                         status.st_nlink == 1;
    return is_ours ? std::move(fd) : FileDescriptor();
}

/// Clears the name of whatever has it. A directory with something in it is moved aside.
void remove_foreign() {
    if (::unlink(reservation_path) == 0 || ::rmdir(reservation_path) == 0 || errno == ENOENT) {
        return;
    }
    std::string aside = std::string(reservation_path) + ".XXXXXX";
    if (::mkdtemp(aside.data()) != nullptr && ::rename(reservation_path, aside.c_str()) != 0) {
        ::rmdir(aside.c_str());
    }
}

/// The file, made anew when it is missing or somebody else's.
FileDescriptor open_or_make() {
    if (FileDescriptor fd = open_reservations()) {
        return fd;
    }
    const SystemLock lock = SystemLock::take("mdname.test");
    if (!lock) {
        return {};
    }
    if (FileDescriptor fd = open_reservations()) {
        return fd; // of another instance, meanwhile
    }
    remove_foreign();
    return FileDescriptor::open(reservation_path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW,
                                reservation_mode);
}

LockResult lock_in_attempts(int fd) {
    LockResult result = try_lock(fd);
    for (int attempt = 1; attempt < lock_attempts && result != LockResult::locked; ++attempt) {
        ::sleep(seconds_between_attempts);
        result = try_lock(fd);
    }
    return result;
}

std::optional<std::string> read_names(const FileDescriptor& fd) {
    return read_rest(fd.get());
}

/// Makes a name in the file ours if it is that of a creation that was killed. False otherwise.
bool take_over(const char* name) {
    if (!SystemLock::was_left(lock_of(name))) {
        return false;
    }
    own_name = SystemLock::take(lock_of(name), {});
    return bool(own_name);
}

/// With the file locked.
Code reserve(const FileDescriptor& fd, const char* name) {
    const auto names = read_names(fd);
    if (!names) {
        return Code::reservation_unread;
    }
    if (is_reserved(*names, name)) {
        return take_over(name) ? Code::ok : Code::name_reserved;
    }
    // Before the name is in the file: it is never there without the lock that tells whose it is.
    own_name = SystemLock::take(lock_of(name), {});
    if (!own_name && errno == EWOULDBLOCK) {
        return Code::name_reserved;
    }
    if (!append_line(fd.get(), *names, name)) {
        own_name.release();
        return Code::reservation_unwritten;
    }
    return Code::ok;
}

} // namespace

Code add_name(const char* name) {
    const FileDescriptor fd = open_or_make();
    if (!fd) {
        return Code::reservation_not_opened;
    }
    switch (lock_in_attempts(fd.get())) {
    case LockResult::held_by_other:
        return Code::reservation_held;
    case LockResult::failed:
        return Code::reservation_not_locked;
    case LockResult::locked:
        break;
    }
    return reserve(fd, name);
}

Code del_name(const char* name) {
    const FileDescriptor fd = open_reservations();
    if (!fd || lock_in_attempts(fd.get()) != LockResult::locked) {
        own_name.leave(); // the name stays: the next one that wants it takes it over
        return Code::ok;
    }
    const auto names = read_names(fd);
    if (!names || !rewrite(fd.get(), lines_without(*names, name))) {
        own_name.leave();
        return names ? Code::reservation_unwritten : Code::reservation_unread;
    }
    take_over(name); // of a creation that was killed
    own_name.release();
    return Code::ok;
}

} // namespace zav
