// SPDX-License-Identifier: MIT
// Whole-file locks that keep writers apart.
#include "base/file.h"
#include "base/file_locks.h"
#include "fixtures/library.h"
#include "private_root.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::LockedFile;
using test::PrivateRoot;

constexpr const char* lock_path = "/tmp/file";

// A root with one file, and the result of try_lock() on it in another process.
class LockRoot : public PrivateRoot {
  public:
    LockRoot() { file(lock_path, "content\n"); }

    LockResult tried() {
        return static_cast<LockResult>(call([] {
                                           const FileDescriptor fd =
                                               FileDescriptor::open(lock_path, O_RDWR);
                                           return static_cast<int>(try_lock(fd.get()));
                                       }).returned);
    }
};

TEST(Lock, IsGrantedWhenNobodyHoldsIt) {
    LockRoot root;
    EXPECT_EQ(root.tried(), LockResult::locked);
}

TEST(Lock, IsRefusedWhileAnotherHasIt) {
    LockRoot root;
    const LockedFile other(root.host_path(lock_path));
    EXPECT_EQ(root.tried(), LockResult::held_by_other);
}

TEST(Lock, IsRefusedWhileAnotherOnlyReads) {
    LockRoot root;
    const LockedFile other(root.host_path(lock_path), 0, 0, F_RDLCK);
    EXPECT_EQ(root.tried(), LockResult::held_by_other);
}

TEST(Lock, IsOnTheWholeFileAndBeyond) {
    LockRoot root;
    const LockedFile other(root.host_path(lock_path), 100000, 1);
    EXPECT_EQ(root.tried(), LockResult::held_by_other);
}

TEST(Lock, ShutsOthersOutUntilItIsGivenBack) {
    LockRoot root;
    root.call([] {
        const FileDescriptor fd = FileDescriptor::open(lock_path, O_RDWR);
        const auto tried_by_child = [] {
            const pid_t child = ::fork();
            if (child == 0) {
                const FileDescriptor other = FileDescriptor::open(lock_path, O_RDWR);
                ::_exit(static_cast<int>(try_lock(other.get())));
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            return static_cast<LockResult>(WEXITSTATUS(status));
        };
        EXPECT_EQ(try_lock(fd.get()), LockResult::locked);
        EXPECT_EQ(tried_by_child(), LockResult::held_by_other);
        unlock(fd.get());
        EXPECT_EQ(tried_by_child(), LockResult::locked);
        EXPECT_TRUE(lock_and_wait(fd.get()));
        EXPECT_EQ(tried_by_child(), LockResult::held_by_other);
        return 0;
    });
}

TEST(Lock, FailsOnADescriptorThatCannotWrite) {
    LockRoot root;
    const FileDescriptor fd = FileDescriptor::open(root.host_path(lock_path).c_str(), O_RDONLY);
    EXPECT_EQ(try_lock(fd.get()), LockResult::failed);
    EXPECT_FALSE(lock_and_wait(fd.get()));
    EXPECT_FALSE(lock_and_wait(-1));
}

TEST(Lock, IsWaitedForThroughASignal) {
    LockRoot root;
    LockedFile other(root.host_path(lock_path));
    test::StartedRun run = root.start_call([] {
        struct sigaction note = {};
        note.sa_handler = [](int) { ::close(::open("/tmp/arrived", O_CREAT | O_WRONLY, 0600)); };
        ::sigaction(SIGUSR1, &note, nullptr); // without SA_RESTART
        const FileDescriptor fd = FileDescriptor::open(lock_path, O_RDWR);
        return lock_and_wait(fd.get()) ? 0 : 1;
    });
    ASSERT_TRUE(other.is_waited_for());
    run.signal(SIGUSR1);
    ASSERT_TRUE(root.appears("/tmp/arrived"));
    other.unlock();
    EXPECT_EQ(run.wait().returned, 0);
}

} // namespace
} // namespace zav
