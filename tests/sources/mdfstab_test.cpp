// SPDX-License-Identifier: MIT
// The register of the file systems on pools.
#include "base/text.h"
#include "sources/mdfstab.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Every file system of a register as "name|group|mount point|type".
std::vector<std::string> parsed_mdfstab(std::string_view text) {
    fs_list list;
    parse_mdfstab(text, list);
    std::vector<std::string> systems;
    for (const fs_info& fs : list) {
        EXPECT_EQ(fs.status, "");
        EXPECT_EQ(fs.device, "");
        EXPECT_EQ(fs.allsize.count + fs.usedsize.count, 0U);
        systems.push_back(format_text("%s|%s|%s|%s", fs.name.c_str(), fs.ownername.c_str(),
                                      fs.mntpoint.c_str(), fs.fstype.c_str()));
    }
    return systems;
}

TEST(Mdfstab, HoldsAFileSystemOnEachLineInItsOrder) {
    EXPECT_THAT(
        parsed_mdfstab("/dev/more/b\t/mnt/more/b\txfs\tdefaults\t0 0\n"
                       "/dev/data/a\t/mnt/data/a\treiserfs\tdefaults\t0 0\n"),
        ElementsAre("/dev/more/b|more|/mnt/more/b|xfs", "/dev/data/a|data|/mnt/data/a|reiserfs"));
    EXPECT_THAT(parsed_mdfstab(""), IsEmpty());
}

TEST(Mdfstab, TakesAnyBlanksBetweenItsWords) {
    EXPECT_THAT(parsed_mdfstab(" \t/dev/data/a \t /mnt/data/a  xfs\t\tdefaults \n"),
                ElementsAre("/dev/data/a|data|/mnt/data/a|xfs"));
    EXPECT_THAT(parsed_mdfstab("/dev/data/a /mnt/data/a xfs"),
                ElementsAre("/dev/data/a|data|/mnt/data/a|xfs"));
    EXPECT_THAT(parsed_mdfstab("/dev/data/a /mnt/data/a xfs\r\n"),
                ElementsAre("/dev/data/a|data|/mnt/data/a|xfs"));
}

TEST(Mdfstab, SkipsLinesOfFewerThanThreeWords) {
    EXPECT_THAT(
        parsed_mdfstab(
            "\n \t\n\r\n/dev/data/a\n/dev/data/a /mnt/data/a\n/dev/data/a /mnt/data/a \t\n"),
        IsEmpty());
}

TEST(Mdfstab, KnowsNoComments) {
    EXPECT_THAT(parsed_mdfstab("# a b\n#/dev/data/a /mnt/data/a xfs\n"),
                ElementsAre("#||a|b", "#/dev/data/a|data|/mnt/data/a|xfs"))
        << "five characters in front of the group, whatever they are";
}

TEST(Mdfstab, FindsTheGroupAfterTheFirstFiveCharacters) {
    EXPECT_THAT(
        parsed_mdfstab("/dev//data//a m t\n/abc/data/a m t\nshort m t\nmore_data m t\n/dev/ m t\n"),
        ElementsAre("/dev//data//a|data|m|t", "/abc/data/a|data|m|t", "short||m|t",
                    "more_data|data|m|t", "/dev/||m|t"));
}

TEST(Mdfstab, CutsWhatIsTooLongForItsField) {
    const std::string path = "/dev/" + std::string(40, 'g') + "/" + std::string(90, 'p');
    const std::string line = path + " /" + std::string(80, 'm') + " t2345678901234567";
    ASSERT_LT(line.size(), 255U);
    EXPECT_THAT(parsed_mdfstab(line),
                ElementsAre(path.substr(0, 127) + "|" + std::string(32, 'g') + "|/" +
                            std::string(80, 'm') + "|t23456789012345"));
    EXPECT_THAT(parsed_mdfstab("/dev/g/p " + std::string(128, 'm') + " xfs"),
                ElementsAre("/dev/g/p|g|" + std::string(127, 'm') + "|xfs"));
}

TEST(Mdfstab, ReadsALongLineInPiecesOf255Characters) {
    const std::string start = "/dev/data/a /mnt/data/a xfs ";
    const std::string filler(255 - start.size(), 'x');
    EXPECT_THAT(
        parsed_mdfstab(start + filler + "/dev/data/b /mnt/data/b xfs\n"),
        ElementsAre("/dev/data/a|data|/mnt/data/a|xfs", "/dev/data/b|data|/mnt/data/b|xfs"));
    EXPECT_THAT(
        parsed_mdfstab(start + filler + "y z\n/dev/data/c /mnt/data/c xfs\n"),
        ElementsAre("/dev/data/a|data|/mnt/data/a|xfs", "/dev/data/c|data|/mnt/data/c|xfs"));
}

TEST(Mdfstab, EndsALineAtANul) {
    using namespace std::string_view_literals;
    EXPECT_THAT(
        parsed_mdfstab("/dev/data/a /mnt/data/a x\0fs b\n/dev/data/b /mnt/data/b\0 xfs\n"sv),
        ElementsAre("/dev/data/a|data|/mnt/data/a|x"));
}

} // namespace
} // namespace zav::test
