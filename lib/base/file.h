// SPDX-License-Identifier: MIT
/// \file
/// Files: descriptors that close themselves and are not inherited, whole reads, durable writes,
/// whole-file locks.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
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

    /// Opens a regular file. Where anybody may put something else in its place, a pipe or a device
    /// keeps nobody waiting: it is not opened, and errno is EINVAL, or EISDIR for a directory.
    static FileDescriptor open_regular(const char* path, int flags, mode_t mode = 0);

    explicit operator bool() const { return fd_ >= 0; }
    [[nodiscard]] int get() const { return fd_; }

    /// False when the last of what was written could not be kept.
    bool close();

  private:
    int fd_ = -1;
};

/// More than any file holds that is read as a whole.
inline constexpr std::size_t longest_file = std::size_t(4) << 20;

/// Closes every descriptor from `first` on; with CLOSE_RANGE_CLOEXEC for `flags` once the process
/// becomes another program. For itself: it takes no memory and no lock.
void close_from(unsigned first, unsigned flags);

/// Everything the regular file holds. Nothing when it cannot be opened or read, or when it is
/// longer than longest_file; errno says why.
std::optional<std::string> read_file(const char* path);

/// What is left to read from `fd`; nothing when that cannot be read, or is longer than `most`
/// bytes.
std::optional<std::string> read_rest(int fd, std::size_t most = longest_file);

/// At most 256 bytes of a file that the kernel gives in one piece, as those under /sys. Nothing
/// when it cannot be opened or read; errno says why.
std::optional<std::string> read_attribute_file(const char* path);

/// Whether an error says that there is no such file or device, or nothing in it. Any other leaves
/// open what is there.
bool is_absence(int error);

/// False on a write error; errno says why. No signal comes of it.
bool write_all(int fd, std::string_view text);

/// Adds a line at the end of a file that held `before`, with a line feed in front of it when the
/// last line had none. False when it cannot be written; what was written of it is taken back.
bool append_line(int fd, std::string_view before, std::string_view line);

/// Writes a text into the file `copy`, which gets the mode and the owner of `original`, whose place
/// it is to take.
bool write_copy(const char* copy, std::string_view text, const char* original);

inline constexpr uid_t root_user = 0;

/// Whether a file, or a directory, is its owner's and nobody else may change it. A link's mode says
/// nothing.
constexpr bool is_kept_by(uid_t owner, const struct stat& status) {
    return status.st_uid == owner &&
           (S_ISLNK(status.st_mode) || (status.st_mode & (S_IWGRP | S_IWOTH)) == 0);
}

/// Whether nobody but `owner` can have put anything into the directory, which is not a link to one;
/// errno says why not.
bool is_directory_of(uid_t owner, const char* path);

/// Whether `path` still names the file that `fd` has open.
bool names_open_file(const char* path, int fd);

/// Writes `text` over the whole of an open file, which keeps its inode, and cuts the rest off.
/// Room on the disk is made sure of before the first old byte is overwritten. False when it cannot
/// be written; errno says why.
bool rewrite(int fd, std::string_view text);

/// Makes what was written to the files durable. False when the disk did not take all of it.
bool sync_files(std::span<const int> fds);

/// Makes a file that was just made, or renamed, durable together with its name, by one call.
bool sync_with_name(int fd);

/// The directory of a path.
std::string directory_of(const std::string& path);

/// Makes the names in the directory of `path` durable, now.
bool sync_directory_of(const std::string& path);

/// Who owns a file, and who may do what with it.
struct FileRights {
    mode_t mode = 0;
    std::optional<uid_t> owner; ///< nothing: whoever runs this, less the mode of the umask
    std::optional<gid_t> group;
};

/// Those of an open file.
FileRights rights_of(int fd);

/// What a file is to become, beside it as ".NAME.new" until it takes its place in one step. Removed
/// unless it does.
class NewFile {
  public:
    NewFile() = default;
    /// Writes it, in the place of what a run that was killed has left. None when that fails; errno
    /// says why.
    NewFile(const std::string& path, std::string_view text, const FileRights& rights);
    NewFile(NewFile&& other) noexcept
        : path_(std::move(other.path_)), beside_(std::exchange(other.beside_, "")),
          fd_(std::move(other.fd_)) {}
    NewFile& operator=(NewFile&& other) noexcept;
    ~NewFile();

    explicit operator bool() const { return bool(fd_); }
    [[nodiscard]] int get() const { return fd_.get(); }

    /// Whether `name` is one of a file that is not in its place.
    static bool is_name(std::string_view name);

    /// Puts it into the place of the old file. Once its content is on the disk: else a power cut
    /// may leave none.
    bool take_place();

  private:
    std::string path_;
    std::string beside_; ///< empty once it is in its place
    FileDescriptor fd_;
};

/// Removes what a run that was killed has left beside a file. Nobody else may be writing it.
void remove_new_file(const std::string& path);

/// Puts a new file in the place of `path` in one step: written and synced beside it, then renamed.
/// False on any failure; errno says why. The old file is untouched then, unless only the sync of
/// the directory failed: the new one is in its place, and a power cut may undo that.
bool replace_file(const std::string& path, std::string_view text, const FileRights& rights);

/// The same with one call to the disk in place of two: the name may be on it before the content.
/// For a file that tells whether it is complete; it is not there after a failure.
bool replace_checked_file(const std::string& path, std::string_view text, const FileRights& rights);

/// The entries of a directory in the directory's own order, without "." and "..".
/// Nothing when it cannot be opened, or read to its end; errno says why.
std::optional<std::vector<std::string>> directory_entries(const char* path);

enum class LockResult { locked, held_by_other, failed };

/// No lock is waited for longer than this: anybody who can read a file can keep one on it.
inline constexpr std::chrono::seconds longest_wait{10};

/// Write-locks the whole file, waiting for it. False when it cannot be locked in time.
bool lock_and_wait(int fd);

/// Write-locks the whole file unless a lock of another process is on it.
LockResult try_lock(int fd);

/// Read-locks the whole file unless another process has locked it in any way. False otherwise.
bool lock_shared(int fd);

void unlock(int fd);

/// The lock that keeps readers of a file and the one who rewrites it apart: beside the one above,
/// which tells writers of each other. Waits for it. False when it cannot be had in time; errno is
/// then EWOULDBLOCK.
bool lock_for_reading(int fd);
bool lock_for_rewriting(int fd);

/// Lets the readers in again.
void release_readers(int fd);

} // namespace zav
