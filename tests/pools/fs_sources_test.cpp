// SPDX-License-Identifier: MIT
// The registers of file systems and the kernel's figures, as text and numbers: records, mount
// points that are known, lines that stay.
#include "frame/text.h"
#include "pools/fs_sources.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Every file system of a register as "name|group|mount point|type".
std::vector<std::string> parse(std::string_view text) {
    fs_list list;
    parse_mdfstab(text, list);
    std::vector<std::string> systems;
    for (const fs_info& fs : list) {
        EXPECT_EQ(fs.status, "");
        EXPECT_EQ(fs.device, "");
        EXPECT_EQ(fs.allsize + fs.usedsize, 0U);
        systems.push_back(format_text("%s|%s|%s|%s", fs.name.c_str(), fs.ownername.c_str(),
                                      fs.mntpoint.c_str(), fs.fstype.c_str()));
    }
    return systems;
}

TEST(Mdfstab, HoldsAFileSystemOnEachLineInItsOrder) {
    EXPECT_THAT(
        parse("/dev/more/b\t/mnt/more/b\txfs\tdefaults\t0 0\n"
              "/dev/data/a\t/mnt/data/a\treiserfs\tdefaults\t0 0\n"),
        ElementsAre("/dev/more/b|more|/mnt/more/b|xfs", "/dev/data/a|data|/mnt/data/a|reiserfs"));
    EXPECT_THAT(parse(""), IsEmpty());
}

TEST(Mdfstab, TakesAnyBlanksBetweenItsWords) {
    EXPECT_THAT(parse(" \t/dev/data/a \t /mnt/data/a  xfs\t\tdefaults \n"),
                ElementsAre("/dev/data/a|data|/mnt/data/a|xfs"));
    EXPECT_THAT(parse("/dev/data/a /mnt/data/a xfs"),
                ElementsAre("/dev/data/a|data|/mnt/data/a|xfs"));
    EXPECT_THAT(parse("/dev/data/a /mnt/data/a xfs\r\n"),
                ElementsAre("/dev/data/a|data|/mnt/data/a|xfs"));
}

TEST(Mdfstab, SkipsLinesOfFewerThanThreeWords) {
    EXPECT_THAT(
        parse("\n \t\n\r\n/dev/data/a\n/dev/data/a /mnt/data/a\n/dev/data/a /mnt/data/a \t\n"),
        IsEmpty());
}

TEST(Mdfstab, KnowsNoComments) {
    EXPECT_THAT(parse("# a b\n#/dev/data/a /mnt/data/a xfs\n"),
                ElementsAre("#||a|b", "#/dev/data/a|data|/mnt/data/a|xfs"))
        << "five characters in front of the group, whatever they are";
}

TEST(Mdfstab, FindsTheGroupBehindTheFirstFiveCharacters) {
    EXPECT_THAT(parse("/dev//data//a m t\n/abc/data/a m t\nshort m t\nmore_data m t\n/dev/ m t\n"),
                ElementsAre("/dev//data//a|data|m|t", "/abc/data/a|data|m|t", "short||m|t",
                            "more_data|data|m|t", "/dev/||m|t"));
}

TEST(Mdfstab, CutsWhatIsTooLongForItsField) {
    const std::string path = "/dev/" + std::string(40, 'g') + "/" + std::string(90, 'p');
    const std::string line = path + " /" + std::string(80, 'm') + " t2345678901234567";
    ASSERT_LT(line.size(), 255U);
    EXPECT_THAT(parse(line), ElementsAre(path.substr(0, 127) + "|" + std::string(32, 'g') + "|/" +
                                         std::string(80, 'm') + "|t23456789012345"));
    EXPECT_THAT(parse("/dev/g/p " + std::string(128, 'm') + " xfs"),
                ElementsAre("/dev/g/p|g|" + std::string(127, 'm') + "|xfs"));
}

TEST(Mdfstab, ReadsALongLineInPiecesOf255Characters) {
    const std::string start = "/dev/data/a /mnt/data/a xfs ";
    const std::string filler(255 - start.size(), 'x');
    EXPECT_THAT(
        parse(start + filler + "/dev/data/b /mnt/data/b xfs\n"),
        ElementsAre("/dev/data/a|data|/mnt/data/a|xfs", "/dev/data/b|data|/mnt/data/b|xfs"));
    EXPECT_THAT(
        parse(start + filler + "y z\n/dev/data/c /mnt/data/c xfs\n"),
        ElementsAre("/dev/data/a|data|/mnt/data/a|xfs", "/dev/data/c|data|/mnt/data/c|xfs"));
}

TEST(Mdfstab, EndsALineAtANul) {
    using namespace std::string_view_literals;
    EXPECT_THAT(parse("/dev/data/a /mnt/data/a x\0fs b\n/dev/data/b /mnt/data/b\0 xfs\n"sv),
                ElementsAre("/dev/data/a|data|/mnt/data/a|x"));
}

TEST(RegisterHas, TheSecondWordOfALine) {
    const std::string text = "/dev/data/a\t/mnt/data/a\txfs\tdefaults\t0 0\n"
                             "  /dev/data/b  \t /mnt/data/b\r\n"
                             "# /mnt/comment\n"
                             "/dev/data/c /mnt/data/c";
    for (const char* mntpoint : {"/mnt/data/a", "/mnt/data/b", "/mnt/comment", "/mnt/data/c"}) {
        EXPECT_TRUE(register_has(text, mntpoint)) << mntpoint;
    }
    for (const char* mntpoint :
         {"/mnt/data", "/mnt/data/", "/mnt/data/aa", "mnt/data/a", "/dev/data/a", "xfs", "0", "",
          "/MNT/DATA/A", "/mnt/data/a\txfs"}) {
        EXPECT_FALSE(register_has(text, mntpoint)) << mntpoint;
    }
}

TEST(RegisterHas, NothingOnALineWithoutASecondWord) {
    EXPECT_FALSE(register_has("", "/mnt/data/a"));
    EXPECT_FALSE(register_has("/mnt/data/a\n\n\t\n", "/mnt/data/a"));
    EXPECT_FALSE(register_has("/dev/data/a\n\n", "")) << "a missing word is no empty one";
}

TEST(RegisterHas, MountPointsInThePiecesOfALongLine) {
    const std::string line = "/dev/data/a " + std::string(243, 'm') + "/dev/data/b /mnt/data/b";
    EXPECT_TRUE(register_has(line, std::string(243, 'm')));
    EXPECT_TRUE(register_has(line, "/mnt/data/b"));
    EXPECT_FALSE(register_has(line, std::string(243, 'm') + "/dev/data/b"));
}

TEST(RegisterWithout, KeepsTheOtherLinesTrimmedAtBothEnds) {
    EXPECT_EQ(register_without("/dev/data/a\t/mnt/data/a\txfs\tdefaults\t0 0\n"
                               " \t/dev/data/b  /mnt/data/b\txfs \r\n"
                               "/dev/data/c /mnt/data/c xfs \t\n"
                               "short\n"
                               "/dev/data/d /mnt/data/d xfs",
                               "/mnt/data/a"),
              "/dev/data/b  /mnt/data/b\txfs\n"
              "/dev/data/c /mnt/data/c xfs \t\n"
              "short\n"
              "/dev/data/d /mnt/data/d xfs\n");
}

TEST(RegisterWithout, DropsEveryLineOfTheMountPoint) {
    const std::string text = "a /mnt/x\nb /mnt/y\n  c\t/mnt/x\txfs\r\nd /mnt/xx\ne /mnt/x";
    EXPECT_EQ(register_without(text, "/mnt/x"), "b /mnt/y\nd /mnt/xx\n");
}

TEST(RegisterWithout, DropsCommentsAndEmptyLines) {
    EXPECT_EQ(register_without("# comment\n\n  \t\n\t# indented\n#a /mnt/y\na /mnt/x\nb#c /mnt/z\n",
                               "/mnt/x"),
              "b#c /mnt/z\n");
}

TEST(RegisterWithout, IsNothingWhenNoLineHasTheMountPoint) {
    EXPECT_EQ(register_without("# comment\n\na /mnt/y\n", "/mnt/x"), std::nullopt);
    EXPECT_EQ(register_without("# /mnt/x\n", "/mnt/x"), std::nullopt)
        << "a comment is no line of it";
    EXPECT_EQ(register_without("short\n", ""), std::nullopt);
    EXPECT_EQ(register_without("", "/mnt/x"), std::nullopt);
}

TEST(RegisterWithout, MayBeEmpty) {
    EXPECT_EQ(register_without("a /mnt/x\n", "/mnt/x"), "");
}

TEST(RegisterWithout, MakesLinesOfThePiecesOfALongLine) {
    const std::string first = "a /mnt/y " + std::string(246, 'x');
    EXPECT_EQ(register_without(first + "rest of it\nb /mnt/x\n", "/mnt/x"),
              first + "\nrest of it\n");
    EXPECT_EQ(register_without(first + "# of it\nb /mnt/x\n", "/mnt/x"), first + "\n");
    EXPECT_EQ(register_without("b /mnt/x " + std::string(246, 'x') + "rest\n", "/mnt/x"), "rest\n");
    const std::string whole = "a /mnt/y " + std::string(245, 'x');
    EXPECT_EQ(register_without(whole + "\nb /mnt/x\n", "/mnt/x"), whole + "\n");
}

TEST(RegisterWithout, EndsALineAtANul) {
    using namespace std::string_view_literals;
    EXPECT_EQ(register_without("a /mnt/y\0 xfs\nb /mnt/x\0/y\n"sv, "/mnt/x"), "a /mnt/y\n");
}

// The sizes of a file system as "all used".
std::string sizes(long block_size, std::uint64_t blocks, std::uint64_t available) {
    struct statfs figures = {};
    figures.f_bsize = block_size;
    figures.f_blocks = blocks;
    figures.f_bfree = available + 100000; // for root alone
    figures.f_bavail = available;
    fs_info fs;
    set_sizes(figures, fs);
    return format_text("%llu %llu", static_cast<unsigned long long>(fs.allsize),
                       static_cast<unsigned long long>(fs.usedsize));
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

TEST(Registers, OfOtherLayoutsFillTheRestThemselves) {
    fs_list list;
    parse_register("LABEL=x /mnt/x xfs\nLABEL=y /mnt/y\n", list,
                   [](fs_info& fs, std::string_view word) { fs.device = word.substr(6); });
    ASSERT_THAT(list, SizeIs(1));
    EXPECT_EQ(list.begin()->device, "x");
    EXPECT_EQ(list.begin()->name, "");
    EXPECT_EQ(list.begin()->mntpoint, "/mnt/x");
    EXPECT_EQ(list.begin()->fstype, "xfs");
}

} // namespace
} // namespace zav::test
