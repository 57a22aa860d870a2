// SPDX-License-Identifier: MIT
// Locks between instances that are on a name.
#include "base/system_lock.h"
#include "fixtures/library.h"
#include "private_root.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

using namespace std::chrono_literals;

TEST(SystemLock, IsHeldByOneAtATime) {
    PrivateRoot root;
    root.call([] {
        SystemLock first = SystemLock::take("name");
        EXPECT_TRUE(first);
        EXPECT_FALSE(SystemLock::take("name", 0ms));
        EXPECT_EQ(errno, EWOULDBLOCK);
        EXPECT_TRUE(SystemLock::take("other", 0ms));
        first.release();
        EXPECT_TRUE(SystemLock::take("name", 0ms));
        return 0;
    });
}

TEST(SystemLock, LeavesNothingBehind) {
    PrivateRoot root;
    root.directory("/run");
    root.call([] {
        EXPECT_TRUE(SystemLock::take("name"));
        return 0;
    });
    EXPECT_THAT(root.list("/run"), testing::IsEmpty());
}

TEST(SystemLock, IsWaitedFor) {
    PrivateRoot root;
    const Result run = root.call([] {
        SystemLock held = SystemLock::take("name");
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(SystemLock::take("name", 5s) ? 7 : 8);
        }
        ::usleep(100000);
        held.release();
        int status = 0;
        ::waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    });
    EXPECT_EQ(run.returned, 7);
}

TEST(SystemLock, GoesWithItsProcess) {
    PrivateRoot root;
    root.call([] {
        if (::fork() == 0) {
            const SystemLock held = SystemLock::take("name");
            ::_exit(held ? 0 : 1); // no destructor runs
        }
        int status = 0;
        ::wait(&status);
        EXPECT_EQ(status, 0);
        EXPECT_TRUE(SystemLock::take("name", 0ms));
        return 0;
    });
}

TEST(SystemLock, IsMadeInTheOtherDirectoryWhereTheFirstCannotBeMade) {
    PrivateRoot root;
    root.file("/run", "").directory("/var/run");
    root.call([] {
        SystemLock lock = SystemLock::take("name", 0ms);
        EXPECT_TRUE(lock);
        EXPECT_EQ(::access("/var/run/zavbox/name", F_OK), 0);
        EXPECT_FALSE(SystemLock::take("name", 0ms));
        lock.release();
        EXPECT_NE(::access("/var/run/zavbox", F_OK), 0);
        return 0;
    });
    root.remove("/var/run").file("/var/run", "");
    root.call([] {
        EXPECT_FALSE(SystemLock::take("name", 0ms));
        EXPECT_EQ(errno, ENOTDIR);
        return 0;
    });
}

TEST(SystemLock, OfTheOtherDirectoryIsFoundWhenItWasLeft) {
    PrivateRoot root;
    root.file("/run", "").directory("/var/run");
    root.call([] {
        if (::fork() == 0) {
            const SystemLock held = SystemLock::take("name");
            ::_exit(held ? 0 : 1);
        }
        int status = 0;
        ::wait(&status);
        EXPECT_TRUE(SystemLock::was_left("name"));
        EXPECT_FALSE(SystemLock::was_left("other"));
        return 0;
    });
}

TEST(SystemLock, TrustsNoDirectoryOfOthers) {
    PrivateRoot root;
    root.directory("/run/zavbox", 0777);
    root.call([] {
        EXPECT_FALSE(SystemLock::take("name", 0ms));
        EXPECT_EQ(errno, EPERM);
        return 0;
    });
}

} // namespace
} // namespace zav::test
