// SPDX-License-Identifier: MIT
// A file that the test itself has locked, like another instance of the program.
#pragma once

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace zav::test {

class LockedFile {
  public:
    explicit LockedFile(const std::filesystem::path& path, off_t start = 0, off_t length = 0,
                        short type = F_WRLCK)
        : fd_(::open(path.c_str(), O_RDWR | O_APPEND | O_CLOEXEC)) {
        struct flock lock = {};
        lock.l_type = type;
        lock.l_whence = SEEK_SET;
        lock.l_start = start;
        lock.l_len = length;
        struct stat status = {};
        if (fd_ < 0 || ::fcntl(fd_, F_SETLK, &lock) != 0 || ::fstat(fd_, &status) != 0) {
            throw std::runtime_error("cannot lock " + path.string());
        }
        inode_ = ":" + std::to_string(status.st_ino) + " ";
    }
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;
    ~LockedFile() { unlock(); }

    // Whether another process waits for the lock within ten seconds.
    [[nodiscard]] bool is_waited_for() const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < end) {
            std::ifstream locks("/proc/locks");
            for (std::string line; std::getline(locks, line);) {
                if (line.find("->") != line.npos && line.find(inode_) != line.npos) {
                    return true;
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    void write(std::string_view text) const {
        if (::write(fd_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw std::runtime_error("cannot write to a locked file");
        }
    }

    void unlock() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        fd_ = -1;
    }

  private:
    int fd_;
    std::string inode_;
};

} // namespace zav::test
