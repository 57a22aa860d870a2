// SPDX-License-Identifier: MIT
// The sync that the steps of an operation share: left for its end, and not forgotten there.
#include "base/file.h"
#include "base/shared_sync.h"
#include "fixtures/refused_calls.h"
#include "private_root.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace zav::test {
namespace {

TEST(SharedSync, IsAtOnceWithoutAnOperation) {
    PrivateRoot root;
    root.call([] {
        EXPECT_TRUE(sync_names_beside("/etc/file"));
        EXPECT_FALSE(sync_names_beside("/missing/file"));
        EXPECT_EQ(errno, ENOENT);
        deny_syncs();
        EXPECT_FALSE(sync_names_beside("/etc/file"));
        EXPECT_EQ(errno, EIO);
        return 0;
    });
}

TEST(SharedSync, IsAtTheEndOfTheOperation) {
    PrivateRoot root;
    root.directory("/etc/vsftpd");
    root.call([] {
        SharedSync sync;
        EXPECT_TRUE(sync.finish()) << "there is nothing to sync";
        EXPECT_TRUE(sync_names_beside("/missing/file"));
        EXPECT_FALSE(sync.finish());
        EXPECT_EQ(errno, ENOENT);
        return 0;
    });
    for (const char* other : {"/etc/file", "/etc/vsftpd/user"}) {
        root.call([=] {
            SharedSync sync;
            deny_syncs();
            EXPECT_TRUE(sync_names_beside("/etc/other"));
            EXPECT_TRUE(sync_names_beside(other));
            EXPECT_FALSE(sync.finish());
            EXPECT_EQ(errno, EIO);
            EXPECT_TRUE(sync.finish()) << "it is tried once";
            return 0;
        });
    }
}

TEST(SharedSync, IsThatOfTheOutermostOperation) {
    PrivateRoot root;
    root.call([] {
        SharedSync sync;
        {
            SharedSync step;
            EXPECT_TRUE(sync_names_beside("/missing/file"));
            EXPECT_TRUE(step.finish());
        }
        EXPECT_FALSE(sync.finish());
        return 0;
    });
}

TEST(SharedSync, EndsWithItsOperation) {
    PrivateRoot root;
    root.call([] {
        { const SharedSync sync; }
        EXPECT_FALSE(sync_names_beside("/missing/file"));
        return 0;
    });
}

// An operation that fails leaves before it asks how the sync went.
TEST(SharedSync, IsMadeUpForWhenNobodyFinishesTheOperation) {
    PrivateRoot root;
    root.call([] {
        deny_syncs();
        {
            const SharedSync sync;
            EXPECT_TRUE(sync_names_beside("/etc/file"));
            errno = 0;
        }
        EXPECT_EQ(errno, EIO) << "nothing was synced";
        return 0;
    });
}

TEST(NewFile, IsBesideTheOldOneUntilItTakesItsPlace) {
    PrivateRoot root;
    root.file("/etc/file", "old\n").file("/etc/.file.new", "of a run that was killed, long\n");
    root.call([] {
        NewFile file("/etc/file", "new\n", {.mode = 0640, .owner = {}, .group = {}});
        EXPECT_TRUE(file);
        EXPECT_EQ(read_file("/etc/.file.new"), "new\n");
        EXPECT_EQ(read_file("/etc/file"), "old\n");
        EXPECT_TRUE(file.take_place());
        return 0;
    });
    EXPECT_EQ(root.read("/etc/file"), "new\n");
    EXPECT_EQ(root.mode("/etc/file"), 0640U);
    EXPECT_THAT(root.list("/etc"), testing::ElementsAre("file"));
}

TEST(NewFile, IsRemovedUnlessItTakesItsPlace) {
    PrivateRoot root;
    root.directory("/etc/file");
    root.call([] {
        NewFile first("/etc/file", "new\n", {.mode = 0640, .owner = {}, .group = {}});
        NewFile file = std::move(first);
        EXPECT_FALSE(first);
        EXPECT_FALSE(file.take_place()) << "a directory is there";
        return 0;
    });
    EXPECT_THAT(root.list("/etc"), testing::ElementsAre("file"));
}

} // namespace
} // namespace zav::test
