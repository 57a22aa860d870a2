// SPDX-License-Identifier: MIT
// The output of smartctl, parsed as identity and health and as attributes. The outputs are
// described in smart_outputs/README.md.
#include "sources/smart_outputs.h"
#include "sources/smartctl.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<std::string> summary_of(const std::string& output) {
    return fields(parse_smart_summary(output));
}

std::vector<std::string> attributes_of(const std::string& output) {
    smart_attribute_list list;
    parse_smart_attributes(output, list);
    return rows(list);
}

constexpr char available[] = "Available - device has SMART capability.";
constexpr char large_capacity[] = "2,000,398,934,016 bytes [2.00 T"; // of "[2.00 TB]"

TEST(SmartSummary, OfADiskHasIdentitySupportAndHealth) {
    EXPECT_THAT(summary_of(smart_output("old_sata_healthy")),
                ElementsAre("EMULATED SATA DISK", "EMU0101", "EF01", "500,107,862,016 bytes", "8",
                            "ATA-8-ACS revision 4", available, "Enabled", "PASSED"));
}

TEST(SmartSummary, OfANewerSmartctlHasNoAtaStandard) {
    EXPECT_THAT(summary_of(smart_output("sata_healthy")),
                ElementsAre("EMULATED SATA DISK", "EMU0001", "EF01", large_capacity, "ATA8-AC", "",
                            available, "Enabled", "PASSED"));
}

TEST(SmartSummary, OfASolidStateDiskHasItsModelCutToItsField) {
    EXPECT_THAT(summary_of(smart_output("ssd")),
                ElementsAre("EMULATED SOLID STATE DISK 240GB", "EMU0004", "ES02.10A",
                            "240,057,409,536 bytes [240 GB]", "ACS-4 T", "", available, "Enabled",
                            "PASSED"));
}

TEST(SmartSummary, IsTheSameInTheOutputWithAttributes) {
    for (const char* name : {"sata_healthy", "sata_failing", "ssd", "old_sata_healthy"}) {
        EXPECT_EQ(summary_of(smart_output(std::string(name) + "_attributes")),
                  summary_of(smart_output(name)))
            << name;
    }
}

TEST(SmartSummary, OfAFailingDiskSaysSo) {
    for (const char* name : {"sata_failing", "sata_failing_attributes",
                             "old_sata_failing_attributes", "health_only"}) {
        EXPECT_EQ(parse_smart_summary(smart_output(name)).health, "FAILED!") << name;
    }
}

TEST(SmartSummary, OfADiskThatWasInDangerOnceHasPassed) {
    EXPECT_EQ(parse_smart_summary(smart_output("sata_marginal_attributes")).health, "PASSED");
}

TEST(SmartSummary, OfADiskWithSmartSwitchedOffSaysSo) {
    const smart_summary summary = parse_smart_summary(smart_output("smart_disabled_attributes"));
    EXPECT_EQ(summary.support, available);
    EXPECT_EQ(summary.support_enabled, "Disabled");
}

TEST(SmartSummary, OfADiskWithoutSmartHasOneSupportLineAndNoHealth) {
    EXPECT_THAT(summary_of(smart_output("smart_unavailable")),
                ElementsAre("EMULATED DISK WITHOUT SMART", "EMU0006", "EF00",
                            "137,438,953,472 bytes [137 GB]", "ATA8-AC", "",
                            "Unavailable - device lacks SMART capability.", "", ""));
}

TEST(SmartSummary, OfADiskWithoutAnIdentityIsWhatSmartctlSays) {
    EXPECT_THAT(summary_of(smart_output("no_identity")),
                ElementsAre("[No Information Found]", "[No Information Found]", "[No Information",
                            "", "[No Inf", "",
                            "Ambiguous - ATA IDENTIFY DEVICE words 82-83 don't show if SMART",
                            "Ambiguous - ATA", ""));
}

TEST(SmartSummary, IsFoundAfterRemarksOfPermissiveMode) {
    EXPECT_THAT(summary_of(smart_output("old_permissive_noise_attributes")),
                ElementsAre("EMULATED SATA DISK", "EMU0103", "EF01", "500,107,862,016 bytes", "8",
                            "ATA-8-ACS revision 4", available, "Enabled", "PASSED"));
    EXPECT_THAT(summary_of(smart_output("bad_checksums_attributes")),
                ElementsAre("EMULATED SATA DISK", "EMU0007", "EF01",
                            "500,107,862,016 bytes [500 GB]", "ATA8-AC", "", available, "Enabled",
                            "PASSED"));
}

TEST(SmartSummary, OfHealthAloneHasNothingElse) {
    EXPECT_THAT(summary_of(smart_output("health_only")),
                ElementsAre("", "", "", "", "", "", "", "", "FAILED!"));
}

TEST(SmartSummary, IsEmptyWhenSmartctlSaysNothingOfTheDisk) {
    for (const char* name : {"empty", "unknown_option", "no_such_disk"}) {
        EXPECT_THAT(summary_of(smart_output(name)), AllOf(SizeIs(9), Each(""))) << name;
    }
}

TEST(SmartSummary, ReadsLineEndsOfATerminal) {
    EXPECT_EQ(summary_of(smart_output("crlf_attributes")),
              summary_of(smart_output("old_sata_healthy")));
}

TEST(SmartSummary, IsReadAfterAVeryLongLine) {
    EXPECT_EQ(summary_of(smart_output("long_line_attributes")),
              summary_of(smart_output("sata_healthy")));
}

TEST(SmartSummary, CutsEachValueToItsField) {
    const std::string text(100, 'x');
    const std::string output = "Device Model:" + text + "\nSerial Number:" + text +
                               "\nFirmware Version:" + text + "\nUser Capacity:" + text +
                               "\nATA Version is:" + text + "\nATA Standard is:" + text +
                               "\nSMART support is:" + text + "\nSMART support is:" + text +
                               "\nSMART overall-health self-assessment test result:" + text + "\n";
    const auto cut = [](std::size_t length) { return std::string(length, 'x'); };
    EXPECT_THAT(summary_of(output), ElementsAre(cut(31), cut(31), cut(15), cut(31), cut(7), cut(63),
                                                cut(63), cut(15), cut(15)));
}

TEST(SmartSummary, NeedsTheExactKeyAtTheLinesBeginning) {
    EXPECT_THAT(summary_of("device model: a\nDevice Models: b\nThe Device Model: c\n"
                           "Device  Model: d\nDevice Model e\nSerial: f\nSMART support: g\n"
                           "SMART overall-health self-assessment test: h\n"),
                Each(""));
}

TEST(SmartSummary, TakesTheFirstOfEqualKeysButTwoSupportLines) {
    EXPECT_THAT(summary_of("Device Model: a\nDevice Model: b\n"
                           "SMART support is: c\nSMART support is: d\nSMART support is: e\n"),
                ElementsAre("a", "", "", "", "", "", "c", "d", ""));
}

TEST(SmartSummary, CountsASupportLineWithoutAValue) {
    EXPECT_THAT(summary_of("SMART support is:\nSMART support is: Enabled\n"),
                ElementsAre("", "", "", "", "", "", "", "Enabled", ""));
}

TEST(SmartSummary, ValueRunsToTheLinesEndColonsIncluded) {
    EXPECT_EQ(parse_smart_summary(" \tSerial Number :\t a: b:c  \r\n").serial_number, "a: b:c");
}

/// Eighteen counted lines: 0 to 17.
const std::string lines_above = [] {
    std::string text;
    for (int line = 0; line < 18; ++line) {
        text += "line\n";
    }
    return text;
}();

constexpr char spin_up_row[] = "3 Spin_Up_Time 0x0003 097 096 025 Pre-fail Always - 4015\n";
constexpr char spin_up[] = "3|Spin_Up_Time|97|96|25|-|4015";

TEST(SmartAttributes, AreTheSevenOfAnOlderSmartctlsTable) {
    // Its first row is the first line that is parsed.
    EXPECT_THAT(
        attributes_of(smart_output("old_sata_healthy_attributes")),
        ElementsAre("1|Raw_Read_Error_Rate|117|100|6|-|131427586", "3|Spin_Up_Time|97|96|0|-|4015",
                    "5|Reallocated_Sector_Ct|100|100|36|-|0",
                    "7|Seek_Error_Rate|72|60|30|-|18446744", "10|Spin_Retry_Count|100|100|97|-|0",
                    "11|Calibration_Retry_Count|100|253|0|-|0",
                    "194|Temperature_Celsius|33|45|0|-|33"));
}

TEST(SmartAttributes, AreTheSevenOfANewerSmartctlsTable) {
    // The seek errors' raw value has more than 32 bits, the temperature's has a suffix.
    EXPECT_THAT(attributes_of(smart_output("sata_healthy_attributes")),
                ElementsAre("1|Raw_Read_Error_Rate|118|99|6|-|187654321",
                            "3|Spin_Up_Time|97|97|0|-|0", "5|Reallocated_Sector_Ct|100|100|10|-|0",
                            "7|Seek_Error_Rate|81|60|30|-|4294967295",
                            "10|Spin_Retry_Count|100|100|97|-|0",
                            "11|Calibration_Retry_Count|100|100|0|-|2",
                            "194|Temperature_Celsius|33|45|0|-|33"));
}

TEST(SmartAttributes, ShowWhichOneIsFailing) {
    const auto rows = attributes_of(smart_output("sata_failing_attributes"));
    EXPECT_THAT(rows, SizeIs(7));
    EXPECT_THAT(rows, testing::IsSupersetOf({"5|Reallocated_Sector_Ct|3|3|10|FAILING_NOW|3968",
                                             "10|Spin_Retry_Count|90|90|97|FAILING_NOW|65540"}));
}

TEST(SmartAttributes, ShowWhichOneFailedOnce) {
    EXPECT_THAT(attributes_of(smart_output("sata_marginal_attributes")),
                testing::Contains("194|Temperature_Celsius|48|44|45|In_the_past|33"));
    EXPECT_THAT(attributes_of(smart_output("old_sata_failing_attributes")),
                testing::IsSupersetOf({"3|Spin_Up_Time|97|12|25|In_the_past|4015",
                                       "5|Reallocated_Sector_Ct|1|1|36|FAILING_NOW|2047"}));
}

TEST(SmartAttributes, AreFewerOnASolidStateDisk) {
    EXPECT_THAT(attributes_of(smart_output("ssd_attributes")),
                ElementsAre("5|Reallocated_Sector_Ct|100|100|10|-|0",
                            "194|Temperature_Celsius|67|52|0|-|33"));
}

TEST(SmartAttributes, AreTheSameAfterRemarksAndLongLinesAndWithSmartSwitchedOff) {
    const auto rows = attributes_of(smart_output("sata_healthy_attributes"));
    for (const char* name :
         {"bad_checksums_attributes", "long_line_attributes", "smart_disabled_attributes"}) {
        EXPECT_EQ(attributes_of(smart_output(name)), rows) << name;
    }
    const auto old_rows = attributes_of(smart_output("old_sata_healthy_attributes"));
    for (const char* name : {"old_permissive_noise_attributes", "crlf_attributes"}) {
        EXPECT_EQ(attributes_of(smart_output(name)), old_rows) << name;
    }
}

TEST(SmartAttributes, AreNoneInAnOutputWithoutATable) {
    for (const char* name : {"sata_healthy", "ssd", "smart_unavailable", "old_sata_healthy",
                             "no_identity", "unknown_option", "no_such_disk", "empty"}) {
        EXPECT_THAT(attributes_of(smart_output(name)), IsEmpty()) << name;
    }
}

TEST(SmartAttributes, BeginOnCountedLine18) {
    EXPECT_THAT(attributes_of(lines_above + spin_up_row), ElementsAre(spin_up));
    EXPECT_THAT(attributes_of(lines_above.substr(5) + spin_up_row), IsEmpty());
    // With -H alone, the rows of failed attributes come before line 18.
    EXPECT_THAT(attributes_of(smart_output("health_only")), IsEmpty());
}

TEST(SmartAttributes, AfterEmptyLinesAreCountedWithoutThem) {
    const std::string empty_lines = "\n \n\t\n\r\n \t \r\n";
    EXPECT_THAT(attributes_of(empty_lines + lines_above.substr(5) + empty_lines + spin_up_row),
                IsEmpty());
    EXPECT_THAT(attributes_of(empty_lines + lines_above + empty_lines + spin_up_row + spin_up_row),
                ElementsAre(spin_up, spin_up));
}

TEST(SmartAttributes, AfterALongLineAreCountedByItsPieces) {
    // 17 lines and one of two pieces count as 18; with a line of a single piece, one is missing.
    const std::string sixteen_lines = lines_above.substr(10);
    EXPECT_THAT(attributes_of(sixteen_lines + std::string(254, 'x') + "\n" + spin_up_row),
                IsEmpty());
    EXPECT_THAT(attributes_of(sixteen_lines + std::string(256, 'x') + "\n" + spin_up_row),
                ElementsAre(spin_up));
}

TEST(SmartAttributes, StopAfterSeven) {
    std::string output = lines_above;
    for (int row = 0; row < 8; ++row) {
        output += std::to_string(row) + " Spin_Up_Time\n";
    }
    EXPECT_THAT(attributes_of(output),
                ElementsAre("0|Spin_Up_Time|0|0|0||0", "1|Spin_Up_Time|0|0|0||0",
                            "2|Spin_Up_Time|0|0|0||0", "3|Spin_Up_Time|0|0|0||0",
                            "4|Spin_Up_Time|0|0|0||0", "5|Spin_Up_Time|0|0|0||0",
                            "6|Spin_Up_Time|0|0|0||0"));
}

TEST(SmartAttributes, OfTheOtherElevenNamesAreNeverTaken) {
    for (const char* name :
         {"Start_Stop_Count", "Power_On_Hours", "Power_Cycle_Count", "Unknown_Attribute",
          "Power-Off_Retract_Count", "Load_Cycle_Count", "Reallocated_Event_Count",
          "Current_Pending_Sector", "Offline_Uncorrectable", "UDMA_CRC_Error_Count",
          "Multi_Zone_Error_Rate"}) {
        EXPECT_THAT(attributes_of(lines_above + "4 " + name + " 0x0003 1 2 3 a b - 5\n"), IsEmpty())
            << name;
    }
}

TEST(SmartAttributes, NeedTheExactNameAsTheSecondWord) {
    for (const char* row : {"Spin_Up_Time 0x0003 1 2 3", "3 4 Spin_Up_Time 1 2 3", "3 spin_up_time",
                            "3 Spin_Up_Times", "3 Spin_Up", "3 Spin Up Time", "3Spin_Up_Time"}) {
        EXPECT_THAT(attributes_of(lines_above + row + "\n"), IsEmpty()) << row;
    }
}

TEST(SmartAttributes, AreSplitAtRunsOfBlanksAndTabs) {
    EXPECT_THAT(attributes_of(lines_above + "\t 3  \tSpin_Up_Time\t0x0003\t \t097 096\t025 "
                                            "Pre-fail\tAlways\t-\t4015\t\r\n"),
                ElementsAre(spin_up));
}

TEST(SmartAttributes, HaveNoOtherWhiteSpaceBeforeTheirName) {
    EXPECT_THAT(attributes_of(lines_above + "3 \v\fSpin_Up_Time f 97 96 25 t u - 4015\n"),
                ElementsAre(spin_up));
}

TEST(SmartAttributes, WithMissingColumnsAreTakenAsFarAsTheyGo) {
    EXPECT_THAT(attributes_of(lines_above + "1 Spin_Up_Time\n"
                                            "2 Spin_Up_Time 0x0003\n"
                                            "3 Spin_Up_Time 0x0003 97\n"
                                            "4 Spin_Up_Time 0x0003 97 96 25 Pre-fail\n"
                                            "5 Spin_Up_Time 0x0003 97 96 25 Pre-fail Always\n"
                                            "6 Spin_Up_Time 0x0003 97 96 25 Pre-fail Always -"),
                ElementsAre("1|Spin_Up_Time|0|0|0||0", "2|Spin_Up_Time|0|0|0||0",
                            "3|Spin_Up_Time|97|0|0||0", "4|Spin_Up_Time|97|96|25||0",
                            "5|Spin_Up_Time|97|96|25||0", "6|Spin_Up_Time|97|96|25|-|0"));
}

TEST(SmartAttributes, WithoutNumbersInTheirColumnsHaveZeros) {
    EXPECT_THAT(
        attributes_of(lines_above + "3 Spin_Up_Time 0x0003 --- abc -5 Pre-fail Always - x9\n"),
        ElementsAre("3|Spin_Up_Time|0|0|0|-|0"));
}

TEST(SmartAttributes, TakeTheNumberThatARawValueBeginsWith) {
    EXPECT_THAT(attributes_of(lines_above + "1 Spin_Up_Time f 1 2 3 t u - 4015 (Average 3891)\n"
                                            "2 Spin_Up_Time f 1 2 3 t u - 0/187654321\n"
                                            "3 Spin_Up_Time f 1 2 3 t u - 8031h+12m\n"
                                            "4 Spin_Up_Time f 1 2 3 t u - (33)\n"),
                ElementsAre("1|Spin_Up_Time|1|2|3|-|4015", "2|Spin_Up_Time|1|2|3|-|0",
                            "3|Spin_Up_Time|1|2|3|-|8031", "4|Spin_Up_Time|1|2|3|-|0"));
}

TEST(SmartAttributes, ClampNumbersTo32Bits) {
    EXPECT_THAT(attributes_of(lines_above +
                              "1 Spin_Up_Time f 4294967295 4294967296 99999999999999999999 t u - "
                              "4294967295\n"
                              "2 Spin_Up_Time f 1 2 3 t u - 4294967296\n"
                              "3 Spin_Up_Time f 1 2 3 t u - 18446744073709551616\n"),
                ElementsAre("1|Spin_Up_Time|4294967295|4294967295|4294967295|-|4294967295",
                            "2|Spin_Up_Time|1|2|3|-|4294967295",
                            "3|Spin_Up_Time|1|2|3|-|4294967295"));
}

TEST(SmartAttributes, CutTextsToTheirFields) {
    EXPECT_THAT(
        attributes_of(lines_above + "1234 Spin_Up_Time f 1 2 3 t u FAILING_NOW_AND_LATER 4"),
        ElementsAre("123|Spin_Up_Time|1|2|3|FAILING_NOW_AND|4"));
}

TEST(SmartAttributes, AreAddedToWhatTheListHas) {
    smart_attribute_list list;
    list.append().name = "first";
    parse_smart_attributes(lines_above + spin_up_row, list);
    EXPECT_THAT(rows(list), ElementsAre("|first|0|0|0||0", spin_up));
}

TEST(SmartAttributes, OfAMegabyteOfGarbageAreNone) {
    EXPECT_THAT(attributes_of(std::string(1 << 20, '3')), IsEmpty());
}

} // namespace
} // namespace zav::test
