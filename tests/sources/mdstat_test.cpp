// SPDX-License-Identifier: MIT
// /proc/mdstat: the names of arrays, the progress of rebuilds.
#include "base/text.h"
#include "sources/mdstat.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ArrayNames, AreWhatStandsBeforeTheColonOfEachMdLine) {
    EXPECT_THAT(
        parse_mdstat_names("Personalities : [raid1] [raid6]\n"
                           "md1 : active raid5 sdc[3] sdb[1] sda[0]\n"
                           "      2453504 blocks super 1.2 level 5 [3/3] [UUU]\n"
                           "      [>....]  recovery =  0.5% (1/2) finish=3min speed=6K/sec\n"
                           "      bitmap: 0/1 pages [0KB], 16384KB chunk\n"
                           "\n"
                           "md0 : inactive sda[0](S)\n"
                           "unused devices: <none>\n"),
        ElementsAre("md1", "md0"));
}

TEST(ArrayNames, LoseSurroundingBlanks) {
    EXPECT_THAT(parse_mdstat_names("  \tmd3  : active raid1\nmd4:active\n"),
                ElementsAre("md3", "md4"));
}

TEST(ArrayNames, MayBeAnyPlainTextThatBeginsWithMd) {
    EXPECT_THAT(parse_mdstat_names("md127 : active\nmd_d0 : active\nmd1p2 : active\n"),
                ElementsAre("md127", "md_d0", "md1p2"));
}

TEST(ArrayNames, NeedAColonOnTheirLine) {
    EXPECT_THAT(parse_mdstat_names("md1 active raid5\nmd2\n"), IsEmpty());
}

TEST(ArrayNames, NeedMdAtTheirBeginning) {
    EXPECT_THAT(parse_mdstat_names("Md1 : active\ndm1 : active\n : md2\n"), IsEmpty());
}

TEST(ArrayNames, ThatAreNotPlainAreLeftOut) {
    EXPECT_THAT(parse_mdstat_names("md1;reboot : active\nmd$(reboot) : active\nmd1 2 : active\n"
                                   "md`reboot` : active\nmd/../1 : active\nmd&1 : active\n"
                                   "md'1 : active\nmd1>x : active\nmd\x80 : active\n"),
                IsEmpty());
}

TEST(ArrayNames, StandOnLinesWithCarriageReturnsToo) {
    EXPECT_THAT(parse_mdstat_names("md1\r : active raid5\r\nmd2 : active\r\n"),
                ElementsAre("md1", "md2"));
}

TEST(ArrayNames, MayStandOnALastLineWithoutItsEnd) {
    EXPECT_THAT(parse_mdstat_names("md1 : active"), ElementsAre("md1"));
}

TEST(ArrayNames, AreNotLookedForAfterANul) {
    EXPECT_THAT(parse_mdstat_names(std::string_view("\0md1 : active\nmd2 : active\n", 27)),
                ElementsAre("md2"));
}

TEST(ArrayNames, AreNoneInGarbage) {
    EXPECT_THAT(parse_mdstat_names(""), IsEmpty());
    EXPECT_THAT(parse_mdstat_names(":::::\n\n\n:"), IsEmpty());
    EXPECT_THAT(parse_mdstat_names(std::string(1 << 20, 'x')), IsEmpty());
}

// The progress of md1 with such a line two lines below its own.
std::string progress_on(const std::string& line) {
    return RebuildProgress("md1 : active raid5 sdc[3] sdb[1] sda[0]\n"
                           "      2453504 blocks super 1.2 level 5 [3/2] [UU_]\n" +
                           line + "\n")
        .of("md1");
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

TEST(Progress, TakesTheSpeedAfterBlanks) {
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

// The ratio and the seconds, as text; "none" without them.
std::string details(const std::string& line) {
    const auto found = RebuildProgress("md1 : active\n\n" + line + "\n").details_of("md1");
    return found
               ? format_text("%.3f %lld", found->done, static_cast<long long>(found->seconds_left))
               : "none";
}

TEST(RebuildFigures, AreTheRatioDoneAndTheSecondsLeft) {
    EXPECT_EQ(details("[=>..]  recovery = 12.6% (3/29) finish=127.5min speed=33440K/sec"),
              "0.126 7650");
    EXPECT_EQ(details("[>...]  resync =  0.4% (5/12) finish=3.8min speed=5248K/sec"), "0.004 228");
    EXPECT_EQ(details("[====]  check = 100.0% (5/5) finish=0.0min speed=1K/sec"), "1.000 0");
    EXPECT_EQ(details("[>]  recovery = 7% (5/12) finish=3min speed=5248K/sec"), "0.070 180");
}

TEST(RebuildFigures, HaveNoTimeWhereTheKernelEstimatesNone) {
    EXPECT_EQ(details("[>]  recovery = 1.0% (1/2)"), "0.010 -1");
    EXPECT_EQ(details("[>]  recovery = 1.0% (1/2) finish=3hours"), "0.010 -1");
}

TEST(RebuildFigures, AreNoneOfARebuildThatHasNotBegun) {
    EXPECT_EQ(details("        resync=DELAYED"), "none");
    EXPECT_EQ(details("      bitmap: 0/1 pages [0KB], 16384KB chunk"), "none");
    EXPECT_EQ(details("[>]  recovery = ?% (1/2)"), "none");
    EXPECT_FALSE(RebuildProgress("").details_of("md1"));
}

TEST(RebuildFigures, AreBoundedWhateverTheFileSays) {
    EXPECT_EQ(
        details("[>]  recovery = 99999999999999999999.9% (1/2) finish=99999999999999999999min"),
        "1.000 60000000000");
}

} // namespace
} // namespace zav::test
