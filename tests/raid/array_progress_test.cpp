// SPDX-License-Identifier: MIT
// Which arrays are being rebuilt, and how far the rebuild is.
#include "raid/array_sources.h"

#include <gmock/gmock.h>

namespace zav {
namespace {

// The progress of md1 with such a line two lines below its own.
std::string progress_on(const std::string& line) {
    return RebuildProgress("md1 : active raid5 sdc[3] sdb[1] sda[0]\n"
                           "      2453504 blocks super 1.2 level 5 [3/2] [UU_]\n" +
                           line + "\n")
        .of("md1");
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

TEST(Progress, HasPercentAndWholeMegabytesPerSecond) {
    EXPECT_EQ(progress_on("      [==>......]  recovery = 12.6% (123/456) finish=12.3min "
                          "speed=12345K/sec"),
              "12.6%(12.00MB/s)");
}

TEST(Progress, CountsRunsOfBlanksAsOne) {
    EXPECT_EQ(
        progress_on("[>...]     recovery    =    0.5%  (1/2)  finish=3.0min   speed=6656K/sec"),
        "0.5%(6.00MB/s)");
}

TEST(Progress, IsShownForAResyncToo) {
    EXPECT_EQ(progress_on("[>...]  resync =  0.4% (5248/1226752) finish=3.8min speed=5248K/sec"),
              "0.4%(5.00MB/s)");
}

TEST(Progress, DropsWhatIsLeftOfAMegabyte) {
    EXPECT_EQ(progress_on("[>]  recovery = 1.0% (1/2) finish=3min speed=1023K/sec"),
              "1.0%(0.00MB/s)");
    EXPECT_EQ(progress_on("[>]  recovery = 1.0% (1/2) finish=3min speed=1024K/sec"),
              "1.0%(1.00MB/s)");
    EXPECT_EQ(progress_on("[>]  recovery = 1.0% (1/2) finish=3min speed=2047K/sec"),
              "1.0%(1.00MB/s)");
}

TEST(Progress, TakesTheSpeedBehindBlanks) {
    EXPECT_EQ(progress_on("[>]  recovery = 1.0% (1/2) finish=3min speed=\t2048K/sec"),
              "1.0%(2.00MB/s)");
}

TEST(Progress, HasNoSpeedWithoutANumber) {
    EXPECT_EQ(progress_on("[>]  recovery = 1.0% (1/2) finish=3min speed=fast"), "1.0%(0.00MB/s)");
}

TEST(Progress, IsThePercentAloneWithoutASpeedField) {
    EXPECT_EQ(progress_on("[>]  recovery = 1.0% (1/2) finish=3min"), "1.0");
    EXPECT_EQ(progress_on("[>]  recovery = 1.0% (1/2) finish=3min 2048K/sec"), "1.0");
}

TEST(Progress, IsEmptyWhileTheRebuildWaits) {
    EXPECT_EQ(progress_on("      resync=DELAYED"), "");
    EXPECT_EQ(progress_on("      resync=PENDING"), "");
}

TEST(Progress, IsEmptyWhenThePercentIsGluedToTheSign) {
    EXPECT_EQ(progress_on("      [====]  recovery =100.0% (2/2) finish=0.0min speed=12345K/sec"),
              "");
}

TEST(Progress, IsEmptyOnALineThatIsNoProgressLine) {
    EXPECT_EQ(progress_on(""), "");
    EXPECT_EQ(progress_on("      "), "");
    EXPECT_EQ(progress_on("      bitmap: 1/1 pages [4KB], 16384KB chunk"), "");
    EXPECT_EQ(progress_on("unused devices: <none>"), "");
}

TEST(Progress, TakesAtMost31CharactersOfThePercent) {
    EXPECT_EQ(progress_on("[>]  recovery = " + std::string(40, '1') + "% (1/2)"),
              std::string(31, '1'));
}

TEST(Progress, KeepsACommaThatALocaleMade) {
    EXPECT_EQ(progress_on("[>]  recovery = 12,6% (1/2) finish=3min speed=12345K/sec"),
              "12,6%(12.00MB/s)");
}

TEST(Progress, DoesNotMindASpeedThatDoesNotFit) {
    EXPECT_EQ(progress_on("[>]  recovery = 1.0% (1/2) finish=3min speed=" + std::string(40, '9')),
              "1.0%(18014398509481984.00MB/s)");
}

TEST(Progress, StandsTwoLinesBelowTheArraysLine) {
    EXPECT_EQ(RebuildProgress("md1 : active raid5\n"
                              "[>]  recovery = 1.0% (1/2) finish=3min speed=1024K/sec\n"
                              "[>]  recovery = 2.0% (1/2) finish=3min speed=1024K/sec\n"
                              "[>]  recovery = 3.0% (1/2) finish=3min speed=1024K/sec\n")
                  .of("md1"),
              "2.0%(1.00MB/s)");
}

TEST(Progress, IsFoundByTheWholeName) {
    const std::string lines = "\n[>]  recovery = 1.0% (1/2) finish=3min speed=1024K/sec\n";
    EXPECT_EQ(RebuildProgress("md10 : active\n" + lines).of("md1"), "");
    EXPECT_EQ(RebuildProgress("md1   : active\n" + lines).of("md1"), "1.0%(1.00MB/s)");
    EXPECT_EQ(RebuildProgress("md1: active\n" + lines).of("md1"), "1.0%(1.00MB/s)");
    EXPECT_EQ(RebuildProgress(" md1 : active\n" + lines).of("md1"), "");
    EXPECT_EQ(RebuildProgress("md1 active\n" + lines).of("md1"), "");
}

TEST(Progress, OfEachArrayIsItsOwn) {
    const RebuildProgress progress("md1 : active raid5\n"
                                   "      blocks\n"
                                   "[>]  recovery = 1.0% (1/2) finish=3min speed=1024K/sec\n"
                                   "\n"
                                   "md2 : active raid5\n"
                                   "      blocks\n"
                                   "[>]  recovery = 2.0% (1/2) finish=3min speed=2048K/sec\n");
    EXPECT_EQ(progress.of("md1"), "1.0%(1.00MB/s)");
    EXPECT_EQ(progress.of("md2"), "2.0%(2.00MB/s)");
}

TEST(Progress, IsTakenFromTheFirstLineOfTheName) {
    EXPECT_EQ(RebuildProgress("md1 : active\n\n[>]  recovery = 1.0% (1/2) a speed=1024K/sec\n"
                              "md1 : active\n\n[>]  recovery = 2.0% (1/2) a speed=2048K/sec\n")
                  .of("md1"),
              "1.0%(1.00MB/s)");
}

TEST(Progress, IsEmptyWhenTheFileEndsBeforeItsLine) {
    EXPECT_EQ(RebuildProgress("").of("md1"), "");
    EXPECT_EQ(RebuildProgress("md1 : active raid5\n").of("md1"), "");
    EXPECT_EQ(RebuildProgress("md1 : active raid5\n      blocks\n").of("md1"), "");
}

TEST(Progress, MayStandOnALastLineWithoutItsEnd) {
    EXPECT_EQ(
        RebuildProgress("md1 : active\n\n[>]  recovery = 1.0% (1/2) a speed=1024K/sec").of("md1"),
        "1.0%(1.00MB/s)");
}

TEST(Progress, IsReadFromLinesWithCarriageReturns) {
    EXPECT_EQ(RebuildProgress("md1\r : active\r\n\r\n[>]  recovery = 1.0% (1/2) a speed=1024K\r\n")
                  .of("md1"),
              "1.0%(1.00MB/s)");
}

} // namespace
} // namespace zav
