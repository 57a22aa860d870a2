// SPDX-License-Identifier: MIT
// Files that are read only while nobody changes them, and files that replace others.
#include "base/file.h"
#include "base/file_locks.h"
#include "private_root.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::LockedFile;
using test::PrivateRoot;

constexpr const char* locked_path = "/tmp/file";

class SharedLock : public testing::Test {
  protected:
    SharedLock() { root.file(locked_path, "content\n"); }

    bool is_had() {
        return root.call([] {
                       const FileDescriptor fd = FileDescriptor::open(locked_path, O_RDONLY);
                       return lock_shared(fd.get()) ? 1 : 0;
                   })
                   .returned == 1;
    }
    PrivateRoot root;
};

TEST_F(SharedLock, IsGrantedWhenNobodyLocksTheFile) {
    EXPECT_TRUE(is_had());
}

TEST_F(SharedLock, IsRefusedWhileAnotherHasAnyLock) {
    for (const short type : {short{F_WRLCK}, short{F_RDLCK}}) {
        const LockedFile other(root.host_path(locked_path), 0, 0, type);
        EXPECT_FALSE(is_had());
    }
    const LockedFile other(root.host_path(locked_path), 100000, 1);
    EXPECT_FALSE(is_had()) << "on a part behind its end";
}

TEST_F(SharedLock, KeepsWritersOutAndReadersIn) {
    root.call([] {
        const FileDescriptor fd = FileDescriptor::open(locked_path, O_RDONLY);
        const auto locked_by_child = [](short type) {
            const pid_t child = ::fork();
            if (child == 0) {
                const FileDescriptor other = FileDescriptor::open(locked_path, O_RDWR);
                struct flock lock = {};
                lock.l_type = type;
                ::_exit(::fcntl(other.get(), F_SETLK, &lock) == 0 ? 1 : 0);
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            return WEXITSTATUS(status) == 1;
        };
        EXPECT_TRUE(lock_shared(fd.get()));
        EXPECT_FALSE(locked_by_child(F_WRLCK));
        EXPECT_TRUE(locked_by_child(F_RDLCK));
        unlock(fd.get());
        EXPECT_TRUE(locked_by_child(F_WRLCK));
        return 0;
    });
}

TEST_F(SharedLock, IsNotGrantedWithoutAFileToRead) {
    EXPECT_FALSE(lock_shared(-1));
    const FileDescriptor fd = FileDescriptor::open(root.host_path(locked_path).c_str(), O_WRONLY);
    EXPECT_FALSE(lock_shared(fd.get()));
}

// The result of write_copy() for a copy that is to replace a file with this mode.
int copied(PrivateRoot& root, mode_t mode, const test::RunOptions& options = {}) {
    root.file("/tmp/original", "old\n", mode).file("/tmp/copy", "", 0600);
    return root
        .call([] { return write_copy("/tmp/copy", "new\n", "/tmp/original") ? 1 : 0; }, options)
        .returned;
}

TEST(WrittenCopy, HasTheModeOfTheOriginal) {
    PrivateRoot root;
    for (const mode_t mode : {0640U, 0604U, 04711U}) {
        EXPECT_EQ(copied(root, mode, {.umask = 077}), 1);
        EXPECT_EQ(root.mode("/tmp/copy"), mode);
        EXPECT_EQ(root.read("/tmp/copy"), "new\n");
        EXPECT_EQ(root.read("/tmp/original"), "old\n");
    }
}

TEST(WrittenCopy, NeedsItsFileAndTheOriginal) {
    PrivateRoot root;
    root.file("/tmp/original", "old\n").file("/tmp/copy", "");
    root.symlink("original", "/tmp/link");
    root.call([] {
        EXPECT_FALSE(write_copy("/tmp/copy", "new\n", "/tmp/missing"));
        EXPECT_FALSE(write_copy("/tmp/missing", "new\n", "/tmp/original"));
        EXPECT_FALSE(write_copy("/tmp/link", "new\n", "/tmp/original")) << "no link is followed";
        return 0;
    });
    EXPECT_EQ(root.read("/tmp/original"), "old\n");
    EXPECT_FALSE(root.exists("/tmp/missing"));
}

TEST(WrittenCopy, FailsOnAFullDisk) {
    PrivateRoot root;
    EXPECT_EQ(copied(root, 0644, {.limits = {{RLIMIT_FSIZE, 3}}, .ignored_signals = {SIGXFSZ}}), 0);
}

TEST(WrittenCopy, FailsWithoutThePrivilegeToGiveItAway) {
    PrivateRoot root;
    root.file("/tmp/original", "", 0640).directory("/tmp/open", 0777);
    const auto copy = [] {
        EXPECT_TRUE(FileDescriptor::open("/tmp/open/mine", O_RDWR | O_CREAT, 0600));
        return write_copy("/tmp/open/mine", "new\n", "/tmp/original") ? 1 : 0;
    };
    EXPECT_EQ(root.call(copy, {.uid = 65534}).returned, 0);
    EXPECT_EQ(root.mode("/tmp/open/mine"), 0600u);
}

} // namespace
} // namespace zav
