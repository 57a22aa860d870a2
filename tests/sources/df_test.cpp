// SPDX-License-Identifier: MIT
// The mounted disks of df.
#include "sources/df.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(MountedDisks, AreTheScsiDevicesOfDf) {
    EXPECT_THAT(parse_mounted_disks(recorded("df_labels").text), ElementsAre("sdd"));
    EXPECT_THAT(parse_mounted_disks(recorded("df").text), IsEmpty());
}

TEST(MountedDisks, KeepTheirPartition) {
    EXPECT_THAT(parse_mounted_disks("Filesystem 1K-blocks\n/dev/sda1 5 /\n/dev/sdaa12 5 /x\n"),
                ElementsAre("sda1", "sdaa12"));
}

TEST(MountedDisks, BlanksBeforeTheDeviceAndNothingAfterItDoNoHarm) {
    EXPECT_THAT(parse_mounted_disks("  \t/dev/sda1\t5\n/dev/sdb\n5 4 /dev/sdc\n/dev/hda\n"),
                ElementsAre("sda1", "sdb"));
}

TEST(MountedDisks, OfManyLinesAreAllFound) {
    std::string output;
    for (int line = 0; line < 100000; ++line) {
        output += "/dev/sda1 1 1 1 1% /mnt\n";
    }
    EXPECT_EQ(parse_mounted_disks(output).size(), 100000U);
}

TEST(DfHeader, IsInEveryOutput) {
    EXPECT_TRUE(has_df_header(recorded("df").text));
    EXPECT_TRUE(has_df_header("Sys.fichiers blocs-de-1K Utilise Disponible Uti% Monte-sur\n"));
    EXPECT_FALSE(has_df_header(""));
    EXPECT_FALSE(has_df_header("garbage\n"));
    EXPECT_FALSE(has_df_header("/dev/sda1 100 50 50 50% /mnt\n"));
}

} // namespace
} // namespace zav::test
