// SPDX-License-Identifier: MIT
// vgdisplay -c and pvdisplay -c.
#include "sources/lvm.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// A line of vgdisplay -c.
std::string group_line(const std::string& name, const std::string& status = "772",
                       const std::string& size_kb = "2449408",
                       const std::string& extent_kb = "4096",
                       const std::string& allocated = "512") {
    return "  " + name + ":r/w:" + status + ":-1:0:1:0:-1:0:1:1:" + size_kb + ":" + extent_kb +
           ":598:" + allocated + ":86:QtywLH-n91d-EWF9-wPzn-2RDC-t0Lh-kID0GW\n";
}

class Groups : public testing::Test {
  protected:
    const vginfo& only(const std::string& output) {
        list.clear();
        parse_vgdisplay(output, list);
        EXPECT_THAT(list, SizeIs(1));
        return *list.begin();
    }
    std::vector<std::string> names(const std::string& output) {
        list.clear();
        parse_vgdisplay(output, list);
        std::vector<std::string> found;
        for (const vginfo& group : list) {
            found.emplace_back(group.name.view());
        }
        return found;
    }
    vginfo_list list;
};

TEST_F(Groups, AreTheLinesOfTheOutputInTheirOrder) {
    EXPECT_THAT(names(group_line("vg2") + group_line("data")), ElementsAre("vg2", "data"));
}

TEST_F(Groups, MayStandAnywhereOnTheirLine) {
    EXPECT_THAT(names("data:r/w:772\n \t vg1:r/w:772\r\n\nvg2:r/w:772"),
                ElementsAre("data", "vg1", "vg2"));
}

TEST_F(Groups, AreNotMadeOfTheToolsRemarks) {
    EXPECT_THAT(
        names("  No volume groups found\n"
              "  WARNING: Couldn't find device with uuid CDjztj-qvia.\n"
              "  WARNING: VG vg1 is missing PV CDjztj (last written to /dev/sdg).\n"
              "  WARNING: vg1: PV: missing\n"
              "  File descriptor 3 (/tmp/x) leaked on vgdisplay invocation. Parent PID 9: sh\n"
              "\n \t\n:\n"),
        IsEmpty());
}

TEST_F(Groups, StandBetweenTheToolsRemarks) {
    EXPECT_THAT(names("  WARNING: PV /dev/ram2 in VG vg1 is missing the used flag.\n" +
                      group_line("vg1") + "  WARNING: One or more devices have changed sizes.\n"),
                ElementsAre("vg1"));
}

TEST_F(Groups, HaveNamesOfUpTo32Characters) {
    EXPECT_EQ(only(group_line(std::string(40, 'g'))).name, std::string(32, 'g'));
}

// Bit 2: exported; bit 4: resizable.
TEST_F(Groups, HaveAStatusOfTwoBits) {
    EXPECT_EQ(only(group_line("g", "4")).status, "resizable");
    EXPECT_EQ(only(group_line("g", "0")).status, "not resizable");
    EXPECT_EQ(only(group_line("g", "6")).status, "exported/resizable");
    EXPECT_EQ(only(group_line("g", "2")).status, "exported/not resizable");
}

TEST_F(Groups, HaveAStatusThatOtherBitsDoNotChange) {
    EXPECT_EQ(only(group_line("g", "772")).status, "resizable");
    EXPECT_EQ(only(group_line("g", "774")).status, "exported/resizable");
    EXPECT_EQ(only(group_line("g", "4294967289")).status,
              "not resizable"); // all bits except 2 and 4
}

TEST_F(Groups, HaveASizeRoundedDown) {
    EXPECT_EQ(only(group_line("g", "772", "2000000000")).allsize.count, 1907U);
    EXPECT_EQ(only(group_line("g", "772", "1048575")).allsize.count, 0U);
    EXPECT_EQ(only(group_line("g", "772", "1048576")).allsize.count, 1U);
}

TEST_F(Groups, HaveAUsedSizeRoundedDown) {
    EXPECT_EQ(only(group_line("g", "772", "0", "4096", "255")).usedsize.count, 0U);
    EXPECT_EQ(only(group_line("g", "772", "0", "4096", "256")).usedsize.count, 1U);
    EXPECT_EQ(only(group_line("g", "772", "0", "4096", "511")).usedsize.count, 1U);
}

TEST_F(Groups, HaveAUsedSizeCountedIn64Bits) {
    EXPECT_EQ(only(group_line("g", "772", "0", "4194304", "1048576")).usedsize.count, 4194304U);
}

TEST_F(Groups, HaveASizeOf64Bits) {
    EXPECT_EQ(only(group_line("g", "772", "18446744073709551615")).allsize.count, UINT64_MAX >> 20);
}

TEST_F(Groups, HaveNoSizesOnALineThatEndsEarly) {
    EXPECT_EQ(only("g:r/w:772\n").allsize.count, 0U);
    EXPECT_EQ(only("g:r/w:772\n").usedsize.count, 0U);
}

TEST_F(Groups, AreReadFromTheFirst255CharactersOfTheirLine) {
    // The second piece of the line looks like a line.
    const std::string line = group_line("data");
    EXPECT_THAT(names(line.substr(0, line.size() - 1) + std::string(300 - line.size(), 'x') +
                      group_line("rest")),
                ElementsAre("data"));
    EXPECT_EQ(
        only("data:" + std::string(230, 'x') + ":4:0:0:0:0:0:0:0:0:2097152:4096\n").allsize.count,
        0U);
}

TEST_F(Groups, FollowALongLine) {
    EXPECT_THAT(names(std::string(1000, 'x') + "\n" + group_line("data")), ElementsAre("data"));
    EXPECT_THAT(names(std::string(254, 'x') + "\n" + group_line("data")), ElementsAre("data"));
    EXPECT_THAT(names(std::string(255, 'x') + "\n" + group_line("data")), ElementsAre("data"));
}

TEST_F(Groups, AreNoneInGarbage) {
    EXPECT_THAT(names(""), IsEmpty());
    EXPECT_THAT(names(std::string(1 << 20, ':')), IsEmpty());
    EXPECT_THAT(names(std::string(1 << 20, '\0')), IsEmpty());
}

// A line of pvdisplay -c.
std::string volume_line(const std::string& device, const std::string& group,
                        const std::string& sectors = "4907008",
                        const std::string& extents = "4096:598:86:512",
                        const std::string& allocatable = "8") {
    return "  " + device + ":" + group + ":" + sectors + ":-1:8:" + allocatable + ":-1:" + extents +
           ":Z322lO-KP70-eFNf-8vsU-Jdl5-JUcX-nEq6tW\n";
}

class PhysicalVolumes : public testing::Test {
  protected:
    PhysicalVolumes() { list.append().name = "data"; }

    void parse(const std::string& output) {
        for (vginfo& group : list) {
            group.physical_volumes.clear();
        }
        parse_pvdisplay(output, list, [](pvinfo&, vginfo&) {});
    }
    static std::vector<std::string> names(const vginfo& group) {
        std::vector<std::string> found;
        for (const pvinfo& volume : group.physical_volumes) {
            found.emplace_back(volume.name.view());
        }
        return found;
    }
    std::vector<std::string> names(const std::string& output) {
        parse(output);
        return names(*list.begin());
    }
    const pvinfo& only(const std::string& output) {
        EXPECT_THAT(names(output), SizeIs(1));
        return *list.begin()->physical_volumes.begin();
    }
    vginfo_list list;
};

TEST_F(PhysicalVolumes, BelongToTheGroupThatTheyName) {
    vginfo& second = list.append();
    second.name = "vg2";
    EXPECT_THAT(names(volume_line("/dev/md0", "data") + volume_line("/dev/md1", "vg2") +
                      volume_line("/dev/sdc", "data")),
                ElementsAre("md0", "sdc"));
    EXPECT_THAT(names(second), ElementsAre("md1"));
}

TEST_F(PhysicalVolumes, BelongToTheFirstOfTwoGroupsOfOneName) {
    vginfo& second = list.append();
    second.name = "data";
    EXPECT_THAT(names(volume_line("/dev/md0", "data")), ElementsAre("md0"));
    EXPECT_TRUE(second.physical_volumes.empty());
}

TEST_F(PhysicalVolumes, OfAnUnknownGroupAreSkipped) {
    EXPECT_THAT(names(volume_line("/dev/md0", "dat") + volume_line("/dev/md0", "data2") +
                      volume_line("/dev/md0", "DATA")),
                IsEmpty());
}

TEST_F(PhysicalVolumes, OfNoGroupAreSkipped) {
    EXPECT_THAT(names(volume_line("/dev/md0", "")), IsEmpty());
}

TEST_F(PhysicalVolumes, NeedASlashAndAColon) {
    EXPECT_THAT(names(volume_line("[unknown]", "data") + "/dev/md0\n/dev/md0 data\n"), IsEmpty());
}

TEST_F(PhysicalVolumes, AreNotMadeOfTheToolsRemarks) {
    EXPECT_THAT(names("  Physical volume \"/dev/sdf\" of volume group \"data\" is exported\n"
                      "  \"/dev/sdf\" is a new physical volume of \"1.17 GiB\"\n"
                      "  WARNING: PV /dev/ram2 in VG data is missing the used flag.\n\n:\n"),
                IsEmpty());
}

TEST_F(PhysicalVolumes, HaveTheLastPartOfTheirPathAsAName) {
    EXPECT_EQ(only(volume_line("/dev/md0", "data")).name, "md0");
    EXPECT_EQ(only(volume_line("/dev/mapper/data-pool", "data")).name, "data-pool");
    EXPECT_EQ(only(volume_line("/dev/" + std::string(40, 'n'), "data")).name, std::string(31, 'n'));
}

TEST_F(PhysicalVolumes, KnowTheirGroupsName) {
    EXPECT_EQ(only(volume_line("/dev/md0", "data")).vgname, "data");
    list.begin()->name = std::string(32, 'g');
    EXPECT_EQ(only(volume_line("/dev/md0", std::string(32, 'g'))).vgname, std::string(31, 'g'));
}

TEST_F(PhysicalVolumes, BelongToAGroupWhoseNameItsRecordCuts) {
    list.begin()->name = std::string(40, 'g');
    EXPECT_EQ(only(volume_line("/dev/md0", std::string(40, 'g'))).name, "md0");
}

TEST_F(PhysicalVolumes, AreAllocatableWithFreeExtents) {
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:598:86:512")).allocatable,
              "Allocatable:yes ");
}

TEST_F(PhysicalVolumes, AreAllocatableButFullWithoutFreeExtents) {
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:598:0:598")).allocatable,
              "Allocatable:yes (but full)");
}

TEST_F(PhysicalVolumes, AreNotAllocatableWithoutExtents) {
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:0:0:0")).allocatable,
              "Allocatable:NO");
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:0:7:0")).allocatable,
              "Allocatable:NO");
}

TEST_F(PhysicalVolumes, AreAllocatableWhateverTheToolsOwnFlagSays) {
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:598:86:512", "0")).allocatable,
              "Allocatable:yes ");
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:0:0:0", "8")).allocatable,
              "Allocatable:NO");
}

TEST_F(PhysicalVolumes, HaveASizeRoundedHalfUp) {
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1048575")).size.count, 0U);
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1048576")).size.count, 1U);
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "3145727")).size.count, 1U);
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "3145728")).size.count, 2U);
}

TEST_F(PhysicalVolumes, HaveAUsedSizeRoundedHalfUp) {
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:598:86:127")).used.count, 0U);
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:598:86:128")).used.count, 1U);
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:598:86:383")).used.count, 1U);
    EXPECT_EQ(only(volume_line("/dev/md0", "data", "1", "4096:598:86:384")).used.count, 2U);
}

TEST_F(PhysicalVolumes, HaveSizesCountedIn64Bits) {
    const pvinfo& volume =
        only(volume_line("/dev/md0", "data", "8589934592", "4194304:9:9:1048576"));
    EXPECT_EQ(volume.size.count, 4096U);
    EXPECT_EQ(volume.used.count, 4194304U);
}

TEST_F(PhysicalVolumes, AreReadFromTheFirst255CharactersOfTheirLine) {
    const std::string line = volume_line("/dev/md0", "data");
    EXPECT_THAT(names(line.substr(0, line.size() - 1) + std::string(300 - line.size(), 'x') +
                      volume_line("/dev/md1", "data")),
                ElementsAre("md0"));
}

TEST_F(PhysicalVolumes, AreNoneInGarbage) {
    EXPECT_THAT(names(""), IsEmpty());
    EXPECT_THAT(names(std::string(1 << 20, ':')), IsEmpty());
    EXPECT_THAT(names(std::string(1 << 20, '/')), IsEmpty());
}

TEST(GroupLine, IsFoundByItsFirstWord) {
    EXPECT_TRUE(has_group_line("  data:r/w:772\n", "data"));
    EXPECT_TRUE(has_group_line("\t data:r/w:772\n", "data"));
    EXPECT_TRUE(has_group_line("first:r/w\ndata:r/w", "data"));
    EXPECT_FALSE(has_group_line("  data2:r/w\n  dat:r/w\n  Data:r/w\n  x:data:r/w\n", "data"));
    EXPECT_FALSE(has_group_line("", "data"));
}

TEST(GroupLine, IsNotFoundInTheRestOfALongLine) {
    EXPECT_FALSE(has_group_line(std::string(255, 'x') + "data:r/w\n", "data"));
}

} // namespace
} // namespace zav::test
