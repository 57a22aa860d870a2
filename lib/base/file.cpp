// SPDX-License-Identifier: MIT
#include "base/file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zav {

namespace {

constexpr std::size_t read_chunk = 4096;
constexpr std::size_t attribute_size = 256;

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

/// read(2), again when a signal came in between.
template <std::size_t Size>
ssize_t read_some(int fd, std::array<char, Size>& buffer) {
    ssize_t count = 0;
    do {
        count = ::read(fd, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

struct flock whole_file(short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// fcntl(2) with a lock, again when a signal came in between.
bool lock_call(int fd, int command, struct flock& lock) {
    int result = 0;
    do {
        result = ::fcntl(fd, command, &lock);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

/// Makes sure that the disk has room for `size` bytes before the first old byte is overwritten: a
/// full disk then leaves the file as it was.
bool reserve_space(int fd, std::size_t size) {
    struct stat before = {};
    if (::fstat(fd, &before) != 0) {
        return false;
    }
    const auto wanted = static_cast<off_t>(size);
    if (!S_ISREG(before.st_mode) || wanted <= before.st_size) {
        return true;
    }
    const int error = ::posix_fallocate(fd, 0, wanted);
    if (error == 0) {
        return true;
    }
    errno = ::ftruncate(fd, before.st_size) == 0 ? error : errno;
    return false;
}

} // namespace

FileDescriptor FileDescriptor::open(const char* path, int flags, mode_t mode) {
    return FileDescriptor(::open(path, flags | O_CLOEXEC, mode));
}

bool FileDescriptor::close() {
    const int fd = std::exchange(fd_, -1);
    return fd < 0 || ::close(fd) == 0;
}

std::optional<std::string> read_rest(int fd) {
    std::string text;
    std::array<char, read_chunk> chunk = {};
    ssize_t count = 0;
    while ((count = read_some(fd, chunk)) > 0) {
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return count == 0 ? std::optional(std::move(text)) : std::nullopt;
}

std::optional<std::string> read_file(const char* path) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
    return fd ? read_rest(fd.get()) : std::nullopt;
}

std::optional<std::string> read_attribute_file(const char* path) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
    std::array<char, attribute_size> text = {};
    const ssize_t count = fd ? read_some(fd.get(), text) : -1;
    return count >= 0 ? std::optional<std::string>(std::in_place, text.data(), count)
                      : std::nullopt;
}

bool write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return true;
}

bool append_line(int fd, std::string_view before, std::string_view line) {
    std::string text = before.empty() || before.ends_with('\n') ? "" : "\n";
    text.append(line).append("\n");
    if (write_all(fd, text)) {
        return true;
    }
    const int error = errno;
    const bool taken_back = ::ftruncate(fd, static_cast<off_t>(before.size())) == 0;
    (void)taken_back; // the caller learns of the failure either way
    errno = error;
    return false;
}

bool write_copy(const char* copy, std::string_view text, const char* original) {
    FileDescriptor fd = FileDescriptor::open(copy, O_WRONLY | O_NOFOLLOW);
    struct stat status = {};
    const bool written = fd && write_all(fd.get(), text) && ::stat(original, &status) == 0 &&
                         ::fchown(fd.get(), status.st_uid, status.st_gid) == 0 &&
                         ::fchmod(fd.get(), status.st_mode & 07777) == 0;
    return fd.close() && written;
}

FileCode copy_file(const char* source, const char* target) {
    const auto text = read_file(source);
    if (!text) {
        return FileCode::not_created;
    }
    // For reading too: the C library reserves space that way on file systems that cannot do it.
    FileDescriptor fd = FileDescriptor::open(target, O_RDWR | O_CREAT, 0644);
    if (!fd || !reserve_space(fd.get(), text->size())) {
        return FileCode::not_created;
    }
    const bool copied =
        write_all(fd.get(), *text) && ::ftruncate(fd.get(), static_cast<off_t>(text->size())) == 0;
    return fd.close() && copied ? FileCode::ok : FileCode::not_created;
}

bool names_open_file(const char* path, int fd) {
    struct stat by_path = {};
    struct stat opened = {};
    return ::stat(path, &by_path) == 0 && ::fstat(fd, &opened) == 0 &&
           by_path.st_dev == opened.st_dev && by_path.st_ino == opened.st_ino;
}

std::optional<std::vector<std::string>> directory_entries(const char* path) {
    // opendir(3) makes its descriptor close-on-exec.
    const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(path));
    if (!directory) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    return names;
}

bool lock_and_wait(int fd) {
    struct flock lock = whole_file(F_WRLCK);
    return lock_call(fd, F_SETLKW, lock);
}

LockResult try_lock(int fd) {
    // A test for a write lock reports read locks and write locks alike.
    struct flock test = whole_file(F_WRLCK);
    if (lock_call(fd, F_GETLK, test) && test.l_type != F_UNLCK) {
        return LockResult::held_by_other;
    }
    struct flock lock = whole_file(F_WRLCK);
    return lock_call(fd, F_SETLK, lock) ? LockResult::locked : LockResult::failed;
}

bool lock_shared(int fd) {
    // A test for a write lock reports read locks and write locks alike.
    struct flock test = whole_file(F_WRLCK);
    if (lock_call(fd, F_GETLK, test) && test.l_type != F_UNLCK) {
        return false;
    }
    struct flock lock = whole_file(F_RDLCK);
    return lock_call(fd, F_SETLK, lock);
}

void unlock(int fd) {
    struct flock lock = whole_file(F_UNLCK);
    lock_call(fd, F_SETLK, lock);
}

} // namespace zav
