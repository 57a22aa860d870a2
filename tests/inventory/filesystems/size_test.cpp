// SPDX-License-Identifier: MIT
// Sizes from statfs(2).
#include "base/text.h"
#include "inventory/filesystems.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

// The sizes of a file system as "all used".
std::string sizes(long block_size, std::uint64_t blocks, std::uint64_t available) {
    struct statfs figures = {};
    figures.f_bsize = block_size;
    figures.f_blocks = blocks;
    figures.f_bfree = available + 100000; // reserved for root
    figures.f_bavail = available;
    fs_info fs;
    set_sizes(figures, fs);
    return format_text("%llu %llu", static_cast<unsigned long long>(fs.allsize.count),
                       static_cast<unsigned long long>(fs.usedsize.count));
}

TEST(FileSystemSize, IsInWholeMib) {
    EXPECT_EQ(sizes(4096, 262144, 262144), "1024 0");
    EXPECT_EQ(sizes(4096, 511, 256), "1 0") << "rounded down";
    EXPECT_EQ(sizes(4096, 512, 256), "2 1");
    EXPECT_EQ(sizes(1024, 1024, 0), "1 1");
    EXPECT_EQ(sizes(4096, 0, 0), "0 0");
}

TEST(FileSystemSize, CountsReservedBlocksAsUsed) {
    EXPECT_EQ(sizes(4096, 262144, 131072), "1024 512");
}

TEST(FileSystemSize, DividesTheBlockSizeFirst) {
    EXPECT_EQ(sizes(512, 1U << 30, 0), "0 0") << "half a KiB counts for nothing";
    EXPECT_EQ(sizes(1536, 2048, 1024), "2 1");
    EXPECT_EQ(sizes(65536, 16, 0), "1 1");
}

TEST(FileSystemSize, HoldsLargeFileSystems) {
    EXPECT_EQ(sizes(4096, std::uint64_t{1} << 40, std::uint64_t{1} << 39), "4294967296 2147483648");
}

} // namespace
} // namespace zav::test
