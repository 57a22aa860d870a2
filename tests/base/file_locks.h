// SPDX-License-Identifier: MIT
// A file that the test itself has locked, like another instance of the program. Reading the file
// elsewhere in the test does not end such a lock.
#pragma once

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace zav::test {

class LockedFile {
  public:
    explicit LockedFile(const std::filesystem::path& path, off_t start = 0, off_t length = 0,
                        short type = F_WRLCK)
        : fd_(::open(path.c_str(), O_RDWR | O_APPEND | O_DSYNC | O_CLOEXEC)) {
        struct flock lock = {};
        lock.l_type = type;
        lock.l_whence = SEEK_SET;
        lock.l_start = start;
        lock.l_len = length;
        struct stat status = {};
        if (fd_ < 0 || ::fcntl(fd_, F_OFD_SETLK, &lock) != 0 || ::fstat(fd_, &status) != 0) {
            throw std::runtime_error("cannot lock " + path.string());
        }
        inode_ = status.st_ino;
        device_ = status.st_dev;
    }
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;
    ~LockedFile() { unlock(); }

    // Whether another process, which then tries to lock it again and again, has the file open
    // within ten seconds.
    [[nodiscard]] bool is_waited_for() const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < end) {
            if (is_open_elsewhere()) {
                return true;
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
    // The flags that a descriptor was opened with: "02102001"; empty when it is closed by now. A
    // run begins as a copy of the test, whose descriptor it holds as well; nobody else opens with
    // the flags of the test.
    static std::string flags_of(const std::string& process, const std::string& fd) {
        std::ifstream info(process + "/fdinfo/" + fd);
        std::string word;
        while (info >> word && word != "flags:") {
        }
        info >> word;
        return word;
    }

    [[nodiscard]] bool is_open_elsewhere() const {
        namespace fs = std::filesystem;
        const std::string own = "/proc/" + std::to_string(::getpid());
        const std::string own_flags = flags_of(own, std::to_string(fd_));
        std::error_code error;
        for (const auto& process : fs::directory_iterator("/proc", error)) {
            const std::string fds = process.path().string() + "/fd";
            if (process.path() == own) {
                continue;
            }
            for (const auto& fd : fs::directory_iterator(fds, error)) {
                // The flags first: a copy that is closed between the two looks is not taken for
                // somebody else's descriptor.
                const std::string flags = flags_of(process.path(), fd.path().filename());
                struct stat status = {};
                if (!flags.empty() && flags != own_flags &&
                    ::stat(fd.path().c_str(), &status) == 0 && status.st_ino == inode_ &&
                    status.st_dev == device_) {
                    return true;
                }
            }
        }
        return false;
    }

    int fd_;
    ino_t inode_ = 0;
    dev_t device_ = 0;
};

} // namespace zav::test
