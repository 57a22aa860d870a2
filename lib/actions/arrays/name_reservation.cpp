// SPDX-License-Identifier: MIT
#include "actions/arrays/name_reservation.h"

#include "base/codes.h"
#include "base/file.h"
#include "sources/reserved_names.h"

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

/// Opens the file without following a link, and only as a regular file of our own: anyone may put
/// something else under that name into /tmp.
FileDescriptor open_reservations(int flags) {
    FileDescriptor fd = FileDescriptor::open(
        reservation_path, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | flags, reservation_mode);
    struct stat status = {};
    const bool is_ours = fd && ::fstat(fd.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                         status.st_uid == ::geteuid();
    return is_ours ? std::move(fd) : FileDescriptor();
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

} // namespace

Code add_name(const char* name) {
    const FileDescriptor fd = open_reservations(O_CREAT);
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
    const auto names = read_names(fd);
    if (!names) {
        return Code::reservation_unread;
    }
    if (is_reserved(*names, name)) {
        return Code::name_reserved;
    }
    return append_line(fd.get(), *names, name) ? Code::ok : Code::reservation_unwritten;
}

Code del_name(const char* name) {
    const FileDescriptor fd = open_reservations(0);
    if (!fd || lock_in_attempts(fd.get()) != LockResult::locked) {
        return Code::ok;
    }
    const auto names = read_names(fd);
    if (!names) {
        return Code::reservation_unread;
    }
    const std::string kept = lines_without(*names, name);
    const bool written = ::ftruncate(fd.get(), 0) == 0 && ::lseek(fd.get(), 0, SEEK_SET) == 0 &&
                         write_all(fd.get(), kept);
    return written ? Code::ok : Code::reservation_unwritten;
}

} // namespace zav
