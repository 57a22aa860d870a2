// SPDX-License-Identifier: MIT
// The attributes of a disk behind the RAID controller, as the controller's tool prints them: a
// name, a colon, then value, worst, threshold and raw value, one of them in parentheses.
#include "disks/smart_sources.h"
#include "smart_outputs.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> attributes_of(const std::string& output) {
    smart_attribute_list list;
    parse_controller_attributes(output, list);
    return rows(list);
}

/// Of one line about one attribute: "value worst threshold raw".
std::string numbers_of(const std::string& values) {
    smart_attribute_list list;
    parse_controller_attributes("Spin Up Time:" + values + "\n", list);
    EXPECT_EQ(list.size(), 1U);
    const smart_attribute& attribute = *list.begin();
    return format_text("%u %u %u %u", attribute.value, attribute.worst, attribute.threshold,
                       attribute.raw);
}

TEST(ControllerAttributes, AreTheSevenWithoutAnIdAndWithoutAFailure) {
    EXPECT_THAT(attributes_of("Raw Read Error Rate     : 118 99 6 (187654321)\n"
                              "Spin Up Time            : 97 96 25 (4015)\n"
                              "Start Stop Count        : 100 100 20 (312)\n"
                              "Reallocated Sector Ct   : 100 100 10 (0)\n"
                              "Seek Error Rate         : 81 60 30 (12345)\n"
                              "Power On Hours          : 86 86 0 (12610)\n"
                              "Spin Retry Count        : 100 100 97 (0)\n"
                              "Calibration Retry Count : 100 100 0 (2)\n"
                              "Temperature Celsius     : 33 45 0 (33)\n"),
                ElementsAre("|Raw Read Error Rate|118|99|6||187654321",
                            "|Spin Up Time|97|96|25||4015", "|Reallocated Sector Ct|100|100|10||0",
                            "|Seek Error Rate|81|60|30||12345", "|Spin Retry Count|100|100|97||0",
                            "|Calibration Retry Count|100|100|0||2",
                            "|Temperature Celsius|33|45|0||33"));
}

TEST(ControllerAttributes, AreTakenFromTheFirstLineOnInTheirOrder) {
    EXPECT_THAT(attributes_of("\nTemperature Celsius:1\nheading\n\nSpin Up Time:2\n"),
                ElementsAre("|Temperature Celsius|1|0|0||0", "|Spin Up Time|2|0|0||0"));
}

TEST(ControllerAttributes, OfTheOtherElevenNamesAreNeverTaken) {
    // One of them is printed with an underscore.
    for (const char* name :
         {"Start Stop Count", "Power On Hours", "Power Cycle Count", "Unknown Attribute",
          "Power-Off Retract_Count", "Power-Off Retract Count", "Load Cycle Count",
          "Reallocated Event Count", "Current Pending Sector", "Offline Uncorrectable",
          "UDMA CRC Error Count", "Multi Zone Error Rate"}) {
        EXPECT_THAT(attributes_of(std::string(name) + ": 1 2 3 (4)\n"), IsEmpty()) << name;
    }
}

TEST(ControllerAttributes, NeedTheExactSpacedName) {
    for (const char* line :
         {"Spin_Up_Time: 1", "spin up time: 1", "Spin  Up Time: 1", "Spin Up Times: 1",
          "3 Spin Up Time: 1", "Spin Up Time 1", ": 1", "Spin Up: Time: 1"}) {
        EXPECT_THAT(attributes_of(std::string(line) + "\n"), IsEmpty()) << line;
    }
}

TEST(ControllerAttributes, NameIsTrimmedAtBothEnds) {
    EXPECT_THAT(attributes_of(" \t Spin Up Time\t \v: 1 2 3 (4) \r\n"),
                ElementsAre("|Spin Up Time|1|2|3||4"));
}

TEST(ControllerAttributes, OfANameWithoutAColonHaveZeros) {
    EXPECT_THAT(attributes_of("Spin Up Time\nSeek Error Rate"),
                ElementsAre("|Spin Up Time|0|0|0||0", "|Seek Error Rate|0|0|0||0"));
}

TEST(ControllerAttributes, ParenthesesMayStandAtEachPlace) {
    for (const char* values : {" 97 96 25 4015", " (97) 96 25 4015", " 97 (96) 25 4015",
                               " 97 96 (25) 4015", " 97 96 25 (4015)", " ( 97 ) 96 25 ( 4015 )"}) {
        EXPECT_EQ(numbers_of(values), "97 96 25 4015") << values;
    }
}

TEST(ControllerAttributes, MissingNumbersAreZeros) {
    EXPECT_EQ(numbers_of(""), "0 0 0 0");
    EXPECT_EQ(numbers_of(" ()"), "0 0 0 0");
    EXPECT_EQ(numbers_of(" ("), "0 0 0 0");
    EXPECT_EQ(numbers_of("97"), "97 0 0 0");
    EXPECT_EQ(numbers_of(" 97 96"), "97 96 0 0");
    EXPECT_EQ(numbers_of(" 97 96 25"), "97 96 25 0");
}

TEST(ControllerAttributes, WordsBetweenTheNumbersArePassedOver) {
    EXPECT_EQ(numbers_of(" value 97, worst 96, threshold 25 (raw 4015)"), "97 96 25 4015");
    EXPECT_EQ(numbers_of(" ok"), "0 0 0 0");
}

TEST(ControllerAttributes, NumbersBehindTheFourthAreLeft) {
    EXPECT_EQ(numbers_of(" 97 96 25 (4015) 7 8"), "97 96 25 4015");
}

TEST(ControllerAttributes, NumbersAreDecimalAndClampedTo32Bits) {
    EXPECT_EQ(numbers_of(" 4294967295 4294967296 010 (99999999999999999999)"),
              "4294967295 4294967295 10 4294967295");
    EXPECT_EQ(numbers_of(" 0x10 33C"), "0 33 0 0");
}

TEST(ControllerAttributes, OnlyTheFirstColonEndsTheName) {
    EXPECT_EQ(numbers_of(" 97 : 96 25 (4015)"), "97 96 25 4015");
}

TEST(ControllerAttributes, StopAfterSevenWithDuplicatesCounted) {
    std::string output;
    for (int line = 1; line <= 8; ++line) {
        output += "Spin Up Time: " + std::to_string(line) + "\n";
    }
    EXPECT_THAT(attributes_of(output),
                ElementsAre("|Spin Up Time|1|0|0||0", "|Spin Up Time|2|0|0||0",
                            "|Spin Up Time|3|0|0||0", "|Spin Up Time|4|0|0||0",
                            "|Spin Up Time|5|0|0||0", "|Spin Up Time|6|0|0||0",
                            "|Spin Up Time|7|0|0||0"));
}

TEST(ControllerAttributes, AreNoneInAnEmptyOutputOrAMegabyteOfGarbage) {
    EXPECT_THAT(attributes_of(""), IsEmpty());
    EXPECT_THAT(attributes_of(std::string(1 << 20, ':')), IsEmpty());
}

TEST(ControllerAttributes, AreAddedToWhatTheListHas) {
    smart_attribute_list list;
    list.append().name = "first";
    parse_controller_attributes("Spin Up Time: 97 96 25 (4015)\n", list);
    EXPECT_THAT(rows(list), ElementsAre("|first|0|0|0||0", "|Spin Up Time|97|96|25||4015"));
}

} // namespace
} // namespace zav::test
