// SPDX-License-Identifier: MIT
// The list of hot spares.
#include "fixtures/disk_root.h"
#include "sources/hotspare.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Optional;

TEST(HotSpareList, HasTheNamesAfterItsKey) {
    EXPECT_THAT(parse_hotspare_list("Global hotspare disk: sda sdb\n"),
                Optional(ElementsAre("sda", "sdb")));
}

TEST(HotSpareList, IsFoundAmongOtherLines) {
    EXPECT_THAT(parse_hotspare_list("hotspare 1.0\n\n  Global hotspare disk : sdc \r\nend\n"),
                Optional(ElementsAre(":", "sdc")));
}

TEST(HotSpareList, FirstLineWithTheKeyCounts) {
    EXPECT_THAT(parse_hotspare_list("Global hotspare disk: sda\nGlobal hotspare disk: sdb\n"),
                Optional(ElementsAre("sda")));
}

TEST(HotSpareList, IsMissingWithoutTheExactKey) {
    for (const char* output :
         {"", "Global hotspare disks: sda\n", "global hotspare disk: sda\n", "sda sdb\n",
          "Hotspare: Global hotspare disk: sda\n", "Global hotspare disk sda\n"}) {
        EXPECT_EQ(parse_hotspare_list(output), std::nullopt) << output;
    }
}

TEST(HotSpareList, WithoutNamesIsEmpty) {
    EXPECT_THAT(parse_hotspare_list("Global hotspare disk:\n"), Optional(IsEmpty()));
    EXPECT_THAT(parse_hotspare_list("Global hotspare disk"), Optional(IsEmpty()));
}

TEST(HotSpareList, KeepsSixteenNames) {
    EXPECT_THAT(parse_hotspare_list("Global hotspare disk: a b c d e f g h i j k l m n o p q r\n"),
                Optional(ElementsAre("a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l",
                                     "m", "n", "o", "p")));
}

TEST(HotSpareList, CutsNamesToFiveCharacters) {
    EXPECT_THAT(parse_hotspare_list("Global hotspare disk: sdabc sdabcd\n"),
                Optional(ElementsAre("sdabc", "sdabc")));
}

TEST(HotSpareList, LineIsCutTo80Characters) {
    // The key has 22 characters, each of 14 names 4 with its blank: the 15th has 79 to 81.
    std::string line = "Global hotspare disk: ";
    std::vector<std::string> expected;
    for (char letter = 'a'; letter < 'o'; ++letter) {
        expected.push_back(std::string("sd") + letter);
        line += expected.back() + " ";
    }
    expected.emplace_back("sd");
    EXPECT_THAT(parse_hotspare_list(line + "sdo sdp\n"), Optional(ElementsAreArray(expected)));
}

TEST(HotSpareList, NamesAreSplitAtBlanksOnly) {
    EXPECT_THAT(parse_hotspare_list("Global hotspare disk:  sda   sdb\tx\n"),
                Optional(ElementsAre("sda", "sdb\tx")));
}

} // namespace
} // namespace zav::test
