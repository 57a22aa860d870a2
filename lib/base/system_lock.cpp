// SPDX-License-Identifier: MIT
#include "base/system_lock.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace zav {

namespace {

/// Where the directory of locks is made: in the second one, where that is another, when it cannot
/// be made in the first.
constexpr std::array run_directories = {"/run", "/var/run"};
constexpr mode_t run_mode = 0755;
constexpr mode_t lock_directory_mode = 0700;
constexpr mode_t lock_mode = 0600;

std::string lock_directory_in(const char* run_directory) {
    return std::string(run_directory) + "/zavbox";
}

bool make_directory(const char* path, mode_t mode) {
    return ::mkdir(path, mode) == 0 || errno == EEXIST;
}

/// The directory of locks, made when it is not there; empty when it cannot be made, errno says why.
std::string make_lock_directory() {
    int error = 0;
    for (const char* run_directory : run_directories) {
        std::string directory = lock_directory_in(run_directory);
        if (make_directory(run_directory, run_mode) &&
            make_directory(directory.c_str(), lock_directory_mode)) {
            return directory;
        }
        error = error == 0 ? errno : error;
    }
    errno = error;
    return "";
}

/// The lock's file, made when it is not there, and its path. Whoever releases the last lock removes
/// the directory as well: it may be gone again.
FileDescriptor open_lock(std::string_view name, std::string& path) {
    constexpr int attempts = 100;
    FileDescriptor fd;
    for (int attempt = 0; attempt < attempts && !fd; ++attempt) {
        const std::string directory = make_lock_directory();
        if (directory.empty()) {
            break;
        }
        path = std::string(directory).append("/").append(name);
        if (!is_directory_of(::geteuid(), directory.c_str())) {
            if (errno == ENOENT) {
                continue;
            }
            break;
        }
        fd = FileDescriptor::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, lock_mode);
        if (!fd && errno != ENOENT) {
            break;
        }
    }
    return fd;
}

} // namespace

SystemLock& SystemLock::operator=(SystemLock&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(fd_, other.fd_);
    return *this;
}

SystemLock SystemLock::take(std::string_view name, std::chrono::milliseconds wait) {
    constexpr std::chrono::milliseconds pause{20};
    const auto end = std::chrono::steady_clock::now() + wait;
    SystemLock lock;
    std::string path;
    for (;;) {
        FileDescriptor fd = open_lock(name, path);
        if (!fd) {
            return lock;
        }
        if (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
            if (std::chrono::steady_clock::now() >= end) {
                errno = EWOULDBLOCK;
                return lock;
            }
            std::this_thread::sleep_for(pause);
        } else if (names_open_file(path.c_str(), fd.get())) {
            lock.path_ = path;
            lock.fd_ = std::move(fd);
            return lock;
        }
    }
}

SystemLock SystemLock::take_for_file(std::string_view path, std::chrono::milliseconds wait) {
    return take(last_component(path), wait);
}

bool SystemLock::was_left(std::string_view name) {
    return std::ranges::any_of(run_directories, [name](const char* run_directory) {
        const std::string directory = lock_directory_in(run_directory);
        const std::string path = std::string(directory).append("/").append(name);
        const FileDescriptor fd =
            FileDescriptor::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
        return fd && is_directory_of(::geteuid(), directory.c_str()) &&
               ::flock(fd.get(), LOCK_EX | LOCK_NB) == 0;
    });
}

void SystemLock::share_with_commands() const {
    ::fcntl(fd_.get(), F_SETFD, 0); // the lock is that of the open file, which they inherit
}

void SystemLock::release() {
    if (fd_) {
        // Under the lock: whoever waits for it sees that the file has gone, and makes a new one.
        ::unlink(path_.c_str());
        fd_.close();
        ::rmdir(path_.substr(0, path_.rfind('/')).c_str()); // unless there are others
    }
}

void SystemLock::leave() {
    fd_.close();
}

} // namespace zav
