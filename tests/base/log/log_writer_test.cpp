// SPDX-License-Identifier: MIT
// The log file: appending, rotation by size, many instances at once.
#include "base/file.h"
#include "base/file_locks.h"
#include "base/log.h"
#include "base/log/log_text.h"
#include "private_root.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::LogLine;
using test::PrivateRoot;
using test::Result;
using test::StartedRun;
using testing::ElementsAre;

constexpr std::size_t size_limit = 131072;

std::string old_log(std::size_t size) {
    std::string text(size, 'o');
    text.back() = '\n';
    return text;
}

TEST(LogFile, IsMadeForItsOwnerAlone) {
    PrivateRoot root;
    root.call(log_text, {.umask = 0});
    EXPECT_EQ(root.mode(log_path), 0600U);
}

TEST(LogFile, KeepsItsMode) {
    PrivateRoot root;
    root.file(log_path, "", 0644);
    root.call(log_text);
    EXPECT_EQ(root.mode(log_path), 0644U);
}

TEST(LogFile, IsAppendedTo) {
    PrivateRoot root;
    root.file(log_path, "old\n");
    root.call(log_text);
    root.call(log_text);
    EXPECT_EQ(root.read(log_path), "old\n" + logged_text + logged_text);
}

TEST(LogFile, IsNotHeldOpenBetweenLines) {
    PrivateRoot root;
    root.call([] {
        const auto before = directory_entries("/.harness/proc/self/fd");
        log_text();
        EXPECT_EQ(directory_entries("/.harness/proc/self/fd"), before);
        return 0;
    });
}

TEST(LogRotation, ALogOfExactlyTheLimitIsNotRotated) {
    PrivateRoot root;
    root.file(log_path, old_log(size_limit));
    root.call(log_text);
    EXPECT_EQ(root.read(log_path), old_log(size_limit) + logged_text);
    EXPECT_FALSE(root.exists(previous_path));
}

TEST(LogRotation, OneByteMoreRotatesBeforeTheNextLine) {
    PrivateRoot root;
    root.file(log_path, old_log(size_limit + 1));
    root.call(log_text);
    EXPECT_EQ(root.read(log_path), logged_text);
    EXPECT_EQ(root.read(previous_path), old_log(size_limit + 1));
}

TEST(LogRotation, TheLineThatExceedsTheLimitStaysInItsGeneration) {
    PrivateRoot root;
    root.file(log_path, old_log(size_limit));
    root.call(log_text);
    root.call(log_text);
    EXPECT_EQ(root.read(log_path), logged_text);
    EXPECT_EQ(root.read(previous_path), old_log(size_limit) + logged_text);
}

TEST(LogRotation, TheFreshLogIsForItsOwnerAlone) {
    PrivateRoot root;
    root.file(log_path, old_log(size_limit + 1), 0644);
    root.call(log_text);
    EXPECT_EQ(root.mode(log_path), 0600U);
    EXPECT_EQ(root.mode(previous_path), 0644U);
}

TEST(LogRotation, OnlyOneOlderGenerationIsKept) {
    PrivateRoot root;
    root.file(previous_path, "oldest\n").file(log_path, old_log(size_limit + 1));
    root.call(log_text);
    EXPECT_EQ(root.read(previous_path), old_log(size_limit + 1));
    EXPECT_THAT(root.list("/var/log"), ElementsAre("log.libzav", "log.libzav.0"));
}

TEST(LogRotation, ALogThatCannotBeRenamedGrows) {
    PrivateRoot root;
    root.directory(previous_path).file(log_path, old_log(size_limit + 1));
    const Result result = root.call(log_text);
    EXPECT_EQ(root.read(log_path), old_log(size_limit + 1) + logged_text);
    EXPECT_EQ(result.err, "");
}

TEST(LogLock, IsWaitedFor) {
    PrivateRoot root;
    root.file(log_path, "");
    test::LockedFile lock(root.host_path(log_path));
    StartedRun run = root.start_call(log_text);
    ASSERT_TRUE(lock.is_waited_for());
    lock.write("first\n");
    lock.unlock();
    run.wait();
    EXPECT_EQ(root.read(log_path), "first\n" + logged_text);
}

// Whoever can read the log can keep a lock on it.
TEST(LogLock, IsNotWaitedForForEverAndNotForEveryLine) {
    PrivateRoot root;
    root.file(log_path, old_log(size_limit + 1));
    const test::LockedFile lock(root.host_path(log_path), 0, 0, F_RDLCK);
    const auto start = std::chrono::steady_clock::now();
    const auto log_twenty = [] {
        for (int line = 0; line < 20; ++line) {
            log_text();
        }
        return 0;
    };
    root.call(log_twenty, {.time_limit = std::chrono::seconds(60)});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    const std::string text = root.read(log_path);
    EXPECT_EQ(text.size(), size_limit + 1 + 20 * logged_text.size());
    EXPECT_FALSE(root.exists(previous_path)) << "it is not rotated without the lock";
}

TEST(LogLock, IsHadAgainOnceItWasGivenUp) {
    PrivateRoot root;
    root.file(log_path, old_log(size_limit + 1));
    test::LockedFile lock(root.host_path(log_path), 0, 0, F_RDLCK);
    StartedRun run = root.start_call(
        [] {
            log_text();
            ::close(::open("/tmp/waited", O_CREAT | O_WRONLY, 0600));
            while (::access("/tmp/free", F_OK) != 0) {
                ::usleep(1000);
            }
            log_text();
            return 0;
        },
        {.time_limit = std::chrono::seconds(60)});
    ASSERT_TRUE(root.appears("/tmp/waited", std::chrono::seconds(20)));
    lock.unlock();
    root.file("/tmp/free", "");
    run.wait();
    EXPECT_EQ(root.read(log_path), logged_text);
    EXPECT_EQ(root.read(previous_path), old_log(size_limit + 1) + logged_text);
}

TEST(LogLock, IsOnTheWholeFile) {
    PrivateRoot root;
    root.file(log_path, "old\n");
    test::LockedFile lock(root.host_path(log_path), 1000, 1); // one byte far beyond the end
    StartedRun run = root.start_call(log_text);
    EXPECT_TRUE(lock.is_waited_for());
    lock.unlock();
    run.wait();
}

TEST(LogLock, ASharedLockIsWaitedForToo) {
    PrivateRoot root;
    root.file(log_path, "old\n");
    test::LockedFile lock(root.host_path(log_path), 0, 0, F_RDLCK);
    StartedRun run = root.start_call(log_text);
    EXPECT_TRUE(lock.is_waited_for());
    lock.unlock();
    run.wait();
}

TEST(LogLock, ALineThatWaitedWhileTheLogWasRotatedGoesIntoTheFreshLog) {
    PrivateRoot root;
    root.file(log_path, "old\n");
    test::LockedFile lock(root.host_path(log_path));
    StartedRun run = root.start_call(log_text);
    ASSERT_TRUE(lock.is_waited_for());
    std::filesystem::rename(root.host_path(log_path), root.host_path(previous_path));
    root.file(log_path, "fresh\n");
    lock.unlock();
    run.wait();
    EXPECT_EQ(root.read(log_path), "fresh\n" + logged_text);
    EXPECT_EQ(root.read(previous_path), "old\n");
}

TEST(LogLock, ALineThatWaitedForAFullLogDoesNotRotateTheFreshOne) {
    PrivateRoot root;
    root.file(log_path, old_log(size_limit + 1));
    test::LockedFile lock(root.host_path(log_path));
    StartedRun run = root.start_call(log_text);
    ASSERT_TRUE(lock.is_waited_for());
    std::filesystem::rename(root.host_path(log_path), root.host_path(previous_path));
    root.file(log_path, "fresh\n");
    lock.unlock();
    run.wait();
    EXPECT_EQ(root.read(log_path), "fresh\n" + logged_text);
    EXPECT_EQ(root.read(previous_path), old_log(size_limit + 1));
}

TEST(LogLock, ALineThatWaitedWhileTheLogWasRemovedMakesANewOne) {
    PrivateRoot root;
    root.file(log_path, "old\n");
    test::LockedFile lock(root.host_path(log_path));
    StartedRun run = root.start_call(log_text);
    ASSERT_TRUE(lock.is_waited_for());
    root.remove(log_path);
    lock.unlock();
    run.wait();
    EXPECT_EQ(root.read(log_path), logged_text);
}

// The texts of both generations, sorted.
std::vector<std::string> all_texts(const PrivateRoot& root) {
    std::vector<std::string> texts;
    for (const char* path : {previous_path, log_path}) {
        for (const LogLine& one : root.log(path)) {
            texts.push_back(one.text);
        }
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

std::string long_text(int writer, int number, std::size_t size) {
    std::array<char, 32> head = {};
    std::snprintf(head.data(), head.size(), "writer %02d line %03d ", writer, number);
    return head.data() + std::string(size, static_cast<char>('a' + writer));
}

TEST(LogSharing, ManyInstancesLoseAndMixNoLine) {
    // 8 times 60 lines of 400 characters: only one rotation, so that no line is rotated out.
    constexpr int writers = 8;
    constexpr int lines_each = 60;
    constexpr std::size_t size = 380;
    PrivateRoot root;
    std::vector<StartedRun> runs;
    std::vector<std::string> expected;
    for (int writer = 0; writer < writers; ++writer) {
        runs.push_back(root.start_call([writer] {
            for (int number = 0; number < lines_each; ++number) {
                log_error("%s", long_text(writer, number, size).c_str());
            }
            return 0;
        }));
        for (int number = 0; number < lines_each; ++number) {
            expected.push_back(long_text(writer, number, size));
        }
    }
    for (StartedRun& run : runs) {
        EXPECT_EQ(run.wait().err, "");
    }
    EXPECT_TRUE(root.exists(previous_path));
    EXPECT_EQ(all_texts(root), expected);
}

TEST(LogSharing, OneOfManyRotatesAFullLog) {
    // All instances find the log full at the same moment, again and again.
    constexpr int writers = 6;
    constexpr int rounds = 40;
    PrivateRoot root;
    const Result result = root.call([] {
        int lost = 0;
        for (int round = 0; round < rounds; ++round) {
            FileDescriptor full =
                FileDescriptor::open(log_path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
            write_all(full.get(), old_log(size_limit + 1));
            lock_and_wait(full.get());
            for (int writer = 0; writer < writers; ++writer) {
                if (::fork() == 0) {
                    full.close(); // or the lock would be this writer's as well
                    log_text();
                    ::_exit(0);
                }
            }
            ::usleep(2000); // time for most of them to wait for the lock
            full.close();
            while (::wait(nullptr) > 0) {
            }
            struct stat current = {};
            struct stat previous = {};
            ::stat(log_path, &current);
            ::stat(previous_path, &previous);
            lost += current.st_size != static_cast<off_t>(writers * logged_text.size()) ||
                            previous.st_size != static_cast<off_t>(size_limit + 1)
                        ? 1
                        : 0;
        }
        return lost;
    });
    EXPECT_EQ(result.returned, 0) << "rounds of " << rounds << " that lost something";
}

} // namespace
} // namespace zav
