// SPDX-License-Identifier: MIT
#include "zavinfo/whole_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zavinfo {

namespace {

constexpr mode_t readable_by_all = 0644;
constexpr mode_t readable_by_owner = 0600;

[[noreturn]] void fail(const std::string& path, const char* what, int error) {
    throw std::runtime_error("'" + path + "' " + what + ": " + std::strerror(error));
}

std::string directory_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

/// A new file that is removed again unless it is given its final name. Its own name is always the
/// same: one that a run left when it was killed is taken over, and two runs wait for each other.
class NewFile {
  public:
    explicit NewFile(const std::string& path) : path_(path), name_(path + ".new") {
        constexpr int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        do {
            close();
            fd_ = ::open(name_.c_str(), flags, readable_by_owner);
            if (fd_ < 0) {
                fail(path_, "cannot be written", errno);
            }
            lock();
        } while (!is_at_its_name());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() {
        if (!name_.empty()) {
            ::unlink(name_.c_str());
        }
        close();
    }

    void write(std::string_view text) {
        if (::ftruncate(fd_, 0) != 0) {
            fail(path_, "cannot be written", errno);
        }
        while (!text.empty()) {
            const ssize_t written = ::write(fd_, text.data(), text.size());
            if (written < 0 && errno != EINTR) {
                fail(path_, "cannot be written", errno);
            }
            text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
        }
        if (::fchmod(fd_, readable_by_all) != 0 || ::fsync(fd_) != 0) {
            fail(path_, "cannot be written", errno);
        }
    }

    void take_its_name() {
        if (::rename(name_.c_str(), path_.c_str()) != 0) {
            fail(path_, "cannot be replaced", errno);
        }
        name_.clear();
    }

  private:
    void close() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }

    /// Where a file system has no locks, runs must not meet.
    void lock() const {
        while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
        }
    }

    /// False when the run that was waited for has renamed or removed it. What somebody else has put
    /// there is not written to.
    bool is_at_its_name() {
        struct stat opened = {};
        struct stat named = {};
        if (::fstat(fd_, &opened) != 0 || !S_ISREG(opened.st_mode) || opened.st_nlink > 1 ||
            opened.st_uid != ::geteuid()) {
            close();
            fail(name_, "is in the way", EEXIST);
        }
        return ::lstat(name_.c_str(), &named) == 0 && named.st_dev == opened.st_dev &&
               named.st_ino == opened.st_ino;
    }

    std::string path_;
    std::string name_; ///< of the file beside it; empty once it has the path
    int fd_ = -1;
};

/// A rename is on the disk once its directory is. Where a directory cannot be synced, the file is
/// complete all the same.
void sync_directory(const std::string& path) {
    const int fd = ::open(directory_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

/// What is there and is no file, such as a device or /dev/stdout, must not be renamed away.
void refuse_what_is_no_file(const std::string& path) {
    struct stat status = {};
    if (path.empty() || path.back() == '/') {
        fail(path, "is no name of a file", EISDIR);
    }
    if (::lstat(path.c_str(), &status) != 0) {
        return;
    }
    if (S_ISDIR(status.st_mode)) {
        fail(path, "cannot be replaced", EISDIR);
    }
    if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
        throw std::runtime_error("'" + path + "' cannot be replaced: it is no file");
    }
}

} // namespace

void write_whole_file(const std::string& path, std::string_view text) {
    refuse_what_is_no_file(path);
    NewFile file(path);
    file.write(text);
    file.take_its_name();
    sync_directory(path);
}

} // namespace zavinfo
