// SPDX-License-Identifier: MIT
// The command that mounts.
#include "fixtures/pool_machine.h"
#include "sources/mount.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

TEST(MountCommand, NamesReiserfsWhateverTheKernel) {
    for (const char* release : {"2.6.29", "2.6.30", "6.1.0"}) {
        EXPECT_EQ(mount_text("/mnt/data/pool", "/dev/data/pool", "reiserfs", "mount", release),
                  "mount -t reiserfs /dev/data/pool /mnt/data/pool > /dev/null");
        EXPECT_EQ(mount_text("/mnt/data/pool", "/dev/data/pool", "reiserfs", "/bin/mount", release),
                  "/bin/mount -t reiserfs /dev/data/pool /mnt/data/pool > /dev/null");
    }
}

TEST(MountCommand, TreatsAnyOtherTypeAsXfs) {
    for (const char* type : {"xfs", "ext4", "", "ReiserFS", "reiserfs2"}) {
        EXPECT_EQ(mount_text("/mnt/x", "-L x", type, "/bin/mount", "2.6.29"),
                  "mount -t xfs -L x /mnt/x > /dev/null");
        EXPECT_EQ(mount_text("/mnt/x", "-L x", type, "/bin/mount", "2.6.30"),
                  "mount -t xfs -o inode64 -L x /mnt/x > /dev/null");
    }
}

TEST(MountCommand, AsksForLargeInodesFromKernel2630OnAsTextsCompare) {
    const auto has_option = [](std::string_view release) {
        return mount_text("/m", "/d", "xfs", "mount", release).find("inode64") != std::string::npos;
    };
    for (const char* release :
         {"2.6.30", "2.6.30.1", "2.6.30-rc1", "2.6.300", "2.6.31", "2.6.4", "2.6.9", "2.7", "3",
          "3.10.0", "5.10.0-8-amd64", "6.1.0", "9.0", "2.6.30\xff", "2.6.\xff", "\xff"}) {
        EXPECT_TRUE(has_option(release)) << release;
    }
    for (const char* release : {"2.6.29", "2.6.29.6", "2.6.3", "2.6.3-x", "2.6.28-11-generic",
                                "2.6.2", "2.6.", "2.4.37", "2.6.20", "10.0", "10.30.99", "1", ""}) {
        EXPECT_FALSE(has_option(release)) << release;
    }
}

} // namespace
} // namespace zav::test
