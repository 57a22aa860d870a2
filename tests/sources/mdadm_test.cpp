// SPDX-License-Identifier: MIT
// Values in mdadm's details.
#include "sources/mdadm.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

constexpr std::string_view detail = "/dev/md1:\n"
                                    "        Raid Level : raid5\n"
                                    "     Used Dev Size : 1226752 (1198.00 MiB 1256.19 MB)\n"
                                    "     Creation Time : Fri Nov 20 23:55:20 2026\n"
                                    "             State : clean, degraded \r\n"
                                    "    Number   Major   Minor   RaidDevice State\n";

TEST(DetailValue, IsTheTextAfterTheColonWithoutBlanks) {
    EXPECT_EQ(parse_detail_value(detail, "Raid Level"), "raid5");
    EXPECT_EQ(parse_detail_value(detail, "State"), "clean, degraded");
}

TEST(DetailValue, EndsAtAFurtherColon) {
    EXPECT_EQ(parse_detail_value(detail, "Creation Time"), "Fri Nov 20 23");
}

TEST(DetailValue, NeedsTheWholeKey) {
    EXPECT_EQ(parse_detail_value(detail, "Dev Size"), std::nullopt);
    EXPECT_EQ(parse_detail_value(detail, "raid level"), std::nullopt);
    EXPECT_EQ(parse_detail_value(detail, "Array Size"), std::nullopt);
}

TEST(DetailValue, IsTakenFromTheFirstLineWithTheKey) {
    EXPECT_EQ(parse_detail_value("State : clean\nState : active\n", "State"), "clean");
}

TEST(DetailValue, IsEmptyWhenNothingStandsAfterTheColon) {
    EXPECT_EQ(parse_detail_value("State :\n", "State"), "");
}

TEST(Rebuilding, IsSaidByTheWordRecoveringOrResyncing) {
    EXPECT_TRUE(is_rebuilding("clean, degraded, recovering"));
    EXPECT_TRUE(is_rebuilding("active, resyncing"));
    EXPECT_TRUE(is_rebuilding("recovering"));
    EXPECT_TRUE(is_rebuilding("recovering,clean"));
}

TEST(Rebuilding, IsNotSaidByOtherWords) {
    EXPECT_FALSE(is_rebuilding(""));
    EXPECT_FALSE(is_rebuilding("clean, degraded"));
    EXPECT_FALSE(is_rebuilding("clean, reshaping"));
    EXPECT_FALSE(is_rebuilding("clean, checking"));
    EXPECT_FALSE(is_rebuilding("clean, Recovering"));
    EXPECT_FALSE(is_rebuilding("clean, recoverings"));
    EXPECT_FALSE(is_rebuilding("clean, notrecovering"));
}

TEST(Rebuilding, IsSaidByAWordThatABracketFollows) {
    EXPECT_TRUE(is_rebuilding("clean, resyncing(PENDING)"));
    EXPECT_TRUE(is_rebuilding("clean, resyncing(DELAYED)"));
    EXPECT_TRUE(is_rebuilding("recovering("));
}

TEST(Rebuilding, CutsAWordAtItsLastBracketOnly) {
    EXPECT_FALSE(is_rebuilding("recovering(1)(2)"));
}

} // namespace
} // namespace zav::test
