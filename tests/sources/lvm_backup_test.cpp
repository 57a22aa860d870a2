// SPDX-License-Identifier: MIT
// LVM's backups.
#include "base/file.h"
#include "base/memory.h"
#include "sources/lvm_backup.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using std::literals::operator""s;

using Pairs = std::vector<std::pair<std::string, std::string>>;

// Ids and devices of the volumes in a backup.
Pairs volumes(const std::string& backup) {
    backup_pv_list list;
    parse_backup_volumes(backup, list);
    Pairs pairs;
    for (const backup_pv& volume : list) {
        pairs.emplace_back(volume.id.view(), volume.device.view());
    }
    return pairs;
}

// The volumes in a backup section with these lines.
Pairs volumes_of_section(const std::string& lines) {
    return volumes("\tphysical_volumes {\n" + lines);
}

bool section_has_pool(const std::string& lines, std::string_view pool = "pub") {
    return backup_has_pool("\tlogical_volumes {\n" + lines, pool);
}

TEST(PoolOfABackup, IsFoundInRecordedBackups) {
    EXPECT_TRUE(backup_has_pool(recorded("lvm_B_backup").text, "pub"));
    EXPECT_TRUE(backup_has_pool(recorded("lvm_B_backup_after_missing").text, "pub"));
    EXPECT_TRUE(backup_has_pool(recorded("lvm_backup_data").text, "pool"));
    EXPECT_TRUE(backup_has_pool(recorded("lvm_backup_vgdisks").text, "full"));
}

TEST(PoolOfABackup, IsNoOtherWordOfARecordedBackup) {
    const std::string backup = recorded("lvm_B_backup").text;
    for (const char* word : {"pu", "publ", "vg1", "pv0", "pv1", "segment1", "logical_volumes",
                             "physical_volumes", "id", "{", ""}) {
        EXPECT_FALSE(backup_has_pool(backup, word)) << word;
    }
}

TEST(PoolOfABackup, IsTheFirstWordBeforeABraceWithAnIdOnTheNextLine) {
    EXPECT_TRUE(section_has_pool("pub {\nid = \"x\"\n"));
    EXPECT_TRUE(section_has_pool(" \t pub {  \r\n\t\tid = \"x\"\n"));
    EXPECT_TRUE(section_has_pool("pub\tor not {\nid =\n"));
    EXPECT_FALSE(section_has_pool("no pub {\nid = \"x\"\n"));
}

TEST(PoolOfABackup, NeedsABlankBeforeTheBrace) {
    EXPECT_FALSE(section_has_pool("pub{\nid = \"x\"\n"));
    EXPECT_FALSE(section_has_pool("pub\t{\nid = \"x\"\n"));
    EXPECT_FALSE(section_has_pool("pub { }\nid = \"x\"\n"));
}

TEST(PoolOfABackup, NeedsItsIdOnTheVeryNextLine) {
    EXPECT_FALSE(section_has_pool("pub {\n\nid = \"x\"\n"));
    EXPECT_FALSE(section_has_pool("pub {\nstatus = []\nid = \"x\"\n"));
    EXPECT_FALSE(section_has_pool("pub {\nid=\"x\"\n"));
    EXPECT_FALSE(section_has_pool("pub {\nvalid = \"x\"\n"));
    EXPECT_FALSE(section_has_pool("pub {"));
}

TEST(PoolOfABackup, MayBeTheSecondOne) {
    EXPECT_TRUE(section_has_pool("other {\nid = \"x\"\n}\npub {\nid = \"y\"\n}\n"));
}

TEST(PoolOfABackup, IsNotLookedForBeforeItsSection) {
    EXPECT_FALSE(backup_has_pool("pub {\nid = \"x\"\n}\nlogical_volumes {\n}\n", "pub"));
    EXPECT_FALSE(backup_has_pool("pub {\nid = \"x\"\n}\n", "pub"));
}

TEST(PoolOfABackup, IsLookedForAfterTheEndOfItsSection) {
    EXPECT_TRUE(section_has_pool("}\n}\nphysical_volumes {\npub {\nid = \"x\"\n"));
}

TEST(PoolOfABackup, MayStandInASectionThatOnlyBeginsLikeIt) {
    EXPECT_TRUE(backup_has_pool("logical_volumes_of_old\npub {\nid = \"x\"\n", "pub"));
    EXPECT_FALSE(backup_has_pool("# logical_volumes\npub {\nid = \"x\"\n", "pub"));
}

TEST(PoolOfABackup, MayEndTheBackupWithoutALineEnd) {
    EXPECT_TRUE(section_has_pool("pub {\nid ="));
}

// Lines are read in pieces of 255 characters, each like a line of its own.
TEST(PoolOfABackup, IsFoundAfterLongLines) {
    EXPECT_TRUE(section_has_pool(std::string(1000, 'x') + "\npub {\nid = \"x\"\n"));
    EXPECT_TRUE(section_has_pool(std::string(255, 'x') + "pub {\nid = \"x\"\n"));
    EXPECT_FALSE(section_has_pool(std::string(254, 'x') + "pub {\nid = \"x\"\n"));
    EXPECT_TRUE(
        backup_has_pool(std::string(255, 'x') + "logical_volumes {\npub {\nid = \"x\"\n", "pub"));
}

TEST(PoolOfABackup, IsFoundAfterNuls) {
    EXPECT_TRUE(section_has_pool("\0\0\n\0pub {\npub {\0\nid = \"\0\"\n"s));
    EXPECT_FALSE(section_has_pool("pub\0 {\nid = \"x\"\n"s));
}

TEST(PoolOfABackup, IsNotInGarbage) {
    for (const char filler : {'x', '\n', '{', '"', ' ', '\0', '\xff'}) {
        EXPECT_FALSE(backup_has_pool(std::string(1 << 20, filler), "pub"));
        EXPECT_FALSE(section_has_pool(std::string(1 << 20, filler)));
    }
}

TEST(VolumesOfABackup, AreReadFromRecordedBackups) {
    const auto two = ElementsAre(Pair("ZqPKn1-hHIr-q0XO-A2hJ-g61C-gCGd-Na0CI1", "md0"),
                                 Pair("DBc3C1-Rr0K-05dv-AasZ-5VQX-Ntqc-LdXVSd", "md1"));
    EXPECT_THAT(volumes(recorded("lvm_B_backup").text), two);
    EXPECT_THAT(volumes(recorded("lvm_B_backup_after_missing").text), two);
    EXPECT_THAT(volumes(recorded("lvm_backup_data").text),
                ElementsAre(Pair("Z322lO-KP70-eFNf-8vsU-Jdl5-JUcX-nEq6tW", "md0")));
    EXPECT_THAT(volumes(recorded("lvm_backup_vgdisks").text),
                ElementsAre(Pair("Iw27Cd-eF8y-8Hck-pQqi-HStE-XyrD-3aGSrS", "sdf"),
                            Pair("CDjztj-qvia-rOJR-kd3q-YCO7-ds4T-juaMyj", "sdg")));
}

TEST(VolumesOfABackup, NeedTheirSection) {
    backup_pv_list list;
    EXPECT_FALSE(parse_backup_volumes("", list));
    EXPECT_FALSE(parse_backup_volumes("id = \"a\"\ndevice = \"/dev/md0\"\n", list));
    EXPECT_FALSE(parse_backup_volumes("physical_volume {\n", list));
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(parse_backup_volumes("physical_volumes {\n}\n", list));
    EXPECT_TRUE(parse_backup_volumes("  physical_volumes", list));
    EXPECT_TRUE(list.empty());
}

TEST(VolumesOfABackup, AreAddedToTheList) {
    backup_pv_list list;
    list.append().id = "first";
    parse_backup_volumes("physical_volumes\nid = \"a\"\ndevice = \"/dev/md0\"\n", list);
    EXPECT_EQ(list.size(), 2U);
}

TEST(VolumesOfABackup, AreNotLookedForBeforeTheirSection) {
    EXPECT_THAT(volumes("id = \"a\"\ndevice = \"/dev/md0\"\nphysical_volumes {\n"), IsEmpty());
}

TEST(VolumesOfABackup, NeedTheDeviceOnTheVeryNextLine) {
    EXPECT_THAT(volumes_of_section("id = \"a\"\n\ndevice = \"/dev/md0\"\n"), IsEmpty());
    EXPECT_THAT(volumes_of_section("device = \"/dev/md0\"\nid = \"a\"\n"), IsEmpty());
    EXPECT_THAT(volumes_of_section("id=\"a\"\ndevice=\"/dev/md0\"\n"), IsEmpty());
    EXPECT_THAT(volumes_of_section("id = \"a\"\nid = \"b\"\ndevice = \"/dev/md0\"\n"),
                ElementsAre(Pair("b", "md0")));
}

TEST(VolumesOfABackup, MayHaveARemarkAfterTheirDevice) {
    const std::string id = "id = \"a\"\n";
    for (const char* remark :
         {"", "\t# Hint only", " # of /dev/sdb", " # \"hint\"", " x", "  \r", "\"", "/md7\""}) {
        EXPECT_THAT(volumes_of_section(id + "device = \"/dev/md0\"" + remark + "\n"),
                    ElementsAre(Pair("a", "md0")))
            << remark;
    }
}

TEST(VolumesOfABackup, AreKnownByTheLastPartOfTheirPath) {
    EXPECT_THAT(volumes_of_section("id = \"a\"\ndevice = \"/dev/mapper/crypt\"\n"
                                   "id = \"b\"\ndevice = \"md0\"\n"
                                   "id = \"c\"\ndevice = \"/dev/\"\n"
                                   "id = \"d\"\ndevice = \"\"\n"),
                ElementsAre(Pair("a", "crypt"), Pair("b", "md0"), Pair("c", ""), Pair("d", "")));
}

TEST(VolumesOfABackup, HaveTheIdBetweenTheFirstAndTheLastQuote) {
    const std::string device = "\ndevice = \"/dev/md0\"\n";
    EXPECT_THAT(volumes_of_section("id = \"a\" # \"x\"" + device + "id = \" b \"" + device +
                                   "id = \"\"" + device + "id = \"c" + device + "id = d" + device),
                ElementsAre(Pair("a\" # \"x", "md0"), Pair(" b ", "md0"), Pair("", "md0"),
                            Pair("", "md0"), Pair("", "md0")));
}

TEST(VolumesOfABackup, AreCutAt127Characters) {
    EXPECT_THAT(volumes_of_section("id = \"" + std::string(128, 'a') + "\"\ndevice = \"/dev/" +
                                   std::string(128, 'm') + "\"\n"),
                ElementsAre(Pair(std::string(127, 'a'), std::string(127, 'm'))));
}

TEST(VolumesOfABackup, MayEndTheBackupWithoutALineEnd) {
    EXPECT_THAT(volumes_of_section("id = \"a\"\ndevice = \"/dev/md0\""),
                ElementsAre(Pair("a", "md0")));
    EXPECT_THAT(volumes_of_section("id = \"a\"\ndevice = \"/dev/md0"),
                ElementsAre(Pair("a", "md0")));
}

TEST(VolumesOfABackup, AreReadAfterLongLines) {
    EXPECT_THAT(volumes_of_section(std::string(1000, 'x') + "\nid = \"a\"\ndevice = \"/dev/md0\"" +
                                   std::string(300, '#') + "\nid = \"b\"\ndevice = \"/dev/md1\"\n"),
                ElementsAre(Pair("a", "md0"), Pair("b", "md1")));
}

// The rest of the line comes between the two.
TEST(VolumesOfABackup, AreNoneWhenTheirIdsLineIsTooLong) {
    EXPECT_THAT(volumes_of_section("id = \"a\"" + std::string(300, '#') +
                                   "\ndevice = \"/dev/md0\"\nid = \"b\"\ndevice = \"/dev/md1\"\n"),
                ElementsAre(Pair("b", "md1")));
}

TEST(VolumesOfABackup, EndAtANul) {
    EXPECT_THAT(volumes_of_section("id = \"a\0b\"\ndevice = \"/dev/md\0"
                                   "1\"\nid = \"c\"\0\ndevice = \"/dev/md2\"\n"s),
                ElementsAre(Pair("", "md"), Pair("c", "md2")));
}

TEST(VolumesOfABackup, AreNoneInGarbage) {
    for (const char filler : {'x', '\n', '{', '"', '=', '\0', '\xff'}) {
        EXPECT_THAT(volumes(std::string(1 << 20, filler)), IsEmpty());
        EXPECT_THAT(volumes_of_section(std::string(1 << 20, filler)), IsEmpty());
    }
}

} // namespace
} // namespace zav::test
