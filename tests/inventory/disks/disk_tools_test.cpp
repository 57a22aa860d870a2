// SPDX-License-Identifier: MIT
// The other sources of the disk list: the hot-spare tool, the RAID controller's tool and the
// partition table.
#include "fixtures/disk_root.h"
#include "fixtures/library.h"
#include "inventory/disks.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

void three_disks(disk_list& list) {
    add_disk(list, "sda", 1);
    add_disk(list, "sdb", 2);
    add_disk(list, "sdab", 3);
}

const std::vector<std::string> none_marked = {"sda|1|0||||0|0", "sdb|2|0||||0|0",
                                              "sdab|3|0||||0|0"};

class HotSpares : public testing::Test {
  public:
    Discovery marked() { return root.discover(get_global_hotspare, three_disks); }
    Rule answer() { return root.tool(disk_tool::hotspare).on("/usr/local/bin/hotspare --list"); }
    DiskRoot root;
};

TEST_F(HotSpares, AreMarkedByTheirWholeName) {
    root.hot_spares("sdb sdx sd");
    const Discovery found = marked();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, ElementsAre("sda|1|0||||0|0", "sdb|2|0||||0|1", "sdab|3|0||||0|0"));
    EXPECT_THAT(found.commands,
                ElementsAre("/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(HotSpares, AreMarkedWhereverTheirNameAppears) {
    root.hot_spares("sdab sda");
    const Discovery found = root.discover(get_global_hotspare, [](disk_list& list) {
        three_disks(list);
        add_disk(list, "sda", 1, "3"); // the same name in a box
    });
    EXPECT_THAT(found.disks, ElementsAre("sda|1|0||||0|1", "sdb|2|0||||0|0", "sdab|3|0||||0|1",
                                         "sda|1|0||||3|1"));
}

TEST_F(HotSpares, OfNamesAreNotMarkedOnNamelessDisks) {
    root.hot_spares("");
    const Discovery found =
        root.discover(get_global_hotspare, [](disk_list& list) { add_disk(list, "", 1); });
    EXPECT_THAT(found.disks, ElementsAre("|1|0||||0|0"));
}

TEST_F(HotSpares, WithoutNamesAreNone) {
    answer().prints("Global hotspare disk:\n");
    const Discovery found = marked();
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.disks, none_marked);
}

TEST_F(HotSpares, WithoutTheirLineFail) {
    answer().prints("no disks\n");
    const Discovery found = marked();
    EXPECT_EQ(found.code, -1024);
    EXPECT_EQ(found.disks, none_marked);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(MatchesRegex("get_global_hotspare:874 return 0 with .*")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(HotSpares, OfEmptyOutputFail) {
    answer();
    EXPECT_EQ(marked().code, -1024);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(HotSpares, OfAMegabyteOfGarbageFail) {
    answer().prints_bytes(1 << 20);
    EXPECT_EQ(marked().code, -1024);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(HotSpares, OfAFailingToolFailWhateverItPrinted) {
    answer().prints("Global hotspare disk: sda\n").exits(2);
    const Discovery found = marked();
    EXPECT_EQ(found.code, -11000);
    EXPECT_EQ(found.disks, none_marked);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failed_capture("/usr/local/bin/hotspare --list > /tmp/hotspare",
                                           "normal with exit\\(2\\)")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(HotSpares, OfAKilledToolFail) {
    answer().killed_by(SIGTERM);
    EXPECT_EQ(marked().code, -11000);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failed_capture("/usr/local/bin/hotspare --list > /tmp/hotspare",
                                           "unnormal with exit\\(0\\)")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(HotSpares, OfAMissingToolFail) {
    EXPECT_EQ(marked().code, -11000);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failed_capture("/usr/local/bin/hotspare --list > /tmp/hotspare",
                                           "normal with exit\\(127\\)")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(HotSpares, WhoseListIsGoneFail) {
    answer().does("rm /tmp/hotspare.*");
    EXPECT_EQ(marked().code, -1023);
    EXPECT_THAT(root.log_texts(),
                ElementsAre("get_global_hotspare:862 return 0 with No such file or directory"));
}

class RaidController : public testing::Test {
  public:
    Discovery scanned() { return root.discover(get_diskinfo_from_vexadm); }
    Rule answer() { return root.tool(disk_tool::vexadm).on("/usr/local/bin/vexadm --misc --scan"); }
    DiskRoot root{"VEL7205U"};
};

TEST_F(RaidController, GivesItsDisks) {
    answer().prints(
        "====\n0 /D-1/931/Online/RAID\n1 /N.A./0/N.A./N.A.\n2 /D-2/931/Ready/Hot Spare\n");
    const Discovery found = scanned();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks,
                ElementsAre("|1|931|Online|D-1|RAID|0|0", "|3|931|Ready|D-2|Hot Spare|0|1"));
    EXPECT_THAT(found.commands, ElementsAre("/usr/local/bin/vexadm --misc --scan > "
                                            "/tmp/diskinfo.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(found.printed, IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(RaidController, OfEmptyOutputHasNoDisks) {
    answer();
    const Discovery found = scanned();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, IsEmpty());
}

TEST_F(RaidController, OfAMegabyteOfGarbageHasNoDisks) {
    answer().prints_bytes(1 << 20);
    const Discovery found = scanned();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(RaidController, WhoseToolFailsHasNoDisks) {
    answer().prints("0 /D/931/Online/RAID\n").exits(4);
    const Discovery found = scanned();
    EXPECT_EQ(found.code, -11000);
    EXPECT_THAT(found.disks, IsEmpty());
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failed_capture("/usr/local/bin/vexadm --misc --scan > /tmp/diskinfo",
                                           "normal with exit\\(4\\)")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(RaidController, WhoseToolIsKilledOrMissingFails) {
    EXPECT_EQ(scanned().code, -11000);
    answer().killed_by(SIGSEGV);
    EXPECT_EQ(scanned().code, -11000);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(RaidController, WhoseScanIsGoneIsPrintedAndLogged) {
    answer().does("rm /tmp/diskinfo.*");
    const Discovery found = scanned();
    EXPECT_EQ(found.code, -1025);
    EXPECT_THAT(found.printed, MatchesRegex("cannot open /tmp/diskinfo\\.[A-Za-z0-9]{6}\n"));
    EXPECT_THAT(
        root.log_texts(),
        ElementsAre("get_diskinfo_from_vexadm:1482 return 0 with No such file or directory"));
}

class PartitionSource : public testing::Test {
  public:
    DiskRoot root;
};

TEST_F(PartitionSource, GivesEachDiskAChannelByItsOrder) {
    root.file("/proc/partitions", recorded("partitions_disks").text);
    const Discovery found = root.discover(get_diskinfo_from_partitions);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, ElementsAre("sda|1|0||||5|0", "sdb|2|0||||5|0", "sdc|3|0||||5|0",
                                         "sdd|4|0||||5|0", "sde|5|0||||5|0", "sdf|6|0||||5|0",
                                         "sdg|7|0||||5|0", "sdh|8|0||||5|0"));
    EXPECT_THAT(found.commands, IsEmpty());
    EXPECT_THAT(found.printed, IsEmpty());
}

TEST_F(PartitionSource, LeavesOutDisksThatTheListHas) {
    root.file("/proc/partitions", "major\n\n8 0 9 sda\n8 1 9 sda1\n8 16 9 sdb\n8 16 9 sdb\n");
    const Discovery found = root.discover(get_diskinfo_from_partitions,
                                          [](disk_list& list) { add_disk(list, "sda", 7); });
    EXPECT_THAT(found.disks, ElementsAre("sda|7|0||||0|0", testing::StartsWith("sdb|")));
}

TEST_F(PartitionSource, ThatIsMissingIsPrintedAndLogged) {
    const Discovery found = root.discover(get_diskinfo_from_partitions);
    EXPECT_EQ(found.code, -1020);
    EXPECT_EQ(found.printed, "cannot open /proc/partitions\n");
    EXPECT_THAT(
        root.log_texts(),
        ElementsAre("get_diskinfo_from_partitions:754 return 0 with No such file or directory"));
}

} // namespace
} // namespace zav::test
