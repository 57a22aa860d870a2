// SPDX-License-Identifier: MIT
// The output of the RAID controller's tool: disks, arrays, health.
#include "fixtures/disk_root.h"
#include "sources/smart_outputs.h"
#include "sources/vexadm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> scan(const std::string& output) {
    disk_list list;
    parse_controller_scan(output, list);
    return rows(list);
}

TEST(ControllerScan, HasADiskOnEachLine) {
    EXPECT_THAT(scan("Slot/Model/Size(GB)/Status/Usage\n"
                     "================================\n"
                     "0 /DISK-A/931/Online/RAID md0\n"
                     "7 /DISK B/1862/Failed/Free\n"),
                ElementsAre("|1|931|Online|DISK-A|RAID md0|0|0", "|8|1862|Failed|DISK B|Free|0|0"));
}

TEST(ControllerScan, ModelStatusAndUsageAreTrimmed) {
    EXPECT_THAT(scan("  3   / DISK-A  / 931 GB / Online / RAID 5 \r\n"),
                ElementsAre("|4|931|Online|DISK-A|RAID 5|0|0"));
}

TEST(ControllerScan, EmptySlotsAreLeftOut) {
    EXPECT_THAT(scan("0 / N.A. /0/N.A./N.A.\n1 /N.A.X/5/on/x\n"),
                ElementsAre("|2|5|on|N.A.X|x|0|0"));
}

TEST(ControllerScan, HotSparesAreMarked) {
    EXPECT_THAT(scan("0 /D/5/on/ Hot Spare \n1 /D/5/on/hot spare\n2 /D/5/on/Hot Spares\n"),
                ElementsAre("|1|5|on|D|Hot Spare|0|1", "|2|5|on|D|hot spare|0|0",
                            "|3|5|on|D|Hot Spares|0|0"));
}

TEST(ControllerScan, UsageRunsToTheLinesEnd) {
    EXPECT_THAT(scan("0 /D/5/on/RAID/5/x\n"), ElementsAre("|1|5|on|D|RAID/5/x|0|0"));
}

TEST(ControllerScan, LinesThatBeginWithAnEqualSignAreLeftOut) {
    EXPECT_THAT(scan("=0 /D/5/on/x\n= 0 /D/5/on/x\n"), IsEmpty());
}

TEST(ControllerScan, LinesWithoutANumberAreLeftOut) {
    EXPECT_THAT(scan("\nslot /D/5/on/x\n-1 /D/5/on/x\n0x1 /D/5/on/x\n1a /D/5/on/x\n"), IsEmpty());
}

TEST(ControllerScan, MissingFieldsStayEmpty) {
    EXPECT_THAT(scan("0 /D\n1 /D/7\n2 /D/7/on\n"),
                ElementsAre("|1|0||D||0|0", "|2|7||D||0|0", "|3|7|on|D||0|0"));
}

TEST(ControllerScan, LongTextsAreCutToTheirFields) {
    const std::string text(60, 'x');
    const std::string cut(31, 'x');
    EXPECT_THAT(scan("0 /" + text + "/5/" + text + "/" + text + "\n"),
                ElementsAre("|1|5|" + cut + "|" + cut + "|" + cut + "|0|0"));
}

TEST(ControllerScan, HugeNumbersAreClamped) {
    EXPECT_THAT(scan("99999999999999999999 /D/99999999999999999999/on/x\n"),
                ElementsAre("|2147483647|18446744073709551615|on|D|x|0|0"));
}

TEST(ControllerScan, RestOfALineBeyond255CharactersIsALineOfItsOwn) {
    const std::string first = "0 /D/5/on/" + std::string(245, 'u');
    EXPECT_THAT(scan(first + "1 /E/6/on/v\n"),
                ElementsAre("|1|5|on|D|" + std::string(31, 'u') + "|0|0", "|2|6|on|E|v|0|0"));
}

// An example of the controller's scan.
constexpr const char* array_scan = "RAID arrays\n"
                                   "Name /Level/Disks/Status/Size/Device/Members\n"
                                   "md9 /5/3/before the table/1/sdz/#9\n"
                                   "  ==========  \n"
                                   "md0 /5/3/Normal /1862 /sda/ #1 #2 #3\n"
                                   "   \t \n"
                                   "md1 /0/2/ Degraded now/931/sdb/#4,#5\n"
                                   "==========\n"
                                   "Disks in no array: 2\n"
                                   "md2 /6/4/Normal/100/sdc/#6 spare #7\n";

class ControllerArrays : public testing::Test {
  protected:
    void parse(std::string_view text) { parse_controller_arrays(text, list); }
    [[nodiscard]] mdinfo& only() {
        EXPECT_EQ(list.size(), 1U);
        return *list.begin();
    }
    mdinfo_list list;
};

TEST_F(ControllerArrays, AreTheMdLinesAfterTheFirstRule) {
    parse(array_scan);
    std::vector<std::string> names;
    for (const mdinfo& array : list) {
        names.emplace_back(array.name.view());
    }
    EXPECT_THAT(names, ElementsAre("md0", "md1", "md2"));
}

TEST_F(ControllerArrays, HaveTheirFieldsBetweenSlashes) {
    parse("=\nmd0 /5/3/Normal /1862 /sda/ #1 #2 #3\n");
    EXPECT_EQ(only().name, "md0");
    EXPECT_EQ(only().type, "raid5");
    EXPECT_EQ(only().status, "Normal");
    EXPECT_EQ(only().allsize.count, 1862U);
    EXPECT_EQ(only().device, "sda");
    EXPECT_EQ(only().members, "1,2,3");
}

TEST_F(ControllerArrays, HaveNoUsedSizeSparesOrProgress) {
    parse(array_scan);
    for (const mdinfo& array : list) {
        EXPECT_EQ(array.usedsize.count, 0U);
        EXPECT_EQ(array.spare, "");
        EXPECT_EQ(array.progress, "");
    }
}

TEST_F(ControllerArrays, HaveValuesThatEndAtTheFirstBlank) {
    parse("=\nmd0 / 5 x/3/ Degraded now/ 931 GB/ sdb x/#1\n");
    EXPECT_EQ(only().type, "raid5");
    EXPECT_EQ(only().status, "Degraded");
    EXPECT_EQ(only().allsize.count, 931U);
    EXPECT_EQ(only().device, "sdb");
}

TEST_F(ControllerArrays, HaveOnlyMembersThatBeginWithTheSign) {
    parse("=\nmd0 /5/3/N/1/sda/#6 spare x#8 #7\n");
    EXPECT_EQ(only().members, "6,7");
}

TEST_F(ControllerArrays, KeepAllOfAMemberWord) {
    parse("=\nmd0 /5/3/N/1/sda/#4,#5 #6\n");
    EXPECT_EQ(only().members, "4,#5,6");
}

TEST_F(ControllerArrays, AreCutToTheirFields) {
    parse("=\nmd0 /" + std::string(10, '5') + "/3/" + std::string(60, 's') + "/1/" +
          std::string(9, 'd') + "/#1\n");
    EXPECT_EQ(only().type, "raid555");
    EXPECT_EQ(only().status, std::string(47, 's'));
    EXPECT_EQ(only().device, std::string(7, 'd'));
}

TEST_F(ControllerArrays, MayLackTheirLastFields) {
    parse("=\nmd0 /5\n");
    EXPECT_EQ(only().type, "raid5");
    EXPECT_EQ(only().status, "");
    EXPECT_EQ(only().allsize.count, 0U);
    EXPECT_EQ(only().members, "");
}

TEST_F(ControllerArrays, MayBeIndented) {
    parse("=\n  \tmd0 /5/3/N/1/sda/#1\r\n");
    EXPECT_EQ(only().name, "md0");
    EXPECT_EQ(only().members, "1");
}

TEST_F(ControllerArrays, WithNamesThatAreNotPlainAreLeftOut) {
    parse("=\nmd0;reboot /5/3/N/1/sda/#1\nmd$(reboot) /5/3/N/1/sda/#1\n");
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(ControllerArrays, AreNoneWithoutARule) {
    parse("md0 /5/3/N/1/sda/#1\n= =\n=x\nmd1 /5/3/N/1/sda/#1\n");
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(ControllerArrays, DoNotBeginAfterAnEmptyLine) {
    parse("\n \t \nmd0 /5/3/N/1/sda/#1\n");
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(ControllerArrays, AreNoneInGarbage) {
    parse("");
    parse("=\n////\n#\n\n" + std::string(1 << 20, '/'));
    EXPECT_THAT(list, IsEmpty());
}

std::vector<std::string> controller_attributes_of(const std::string& output) {
    smart_attribute_list list;
    parse_controller_attributes(output, list);
    return rows(list);
}

/// "value worst threshold raw" of one attribute line.
std::string numbers_of(const std::string& values) {
    smart_attribute_list list;
    parse_controller_attributes("Spin Up Time:" + values + "\n", list);
    EXPECT_EQ(list.size(), 1U);
    const smart_attribute& attribute = *list.begin();
    return format_text("%u %u %u %u", attribute.value, attribute.worst, attribute.threshold,
                       attribute.raw);
}

TEST(ControllerAttributes, AreTheSevenWithoutAnIdAndWithoutAFailure) {
    EXPECT_THAT(controller_attributes_of("Raw Read Error Rate     : 118 99 6 (187654321)\n"
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
    EXPECT_THAT(controller_attributes_of("\nTemperature Celsius:1\nheading\n\nSpin Up Time:2\n"),
                ElementsAre("|Temperature Celsius|1|0|0||0", "|Spin Up Time|2|0|0||0"));
}

TEST(ControllerAttributes, OfTheOtherElevenNamesAreNeverTaken) {
    // The tool prints one of them with an underscore.
    for (const char* name :
         {"Start Stop Count", "Power On Hours", "Power Cycle Count", "Unknown Attribute",
          "Power-Off Retract_Count", "Power-Off Retract Count", "Load Cycle Count",
          "Reallocated Event Count", "Current Pending Sector", "Offline Uncorrectable",
          "UDMA CRC Error Count", "Multi Zone Error Rate"}) {
        EXPECT_THAT(controller_attributes_of(std::string(name) + ": 1 2 3 (4)\n"), IsEmpty())
            << name;
    }
}

TEST(ControllerAttributes, NeedTheExactSpacedName) {
    for (const char* line :
         {"Spin_Up_Time: 1", "spin up time: 1", "Spin  Up Time: 1", "Spin Up Times: 1",
          "3 Spin Up Time: 1", "Spin Up Time 1", ": 1", "Spin Up: Time: 1"}) {
        EXPECT_THAT(controller_attributes_of(std::string(line) + "\n"), IsEmpty()) << line;
    }
}

TEST(ControllerAttributes, NameIsTrimmedAtBothEnds) {
    EXPECT_THAT(controller_attributes_of(" \t Spin Up Time\t \v: 1 2 3 (4) \r\n"),
                ElementsAre("|Spin Up Time|1|2|3||4"));
}

TEST(ControllerAttributes, OfANameWithoutAColonHaveZeros) {
    EXPECT_THAT(controller_attributes_of("Spin Up Time\nSeek Error Rate"),
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

TEST(ControllerAttributes, NumbersAfterTheFourthAreLeft) {
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
    EXPECT_THAT(controller_attributes_of(output),
                ElementsAre("|Spin Up Time|1|0|0||0", "|Spin Up Time|2|0|0||0",
                            "|Spin Up Time|3|0|0||0", "|Spin Up Time|4|0|0||0",
                            "|Spin Up Time|5|0|0||0", "|Spin Up Time|6|0|0||0",
                            "|Spin Up Time|7|0|0||0"));
}

TEST(ControllerAttributes, AreNoneInAnEmptyOutputOrAMegabyteOfGarbage) {
    EXPECT_THAT(controller_attributes_of(""), IsEmpty());
    EXPECT_THAT(controller_attributes_of(std::string(1 << 20, ':')), IsEmpty());
}

TEST(ControllerAttributes, AreAddedToWhatTheListHas) {
    smart_attribute_list list;
    list.append().name = "first";
    parse_controller_attributes("Spin Up Time: 97 96 25 (4015)\n", list);
    EXPECT_THAT(rows(list), ElementsAre("|first|0|0|0||0", "|Spin Up Time|97|96|25||4015"));
}

} // namespace
} // namespace zav::test
