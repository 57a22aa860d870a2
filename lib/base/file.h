// SPDX-License-Identifier: MIT
/// \file
/// Files: descriptors that close themselves and are never inherited, whole-file locks, whole reads.
#pragma once

#include "base/codes.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace zav {

class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~FileDescriptor() { close(); }

    /// Opens with open(2), close-on-exec always added.
    static FileDescriptor open(const char* path, int flags, mode_t mode = 0);

    explicit operator bool() const { return fd_ >= 0; }
    [[nodiscard]] int get() const { return fd_; }

    /// False when the last of what was written could not be kept.
    bool close();

  private:
    int fd_ = -1;
};

/// Everything the file holds. Nothing when it cannot be opened or read; errno says why.
std::optional<std::string> read_file(const char* path);

/// What is left to read from `fd`.
std::optional<std::string> read_rest(int fd);

/// At most 256 bytes of a file that the kernel gives in one piece, as those under /sys. Nothing
/// when it cannot be opened or read; errno says why.
std::optional<std::string> read_attribute_file(const char* path);

/// False on a write error; errno says why.
bool write_all(int fd, std::string_view text);

/// Adds a line at the end of a file that held `before`, with a line feed in front of it when the
/// last line had none. False when it cannot be written; what was written of it is taken back.
bool append_line(int fd, std::string_view before, std::string_view line);

/// Writes a text into the file `copy`, which gets the mode and the owner of `original`, whose place
/// it is to take.
bool write_copy(const char* copy, std::string_view text, const char* original);

/// Writes the content of `source` over `target`, which keeps its mode, owner and inode.
/// FileCode::ok or FileCode::not_created.
FileCode copy_file(const char* source, const char* target);

/// Whether `path` still names the file that `fd` has open.
bool names_open_file(const char* path, int fd);

/// The entries of a directory in the directory's own order, without "." and "..".
/// Nothing when it cannot be opened.
std::optional<std::vector<std::string>> directory_entries(const char* path);

enum class LockResult { locked, held_by_other, failed };

/// Write-locks the whole file, waiting for it. False when it cannot be locked.
bool lock_and_wait(int fd);

/// Write-locks the whole file unless a lock of another process is on it.
LockResult try_lock(int fd);

/// Read-locks the whole file unless another process has locked it in any way. False otherwise.
bool lock_shared(int fd);

void unlock(int fd);

} // namespace zav
