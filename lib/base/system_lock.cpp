// SPDX-License-Identifier: MIT
#include "base/system_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace zav {

namespace {

constexpr const char* run_directory = "/run";
constexpr const char* lock_directory = "/run/zavbox";
constexpr mode_t run_mode = 0755;
constexpr mode_t lock_directory_mode = 0700;
constexpr mode_t lock_mode = 0600;

std::string lock_path(std::string_view name) {
    return std::string(lock_directory).append("/").append(name);
}

bool make_directory(const char* path, mode_t mode) {
    return ::mkdir(path, mode) == 0 || errno == EEXIST;
}

/// Whether nobody else can have put anything into the directory.
bool is_ours(const char* path) {
    struct stat status = {};
    if (::lstat(path, &status) != 0) {
        return false;
    }
    const bool ours = S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
                      (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    errno = ours ? errno : EPERM;
    return ours;
}

/// The lock's file, made when it is not there. Whoever releases the last lock removes the directory
/// as well: it may be gone again.
FileDescriptor open_lock(const std::string& path) {
    constexpr int attempts = 100;
    FileDescriptor fd;
    for (int attempt = 0; attempt < attempts && !fd; ++attempt) {
        if (!make_directory(run_directory, run_mode) ||
            !make_directory(lock_directory, lock_directory_mode)) {
            break;
        }
        if (!is_ours(lock_directory)) {
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
    const std::string path = lock_path(name);
    for (;;) {
        FileDescriptor fd = open_lock(path);
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

bool SystemLock::was_left(std::string_view name) {
    const FileDescriptor fd =
        FileDescriptor::open(lock_path(name).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    return fd && is_ours(lock_directory) && ::flock(fd.get(), LOCK_EX | LOCK_NB) == 0;
}

void SystemLock::release() {
    if (fd_) {
        // Under the lock: whoever waits for it sees that the file has gone, and makes a new one.
        ::unlink(path_.c_str());
        fd_.close();
        ::rmdir(lock_directory); // unless there are others
    }
}

} // namespace zav
