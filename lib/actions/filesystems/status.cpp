// SPDX-License-Identifier: MIT
#include "actions/filesystems/status.h"

#include "base/file.h"
#include "base/text.h"
#include "inventory/filesystems.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/statfs.h>
#include <unistd.h>

namespace zav {

namespace {

constexpr mode_t test_mode = 0600;

/// A file of our own in a directory; `path` becomes its name. A file that a user named "test", or a
/// link of that name, is left alone: the file gets another name then.
FileDescriptor make_test_file(std::string_view directory, std::string& path) {
    path = std::string(directory) + "/test";
    FileDescriptor fd = FileDescriptor::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, test_mode);
    if (!fd && errno == EEXIST) {
        path += ".XXXXXX";
        fd = FileDescriptor(::mkostemp(path.data(), O_CLOEXEC));
    }
    return fd;
}

bool can_write(std::string_view directory) {
    constexpr std::string_view test_text("test fs", sizeof "test fs");
    std::string path;
    FileDescriptor fd = make_test_file(directory, path);
    if (!fd) {
        return false;
    }
    const bool written = write_all(fd.get(), test_text);
    if (names_open_file(path.c_str(), fd.get())) {
        ::unlink(path.c_str()); // still ours
    }
    return fd.close() && written;
}

/// Sets the sizes. False when there is no file system to measure.
bool measure(fs_info& fs) {
    struct statfs figures = {};
    if (::statfs(fs.mntpoint.c_str(), &figures) != 0) {
        return false;
    }
    set_sizes(figures, fs);
    return true;
}

bool is_full(const fs_info& fs) {
    return fs.allsize.count <= fs.usedsize.count + 1;
}

} // namespace

Code fs_space_check(fs_list& list, Sink& out) {
    for (fs_info& fs : list) {
        if (fs.mntpoint.empty()) {
            out.print("filesystem %s cannot statfs\n", fs.mntpoint.c_str());
            continue;
        }
        const bool is_well = measure(fs) && (is_full(fs) || can_write(fs.mntpoint));
        if (!is_well && fs.status != fs_unmounted) {
            fs.status = fs_not_available;
        }
    }
    return Code::ok;
}

Code fs_list_get(fs_list& list, Sink& out) {
    Code result = mdfstab_read(list);
    if (!failed(result)) {
        result = mountfs_get(list, out);
    }
    if (failed(result)) {
        out.print("for errno '%d'\n", number_of(result));
        return result;
    }
    return fs_space_check(list, out);
}

} // namespace zav
