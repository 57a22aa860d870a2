// SPDX-License-Identifier: MIT
// The command that creates an array.
#include "sources/mdadm.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

constexpr long kernel_with_bitmap = 2006030;
constexpr long kernel_without_bitmap = 2006029;

std::string command(const char* type, std::string_view disks, long kernel,
                    const char* status = "") {
    mdinfo array;
    array.name = "data";
    array.type = type;
    array.status = status;
    return create_command_text(array, disks, kernel);
}

TEST(CreateCommand, Raid5OnANewKernelHasABitmap) {
    EXPECT_EQ(command("raid5", "sda,sdb,sdc", kernel_with_bitmap),
              "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384  /dev/data -l 5 -n 3 -R "
              "/dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST(CreateCommand, Raid5OnANewKernelInTheForeground) {
    EXPECT_EQ(command("raid5", "sda,sdb,sdc", kernel_with_bitmap, "foreground"),
              "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/data --fg-init -l 5 -n 3 "
              "-R /dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST(CreateCommand, Raid5OnAnOldKernelHasNoBitmap) {
    EXPECT_EQ(command("raid5", "sda,sdb,sdc", kernel_without_bitmap),
              "/sbin/mdadm -C /dev/data -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST(CreateCommand, Raid5OnAnOldKernelInTheForeground) {
    EXPECT_EQ(
        command("raid5", "sda,sdb,sdc", kernel_without_bitmap, "foreground"),
        "/sbin/mdadm -C /dev/data --fg-init -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST(CreateCommand, Raid5OnAnUnknownKernelHasNoBitmap) {
    EXPECT_EQ(command("raid5", "sda,sdb,sdc", -1),
              "/sbin/mdadm -C /dev/data -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST(CreateCommand, LinearNamesItsLevel) {
    for (const char* status : {"", "foreground"}) {
        EXPECT_EQ(command("linear", "sda,sdb", kernel_with_bitmap, status),
                  "/sbin/mdadm -C /dev/data -l linear -n 2 -R /dev/sda /dev/sdb > /dev/null");
    }
}

TEST(CreateCommand, OtherLevelsHaveADoubleBlankAndNoBitmap) {
    for (const long kernel : {kernel_without_bitmap, kernel_with_bitmap}) {
        EXPECT_EQ(command("raid0", "sda,sdb", kernel),
                  "/sbin/mdadm -C  /dev/data -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
        EXPECT_EQ(command("raid1", "sda,sdb", kernel),
                  "/sbin/mdadm -C  /dev/data -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null");
        EXPECT_EQ(command("raid6", "sda,sdb,sdc,sdd", kernel),
                  "/sbin/mdadm -C  /dev/data -l 6 -n 4 -R /dev/sda /dev/sdb /dev/sdc /dev/sdd "
                  "> /dev/null");
    }
}

TEST(CreateCommand, OtherLevelsInTheForeground) {
    EXPECT_EQ(command("raid0", "sda,sdb", kernel_with_bitmap, "foreground"),
              "/sbin/mdadm -C /dev/data --fg-init -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
    EXPECT_EQ(command("raid1", "sda,sdb", kernel_with_bitmap, "foreground"),
              "/sbin/mdadm -C /dev/data --fg-init -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null");
    EXPECT_EQ(command("raid6", "sda,sdb,sdc,sdd", kernel_with_bitmap, "foreground"),
              "/sbin/mdadm -C /dev/data --fg-init -l 6 -n 4 -R /dev/sda /dev/sdb /dev/sdc /dev/sdd "
              "> /dev/null");
}

TEST(CreateCommand, UnknownTypesAreLevel0) {
    EXPECT_EQ(command("raid10", "sda,sdb", kernel_with_bitmap),
              "/sbin/mdadm -C  /dev/data -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
}

TEST(CreateCommand, ReadsForegroundInAnyCase) {
    EXPECT_EQ(command("raid1", "sda,sdb", kernel_with_bitmap, "ForeGround"),
              command("raid1", "sda,sdb", kernel_with_bitmap, "foreground"));
    EXPECT_EQ(command("raid1", "sda,sdb", kernel_with_bitmap, "foregroun"),
              command("raid1", "sda,sdb", kernel_with_bitmap));
}

TEST(CreateCommand, NamesSixteenDisksWhole) {
    std::string disks = "sda";
    std::string devices = "/dev/sda";
    for (char letter = 'b'; letter <= 'p'; ++letter) {
        disks += std::string(",sd") + letter;
        devices += std::string(" /dev/sd") + letter;
    }
    EXPECT_EQ(command("raid6", disks, kernel_with_bitmap),
              "/sbin/mdadm -C  /dev/data -l 6 -n 16 -R " + devices + " > /dev/null");
}

} // namespace
} // namespace zav::test
