// SPDX-License-Identifier: MIT
// The disk record.
#include "fixtures/disk_root.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

TEST(NamesDisk, IfATextBeginsWithTheDisksName) {
    disk_info disk;
    disk.name = "sda";
    for (const char* text : {"sda", "sda(F)", "sda1", "sdaa"}) {
        EXPECT_TRUE(names_disk(text, disk)) << text;
    }
    for (const char* text : {"", "sd", "sdb", "SDA", " sda"}) {
        EXPECT_FALSE(names_disk(text, disk)) << text;
    }
}

TEST(NamesDisk, NeverForANamelessDisk) {
    EXPECT_FALSE(names_disk("sda", disk_info()));
    EXPECT_FALSE(names_disk("", disk_info()));
}

TEST(PlainDiskName, IsLettersAndDigits) {
    for (const char* name : {"sda", "SDA", "sdaa12", "a", "0", "azAZ09"}) {
        EXPECT_TRUE(is_disk_name(name)) << name;
    }
}

TEST(PlainDiskName, IsNothingElse) {
    for (const char* name :
         {"", " ", "sda ", " sda", "sd a", "sd_a", "sd-a", "sd.a", "sd/a", "sda;", "$sda", "sda\n",
          "sd@", "sd[", "sd`", "sd{", "sd:", "s\xc3\xa4"}) {
        EXPECT_FALSE(is_disk_name(name)) << name;
    }
    EXPECT_FALSE(is_disk_name(std::string_view("sda\0", 4)));
}

TEST(PlaceOfADisk, IsShownInOneLine) {
    disk_info disk;
    disk.name = "sda";
    disk.channel = -15;
    disk.device = "4";
    testing::internal::CaptureStdout();
    disk_place_show(disk, printed());
    disk_place_show(disk_info(), printed());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "disk : ch = -15, devcie = 4, name = sda\n"
                                                      "disk : ch = 0, devcie = , name = \n");
}

} // namespace
} // namespace zav::test
