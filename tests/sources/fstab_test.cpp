// SPDX-License-Identifier: MIT
// The layout of the registers of file systems.
#include "sources/fstab.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::SizeIs;

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
