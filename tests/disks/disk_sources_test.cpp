// SPDX-License-Identifier: MIT
// The outputs of the hot-spare tool, the RAID controller's tool and df, and the partition table.
#include "disk_root.h"
#include "disks/disk_sources.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Optional;

TEST(HotSpareList, HasTheNamesBehindItsKey) {
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
    // 22 characters of key and 14 names of 4 with their blank: the 15th has characters 79 to 81.
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

TEST(PartitionTable, GivesTheWholeScsiDisksInItsOrder) {
    EXPECT_THAT(parse_partition_disks(recorded("partitions_disks").text),
                ElementsAre("sda", "sdb", "sdc", "sdd", "sde", "sdf", "sdg", "sdh"));
    EXPECT_THAT(parse_partition_disks("   8 32 9 sdc\n   8 0 9 sda\n"), ElementsAre("sdc", "sda"));
}

TEST(PartitionTable, PartitionsAndOtherDevicesAreLeftOut) {
    EXPECT_THAT(parse_partition_disks("major minor  #blocks  name\n\n"
                                      " 8 0 9 sda\n 8 1 9 sda1\n 8 2 9 sda15\n 9 0 9 md0\n"
                                      " 3 0 9 hda\n 8 5 9 sdab\n 8 6 9 SDC\n 8 7 9 xsdd\n"),
                ElementsAre("sda", "sdab"));
}

TEST(PartitionTable, EachDiskIsGivenOnce) {
    EXPECT_THAT(parse_partition_disks("8 0 9 sda\n8 0 9 sdb\n8 0 9 sda\n"),
                ElementsAre("sda", "sdb"));
}

TEST(PartitionTable, ShortLinesCarriageReturnsAndGarbageDoNoHarm) {
    EXPECT_THAT(parse_partition_disks("8\n8 0\n8 0 9\n8 0 9 sda \r\n" + std::string(1 << 20, 's')),
                ElementsAre("sda"));
    EXPECT_THAT(parse_partition_disks(""), IsEmpty());
}

TEST(MountedDisks, AreTheScsiDevicesOfDf) {
    EXPECT_THAT(parse_mounted_disks(recorded("df_labels").text), ElementsAre("sdd"));
    EXPECT_THAT(parse_mounted_disks(recorded("df").text), IsEmpty());
}

TEST(MountedDisks, KeepTheirPartition) {
    EXPECT_THAT(parse_mounted_disks("Filesystem 1K-blocks\n/dev/sda1 5 /\n/dev/sdaa12 5 /x\n"),
                ElementsAre("sda1", "sdaa12"));
}

TEST(MountedDisks, BlanksBeforeTheDeviceAndNothingBehindItDoNoHarm) {
    EXPECT_THAT(parse_mounted_disks("  \t/dev/sda1\t5\n/dev/sdb\n5 4 /dev/sdc\n/dev/hda\n"),
                ElementsAre("sda1", "sdb"));
}

TEST(MountedDisks, OfManyLinesAreAllFound) {
    std::string output;
    for (int line = 0; line < 100000; ++line) {
        output += "/dev/sda1 1 1 1 1% /mnt\n";
    }
    EXPECT_EQ(parse_mounted_disks(output).size(), 100000U);
}

} // namespace
} // namespace zav::test
