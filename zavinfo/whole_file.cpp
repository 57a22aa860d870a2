// SPDX-License-Identifier: MIT
#include "zavinfo/whole_file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zavinfo {

namespace {

constexpr mode_t readable_by_all = 0644;

[[noreturn]] void fail(const std::string& path, const char* what, int error) {
    throw std::runtime_error("'" + path + "' " + what + ": " + std::strerror(error));
}

std::string directory_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

/// A new file that is removed again unless it is given its final name.
class NewFile {
  public:
    explicit NewFile(const std::string& path)
        : path_(path), name_(path + ".XXXXXX"), fd_(::mkostemp(name_.data(), O_CLOEXEC)) {
        if (fd_ < 0) {
            fail(path_, "cannot be written", errno);
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        if (!name_.empty()) {
            ::unlink(name_.c_str());
        }
    }

    void write(std::string_view text) {
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
        const int fd = std::exchange(fd_, -1);
        if (::close(fd) != 0) {
            fail(path_, "cannot be written", errno);
        }
        if (::rename(name_.c_str(), path_.c_str()) != 0) {
            fail(path_, "cannot be replaced", errno);
        }
        name_.clear();
    }

  private:
    std::string path_;
    std::string name_; ///< of the file beside it; empty once it has the path
    int fd_;
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
