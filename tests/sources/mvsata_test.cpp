// SPDX-License-Identifier: MIT
// The status files of the SATA controller: the disks in them and their places.
#include "fixtures/disk_root.h"
#include "fixtures/library.h"
#include "sources/mvsata.h"

#include <map>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> places_in(const std::string& file) {
    disk_list list;
    parse_controller_status(file, list);
    return places(list);
}

std::vector<std::string> places_in(const std::string& location,
                                   const std::vector<std::string>& ports) {
    return places_in(status_file(location, ports));
}

/// Locations of boxes 0 to 4.
const std::vector<std::string> box_locations = {"9,9", "1,4", "1,5", "2,1", "2,2"};

TEST(PciLocation, GivesTheBoxForEveryPairOfCharacters) {
    const std::map<std::string, int> boxes = {{"1,4", 1}, {"1,5", 2}, {"1,0", 1}, {"1,1", 2},
                                              {"0,4", 1}, {"0,5", 2}, {"3,3", 1}, {"3,1", 2},
                                              {"3,2", 1}, {"2,1", 3}, {"2,2", 4}};
    // Boxes 3 and 4 show in the device of an expansion disk, the others in the channel of the disk
    // after it.
    const std::vector<std::vector<std::string>> seen_of_box = {{"sdx 1 0", "sda -7 0"},
                                                               {"sdx 1 0", "sda 1 0"},
                                                               {"sdx 1 0", "sda 9 0"},
                                                               {"sdx 1 1", "sda 9 0"},
                                                               {"sdx 1 3", "sda 9 0"}};
    for (char place = '!'; place <= '~'; ++place) {
        for (char last = '!'; last <= '~'; ++last) {
            const std::string location = {place, ',', last};
            const auto box = boxes.contains(location) ? boxes.at(location) : 0;
            EXPECT_EQ(
                places_in(location, {port_line("0", "0", "*sdx"), port_line("0", "0", "sda")}),
                seen_of_box[static_cast<std::size_t>(box)])
                << location;
        }
    }
}

TEST(PciLocation, OnlyTheLastCommaCounts) {
    EXPECT_THAT(places_in("2,1,1,5", {port_line("0", "0", "sda")}), ElementsAre("sda 9 0"));
}

TEST(PciLocation, OnlyTheLastCharacterOfTheLineCounts) {
    EXPECT_THAT(places_in("bus 1,device 5", {port_line("0", "0", "sda")}), ElementsAre("sda 9 0"));
}

TEST(PciLocation, BlanksAndCarriageReturnAtTheLinesEndDoNotCount) {
    EXPECT_THAT(places_in("1,5 \r", {port_line("0", "0", "sda")}), ElementsAre("sda 9 0"));
}

TEST(PciLocation, FileWithoutItIsSkipped) {
    std::string file = status_file("1,4", {port_line("0", "0", "sda")});
    file.replace(file.find("PCI location"), 12, "pci location");
    EXPECT_THAT(places_in(file), IsEmpty());
}

TEST(PciLocation, FileWhoseLocationHasNoCommaIsSkipped) {
    EXPECT_THAT(places_in("1 4", {port_line("0", "0", "sda")}), IsEmpty());
    EXPECT_THAT(places_in("", {port_line("0", "0", "sda")}), IsEmpty());
}

TEST(PciLocation, OfTheFirstSuchLineCounts) {
    std::string file = status_file("1,5", {port_line("0", "0", "sda")});
    file.insert(file.find("Driver "), "PCI location: 1,4\n");
    file.erase(file.find("Driver "), file.find("Address") - file.find("Driver "));
    EXPECT_THAT(places_in(file), ElementsAre("sda 9 0"));
}

TEST(PortLines, AreTheCountedLines9To14) {
    std::string file = "PCI location: 1,4\n";
    for (int line = 1; line < 18; ++line) {
        // Lines that are empty or blank are not counted.
        file += "\n \t\n" +
                port_line("0", "0", "sd" + std::string(1, static_cast<char>('a' + line))) + "\n";
    }
    // Counted line 9 has sdj, line 14 has sdo.
    EXPECT_THAT(places_in(file), ElementsAre("sdj 1 0", "sdk -7 0", "sdl -15 0", "sdm -23 0",
                                             "sdn -31 0", "sdo -39 0"));
}

TEST(PortLines, BeginWithADigit) {
    const std::string line = port_line("0", "0", "sda");
    EXPECT_THAT(places_in("1,4", {"-" + line, "#" + line, "x" + line, "9" + line}),
                ElementsAre("sda 1 0"));
}

TEST(PortLines, MayBeIndented) {
    EXPECT_THAT(places_in("1,4", {" \t" + port_line("0", "0", "sda")}), ElementsAre("sda 1 0"));
}

TEST(PortLines, FieldsAreSplitAtRunsOfBlanksAndTabs) {
    EXPECT_THAT(places_in("1,4", {"0 \t1\t\t2 3 4 5 6 7 8\t sda"}), ElementsAre("sda 4 0"));
}

TEST(PortLines, OnlyTheFirstDigitOfAdapterAndPortCounts) {
    EXPECT_THAT(places_in("1,4", {port_line("12", "34", "sda")}), ElementsAre("sda 5 0"));
}

TEST(PortLines, WithoutANumberOfAdapterOrPortAreSkipped) {
    EXPECT_THAT(places_in("1,4", {port_line("x", "0", "sda"), port_line("0", "-1", "sdb")}),
                IsEmpty());
}

TEST(PortLines, WithFewerThanTenFieldsAreSkipped) {
    EXPECT_THAT(places_in("1,4", {"0 1 2 3 4 5 6 7 8", "0", "1 1 1"}), IsEmpty());
}

TEST(PortLines, OfOtherWhiteSpaceAreSkipped) {
    EXPECT_THAT(places_in("1,4", {"0 \v \v \v \v \v \v \v \v \v", "0 \f \f \f \f \f \f \f \f \f"}),
                IsEmpty());
}

TEST(PortLines, OfCarriageReturnsAndAFileWithoutFinalNewlineAreRead) {
    std::string file =
        status_file("1,4", {port_line("0", "0", "sda\r"), port_line("0", "7", "sdb")});
    file.pop_back();
    EXPECT_THAT(places_in(file), ElementsAre("sda 1 0", "sdb 0 0"));
}

TEST(DiskName, IsCutToSevenCharacters) {
    EXPECT_THAT(places_in("1,4", {port_line("0", "0", "sdabcdefg")}), ElementsAre("sdabcde 1 0"));
}

TEST(DiskName, RunsToTheEndOfTheLineAndIsTakenOnlyWhenPlain) {
    for (const char* name : {"sda and more", "sda;reboot", "$(reboot)", "`id`", "../sda", "sd'a",
                             "sda>x", "-sda", "*", "**sda", "*../sda", "* sda"}) {
        EXPECT_THAT(places_in("1,4", {port_line("0", "0", name)}), IsEmpty()) << name;
    }
}

TEST(OwnDisk, IsAtAdapterPlusPortPlusOne) {
    for (int adapter = 0; adapter <= 9; ++adapter) {
        for (int port = 0; port <= 9; ++port) {
            EXPECT_THAT(
                places_in("1,4", {port_line(std::to_string(adapter), std::to_string(port), "sda")}),
                ElementsAre("sda " + std::to_string(adapter + port + 1) + " 0"));
        }
    }
}

TEST(OwnDisk, IsEightChannelsFurtherForTheFirstOfAFileOnly) {
    const std::vector<std::string> six = {port_line("0", "0", "sda"), port_line("0", "1", "sdb"),
                                          port_line("0", "2", "sdc"), port_line("0", "3", "sdd"),
                                          port_line("1", "3", "sde"), port_line("2", "3", "sdf")};
    const auto channels_of_box = [&](std::size_t box) {
        return places_in(box_locations[box], six);
    };
    EXPECT_THAT(channels_of_box(0), ElementsAre("sda -7 0", "sdb -14 0", "sdc -21 0", "sdd -28 0",
                                                "sde -35 0", "sdf -42 0"));
    EXPECT_THAT(channels_of_box(1), ElementsAre("sda 1 0", "sdb -6 0", "sdc -13 0", "sdd -20 0",
                                                "sde -27 0", "sdf -34 0"));
    for (const std::size_t box : {2U, 3U, 4U}) {
        EXPECT_THAT(channels_of_box(box), ElementsAre("sda 9 0", "sdb 2 0", "sdc -5 0", "sdd -12 0",
                                                      "sde -19 0", "sdf -26 0"))
            << box;
    }
}

TEST(OwnDisk, LinesThatAddNoDiskDoNotMoveTheNext) {
    EXPECT_THAT(places_in("1,5", {port_line("0", "0", "not plain"), "1 0 0", "- none",
                                  port_line("0", "0", "*sdx"), port_line("0", "0", "sda")}),
                ElementsAre("sdx 1 0", "sda 9 0"));
}

TEST(ExpansionDisk, OfTheFirstFourAdaptersIsInTheFirstGroup) {
    for (int adapter = 0; adapter <= 3; ++adapter) {
        for (int port = 0; port <= 3; ++port) {
            const auto line = port_line(std::to_string(adapter), std::to_string(port), "*sdx");
            const std::string at = "sdx " + std::to_string(port + 4 * adapter + 1);
            EXPECT_THAT(places_in(box_locations[3], {line}), ElementsAre(at + " 1"));
            EXPECT_THAT(places_in(box_locations[4], {line}), ElementsAre(at + " 3"));
        }
    }
}

TEST(ExpansionDisk, OfTheNextFourAdaptersIsInTheSecondGroup) {
    for (int adapter = 4; adapter <= 7; ++adapter) {
        for (int port = 0; port <= 3; ++port) {
            const auto line = port_line(std::to_string(adapter), std::to_string(port), "*sdx");
            const std::string at = "sdx " + std::to_string(port + 4 * adapter - 15);
            EXPECT_THAT(places_in(box_locations[3], {line}), ElementsAre(at + " 2"));
            EXPECT_THAT(places_in(box_locations[4], {line}), ElementsAre(at + " 4"));
        }
    }
}

TEST(ExpansionDisk, OnBox4WithAdapter5AndPort2IsChannel7OfDevice4) {
    EXPECT_THAT(places_in("2,2", {port_line("5", "2", "*sdk")}), ElementsAre("sdk 7 4"));
}

TEST(ExpansionDisk, OfAdapters8And9IsSkipped) {
    EXPECT_THAT(places_in("2,1", {port_line("8", "0", "*sdx"), port_line("9", "0", "*sdy")}),
                IsEmpty());
}

TEST(ExpansionDisk, OnAnotherBoxHasDevice0) {
    for (const std::size_t box : {0U, 1U, 2U}) {
        EXPECT_THAT(places_in(box_locations[box],
                              {port_line("1", "2", "*sdx"), port_line("4", "2", "*sdy")}),
                    ElementsAre("sdx 7 0", "sdy 3 0"))
            << box;
    }
}

TEST(ExpansionDisk, LeavesTheBoxAsItIs) {
    EXPECT_THAT(places_in("2,1", {port_line("0", "0", "*sdx"), port_line("0", "1", "*sdy")}),
                ElementsAre("sdx 1 1", "sdy 2 1"));
}

TEST(ExpansionDisk, AfterAnOwnDiskIsOnTheBoxThatThatLeft) {
    EXPECT_THAT(places_in("2,1", {port_line("0", "0", "sda"), port_line("0", "0", "*sdx")}),
                ElementsAre("sda 9 0", "sdx 1 0"));
}

TEST(ControllerStatus, DisksAreAddedAfterThoseOfTheList) {
    disk_list list;
    add_disk(list, "sdz", 16);
    parse_controller_status(status_file("1,4", {port_line("0", "2", "sda")}), list);
    EXPECT_THAT(places(list), ElementsAre("sdz 16 0", "sda 3 0"));
}

TEST(ControllerStatus, EverythingElseOfTheRecordIsEmpty) {
    disk_list list;
    parse_controller_status(status_file("1,4", {port_line("0", "2", "sda")}), list);
    EXPECT_THAT(rows(list), ElementsAre("sda|3|0||||0|0"));
}

TEST(ControllerStatus, GarbageAddsNoDisk) {
    EXPECT_THAT(places_in(""), IsEmpty());
    EXPECT_THAT(places_in("\n\n\n"), IsEmpty());
    EXPECT_THAT(places_in(std::string(1 << 20, '1')), IsEmpty());
    EXPECT_THAT(places_in(std::string(1 << 20, '\0')), IsEmpty());
    EXPECT_THAT(places_in("PCI location: 1,4\n" + std::string(1 << 20, '1')), IsEmpty());
}

} // namespace
} // namespace zav::test
