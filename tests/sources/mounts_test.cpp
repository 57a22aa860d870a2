// SPDX-License-Identifier: MIT
// The kernel's table of mounts.
#include "fixtures/pool_machine.h"
#include "sources/mounts.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Every mount as "device|directory".
Texts parsed_mounts(const std::string& table) {
    Texts texts;
    for (const zav::Mount& mount : parse_mounts(table)) {
        texts.push_back(mount.device + "|" + mount.directory);
    }
    return texts;
}

TEST(MountTable, HoldsDevicesAndDirectoriesInItsOrder) {
    EXPECT_THAT(
        parsed_mounts("/dev/vda1 / ext4 rw,relatime 0 0\n"
                      "/dev/mapper/data-pool /mnt/data/pool xfs rw 0 0\n"
                      "none /mnt/data/pool tmpfs rw 0 0\n"),
        ElementsAre("/dev/vda1|/", "/dev/mapper/data-pool|/mnt/data/pool", "none|/mnt/data/pool"));
    EXPECT_THAT(parsed_mounts(""), IsEmpty());
}

TEST(MountTable, ReadsOctalEscapes) {
    EXPECT_THAT(
        parsed_mounts("/dev/a\\040b /mnt/one\\040two\\011three\\012four\\134five xfs rw 0 0\n"),
        ElementsAre("/dev/a b|/mnt/one two\tthree\nfour\\five"));
}

TEST(MountTable, SkipsCommentsAndEmptyLines) {
    EXPECT_THAT(parsed_mounts("# comment /mnt/x xfs\n\n \t\n  # more\n/dev/a /mnt/a xfs rw 0 0\n"),
                ElementsAre("/dev/a|/mnt/a"));
}

TEST(MountTable, NeedsNoLineFeedAtItsEnd) {
    EXPECT_THAT(parsed_mounts("/dev/a /mnt/a xfs rw 0 0\n/dev/b /mnt/b xfs rw 0 0"),
                ElementsAre("/dev/a|/mnt/a", "/dev/b|/mnt/b"));
}

TEST(MountTable, TreatsALineOfMoreThan4096CharactersAsOneMount) {
    const std::string options(6000, 'o');
    EXPECT_THAT(
        parsed_mounts("/dev/a /mnt/a overlay " + options + " 0 0\n/dev/b /mnt/b xfs rw 0 0\n"),
        ElementsAre("/dev/a|/mnt/a", "/dev/b|/mnt/b"));
    EXPECT_THAT(
        parsed_mounts("/dev/a /" + std::string(5000, 'd') + " xfs rw 0 0\n/dev/b /b xfs rw 0 0\n"),
        ElementsAre(testing::StartsWith("/dev/a|/dddd"), "/dev/b|/b"));
}

TEST(MountTable, TakesALineThatEndsEarly) {
    EXPECT_THAT(parsed_mounts("/dev/a\n/dev/b /mnt/b\n"), ElementsAre("/dev/a|", "/dev/b|/mnt/b"));
}

TEST(MountNamed, IsTheFirstWhoseDirectoryEndsInTheName) {
    const MountTable mounts = parse_mounts("/dev/a /mnt/pool/x xfs rw 0 0\n"
                                           "/dev/b /mnt/data/xpool xfs rw 0 0\n"
                                           "/dev/c /mnt/data/pool xfs rw 0 0\n"
                                           "/dev/d /mnt/more/pool xfs rw 0 0\n");
    ASSERT_NE(find_mount_named(mounts, "pool"), nullptr);
    EXPECT_EQ(find_mount_named(mounts, "pool")->device, "/dev/c");
    for (const char* name : {"data", "data/pool", "poo", "Pool", "/mnt/data/pool", ""}) {
        EXPECT_EQ(find_mount_named(mounts, name), nullptr) << name;
    }
}

} // namespace
} // namespace zav::test
