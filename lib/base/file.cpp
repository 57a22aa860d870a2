// SPDX-License-Identifier: MIT
#include "base/file.h"

#include "base/shared_sync.h"
#include "base/signals.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <map>
#include <memory>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace zav {

namespace {

constexpr std::size_t read_chunk = 4096;
constexpr std::size_t attribute_size = 256;
constexpr mode_t all_rights = 07777;

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

/// fcntl(2) with a lock, again when a signal came in between. The locks are those of the open file:
/// they exclude the locks of other processes, whichever kind these are, and those of other threads,
/// and stay when another descriptor of the file is closed.
bool lock_call(int fd, int command, struct flock& lock) {
    int result = 0;
    do {
        result = ::fcntl(fd, command, &lock);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

/// Calls `attempt` until it succeeds or fails for another reason than a lock of somebody else, at
/// most for longest_wait.
bool within_longest_wait(const std::function<bool()>& attempt) {
    constexpr std::chrono::milliseconds longest_pause{20};
    std::chrono::milliseconds pause{1};
    const auto end = std::chrono::steady_clock::now() + longest_wait;
    while (!attempt()) {
        const bool is_held = errno == EACCES || errno == EAGAIN || errno == EINTR;
        if (!is_held || std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(2 * pause, longest_pause);
    }
    return true;
}

bool flock_in_time(int fd, int operation) {
    return within_longest_wait([=] { return ::flock(fd, operation | LOCK_NB) == 0; });
}

/// Makes sure that the disk has room for `size` bytes before the first old byte is overwritten: a
/// full disk then leaves the file as it was.
bool reserve_space(int fd, std::size_t size) {
    const HeldWriteSignals signals;
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

/// Where the new content of a file waits for its place.
std::string path_beside(const std::string& path) {
    const std::size_t name = path.rfind('/') + 1;
    return path.substr(0, name) + "." + path.substr(name) + ".new";
}

/// Removes a file and leaves errno alone.
void unlink_quietly(const std::string& path) {
    const int error = errno;
    ::unlink(path.c_str());
    errno = error;
}

/// Writes a new file, which gets its rights last: nobody else reads it before, and a write would
/// take some of them away.
bool write_new(int fd, std::string_view text, const FileRights& rights) {
    const bool is_given_away = rights.owner && rights.group;
    return write_all(fd, text) &&
           (!is_given_away ||
            (::fchown(fd, *rights.owner, *rights.group) == 0 && ::fchmod(fd, rights.mode) == 0));
}

} // namespace

FileDescriptor FileDescriptor::open(const char* path, int flags, mode_t mode) {
    return FileDescriptor(::open(path, flags | O_CLOEXEC, mode));
}

FileDescriptor FileDescriptor::open_regular(const char* path, int flags, mode_t mode) {
    FileDescriptor fd = open(path, flags | O_NONBLOCK | O_NOCTTY, mode);
    struct stat status = {};
    if (!fd || ::fstat(fd.get(), &status) != 0) {
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        fd.close();
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    return fd;
}

bool FileDescriptor::close() {
    const int fd = std::exchange(fd_, -1);
    return fd < 0 || ::close(fd) == 0;
}

std::optional<std::string> read_rest(int fd, std::size_t most) {
    std::string text;
    std::array<char, read_chunk> chunk = {};
    ssize_t count = 0;
    while ((count = read_some(fd, chunk)) > 0) {
        if (text.size() + static_cast<std::size_t>(count) > most) {
            errno = EFBIG;
            return std::nullopt;
        }
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return count == 0 ? std::optional(std::move(text)) : std::nullopt;
}

void close_from(unsigned first, unsigned flags) {
    constexpr rlim_t most = 65536;
    if (::close_range(first, ~0U, static_cast<int>(flags)) == 0) {
        return;
    }
    // Kernels have it since 5.9, the flag since 5.11. Nothing else tells which are open without
    // opening one.
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const int end = static_cast<int>(std::min(limit.rlim_cur, most));
    for (int fd = static_cast<int>(first); fd < end; ++fd) {
        if (flags == 0) {
            ::close(fd);
        } else {
            ::fcntl(fd, F_SETFD, FD_CLOEXEC);
        }
    }
}

std::optional<std::string> read_file(const char* path) {
    const FileDescriptor fd = FileDescriptor::open_regular(path, O_RDONLY);
    return fd ? read_rest(fd.get()) : std::nullopt;
}

std::optional<std::string> read_attribute_file(const char* path) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
    std::array<char, attribute_size> text = {};
    const ssize_t count = fd ? read_some(fd.get(), text) : -1;
    return count >= 0 ? std::optional<std::string>(std::in_place, text.data(), count)
                      : std::nullopt;
}

bool is_absence(int error) {
    return error == ENOENT || error == ENXIO || error == ENOMEDIUM || error == ENODEV;
}

bool write_all(int fd, std::string_view text) {
    const HeldWriteSignals signals;
    while (!text.empty()) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count == 0 || (count < 0 && errno != EINTR)) {
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
                         ::fchmod(fd.get(), status.st_mode & all_rights) == 0;
    return fd.close() && written;
}

bool rewrite(int fd, std::string_view text) {
    // Shortened last: until then, bytes of the old file that come later are not lost.
    return reserve_space(fd, text.size()) && ::lseek(fd, 0, SEEK_SET) == 0 && write_all(fd, text) &&
           ::ftruncate(fd, static_cast<off_t>(text.size())) == 0;
}

bool sync_files(std::span<const int> fds) {
    // One call for all files of a file system: each fsync(2) would wait for the disk anew.
    std::map<dev_t, std::vector<int>> by_device;
    for (const int fd : fds) {
        struct stat status = {};
        if (::fstat(fd, &status) != 0) {
            return false;
        }
        by_device[status.st_dev].push_back(fd);
    }
    return std::ranges::all_of(by_device, [](const auto& device) {
        const int fd = device.second.front();
        return (device.second.size() == 1 ? ::fsync(fd) : ::syncfs(fd)) == 0;
    });
}

bool sync_with_name(int fd) {
    // fsync(2) need not write the directory, which would be another call.
    return ::syncfs(fd) == 0;
}

std::string directory_of(const std::string& path) {
    const std::string directory = path.substr(0, path.rfind('/') + 1);
    return directory.empty() ? "." : directory;
}

bool sync_directory_of(const std::string& path) {
    const FileDescriptor fd =
        FileDescriptor::open(directory_of(path).c_str(), O_RDONLY | O_DIRECTORY);
    return fd && ::fsync(fd.get()) == 0;
}

FileRights rights_of(int fd) {
    struct stat status = {};
    return ::fstat(fd, &status) == 0
               ? FileRights{status.st_mode & all_rights, status.st_uid, status.st_gid}
               : FileRights{};
}

NewFile::NewFile(const std::string& path, std::string_view text, const FileRights& rights)
    : path_(path) {
    remove_new_file(path);
    const mode_t mode = rights.owner && rights.group ? S_IRUSR | S_IWUSR : rights.mode;
    std::string beside = path_beside(path);
    fd_ = FileDescriptor::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
    if (fd_) {
        beside_ = std::move(beside); // which takes no memory that may run out
    }
    if (fd_ && !write_new(fd_.get(), text, rights)) {
        *this = NewFile();
    }
}

NewFile& NewFile::operator=(NewFile&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(beside_, other.beside_);
    std::swap(fd_, other.fd_);
    return *this;
}

NewFile::~NewFile() {
    if (!beside_.empty()) {
        unlink_quietly(beside_);
    }
}

bool NewFile::is_name(std::string_view name) {
    return name.starts_with('.') && name.ends_with(".new");
}

bool NewFile::take_place() {
    const bool is_renamed = ::rename(beside_.c_str(), path_.c_str()) == 0;
    if (is_renamed) {
        beside_.clear();
    }
    return is_renamed;
}

void remove_new_file(const std::string& path) {
    ::unlink(path_beside(path).c_str());
}

bool replace_file(const std::string& path, std::string_view text, const FileRights& rights) {
    NewFile file(path, text, rights);
    return file && ::fsync(file.get()) == 0 && file.take_place() && sync_names_beside(path);
}

bool replace_checked_file(const std::string& path, std::string_view text,
                          const FileRights& rights) {
    NewFile file(path, text, rights);
    if (!file || !file.take_place()) {
        return false;
    }
    const bool is_durable = sync_with_name(file.get());
    if (!is_durable) {
        unlink_quietly(path);
    }
    return is_durable;
}

bool is_directory_of(uid_t owner, const char* path) {
    struct stat status = {};
    if (::lstat(path, &status) != 0) {
        return false;
    }
    const bool kept = S_ISDIR(status.st_mode) && is_kept_by(owner, status);
    errno = kept ? errno : EPERM;
    return kept;
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
    errno = 0; // which is all that tells an error from the end
    while (const dirent* entry = ::readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    return errno == 0 ? std::optional(std::move(names)) : std::nullopt;
}

bool lock_and_wait(int fd) {
    return within_longest_wait([fd] {
        struct flock lock = whole_file(F_WRLCK);
        return lock_call(fd, F_OFD_SETLK, lock);
    });
}

LockResult try_lock(int fd) {
    // A test for a write lock reports read locks and write locks alike.
    struct flock test = whole_file(F_WRLCK);
    if (lock_call(fd, F_OFD_GETLK, test) && test.l_type != F_UNLCK) {
        return LockResult::held_by_other;
    }
    struct flock lock = whole_file(F_WRLCK);
    return lock_call(fd, F_OFD_SETLK, lock) ? LockResult::locked : LockResult::failed;
}

bool lock_shared(int fd) {
    // A test for a write lock reports read locks and write locks alike.
    struct flock test = whole_file(F_WRLCK);
    if (lock_call(fd, F_OFD_GETLK, test) && test.l_type != F_UNLCK) {
        return false;
    }
    struct flock lock = whole_file(F_RDLCK);
    return lock_call(fd, F_OFD_SETLK, lock);
}

void unlock(int fd) {
    struct flock lock = whole_file(F_UNLCK);
    lock_call(fd, F_OFD_SETLK, lock);
}

bool lock_for_reading(int fd) {
    return flock_in_time(fd, LOCK_SH);
}

bool lock_for_rewriting(int fd) {
    return flock_in_time(fd, LOCK_EX);
}

void release_readers(int fd) {
    ::flock(fd, LOCK_UN);
}

} // namespace zav
