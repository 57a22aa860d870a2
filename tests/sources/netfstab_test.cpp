// SPDX-License-Identifier: MIT
// The register of network disks.
#include "sources/netfstab.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Every disk as "label|mount point|type|owner|device|status|size|used".
std::vector<std::string> parsed_netfstab(std::string_view text) {
    fs_list list;
    parse_netfstab(text, list);
    std::vector<std::string> disks;
    for (const fs_info& fs : list) {
        std::string disk = fs.name.c_str();
        for (const char* field : {fs.mntpoint.c_str(), fs.fstype.c_str(), fs.ownername.c_str(),
                                  fs.device.c_str(), fs.status.c_str()}) {
            disk += std::string("|") + field;
        }
        disks.push_back(disk + "|" + std::to_string(fs.allsize.count) + "|" +
                        std::to_string(fs.usedsize.count));
    }
    return disks;
}

TEST(NetfstabParser, TakesTheLineThatIsWritten) {
    EXPECT_THAT(parsed_netfstab("LABEL=disk\t/mnt/netdisk/disk\txfs\tdefaults\t0 0\n"),
                ElementsAre("disk|/mnt/netdisk/disk|xfs|netdisk|5||0|0"));
}

TEST(NetfstabParser, KeepsTheOrderOfTheLines) {
    EXPECT_THAT(parsed_netfstab("LABEL=b /mnt/netdisk/b reiserfs\nLABEL=a /mnt/netdisk/a xfs\n"),
                ElementsAre("b|/mnt/netdisk/b|reiserfs|netdisk|5||0|0",
                            "a|/mnt/netdisk/a|xfs|netdisk|5||0|0"));
}

TEST(NetfstabParser, AddsToTheList) {
    fs_list list;
    parse_netfstab("LABEL=a /mnt/netdisk/a xfs\n", list);
    parse_netfstab("LABEL=b /mnt/netdisk/b xfs\n", list);
    EXPECT_EQ(list.size(), 2U);
}

TEST(NetfstabParser, TakesSixCharactersOffTheFirstWordWhateverTheyAre) {
    EXPECT_THAT(
        parsed_netfstab("UUID=12345 /mnt/netdisk/a xfs\nlabel=b /mnt/netdisk/b xfs\n"
                        "LABEL= /mnt/netdisk/c xfs\n# /mnt/netdisk/d xfs\n"),
        ElementsAre("2345|/mnt/netdisk/a|xfs|netdisk|5||0|0", "b|/mnt/netdisk/b|xfs|netdisk|5||0|0",
                    "|/mnt/netdisk/c|xfs|netdisk|5||0|0", "|/mnt/netdisk/d|xfs|netdisk|5||0|0"));
}

TEST(NetfstabParser, TakesTheOwnerFromWhatFollowsFiveCharactersOfTheMountPoint) {
    EXPECT_THAT(parsed_netfstab("LABEL=a /srv/data/a xfs\nLABEL=b /mnt xfs\nLABEL=c /mnt/ xfs\n"
                                "LABEL=d /mnt//own//d xfs\n"),
                ElementsAre("a|/srv/data/a|xfs|data|5||0|0", "b|/mnt|xfs||5||0|0",
                            "c|/mnt/|xfs||5||0|0", "d|/mnt//own//d|xfs|own|5||0|0"));
}

TEST(NetfstabParser, PassesOverLinesOfFewerThanThreeWords) {
    EXPECT_THAT(parsed_netfstab(""), IsEmpty());
    EXPECT_THAT(
        parsed_netfstab("\n \t \nLABEL=a\nLABEL=a /mnt/netdisk/a\nLABEL=a /mnt/netdisk/a \n"),
        IsEmpty());
}

TEST(NetfstabParser, TakesOddSpacingAndALineWithoutALineFeed) {
    EXPECT_THAT(parsed_netfstab(" \tLABEL=a \t /mnt/netdisk/a\t\txfs"),
                ElementsAre("a|/mnt/netdisk/a|xfs|netdisk|5||0|0"));
}

TEST(NetfstabParser, CutsWhatIsLongerThanItsField) {
    const std::string label(150, 'l');
    EXPECT_THAT(parsed_netfstab("LABEL=" + label + " /m/" + std::string(30, 'm') + " " +
                                std::string(19, 't') + "\n"),
                ElementsAre(label.substr(0, 127) + "|/m/" + std::string(30, 'm') + "|" +
                            std::string(15, 't') + "|" + std::string(28, 'm') + "|5||0|0"));
}

} // namespace
} // namespace zav::test
