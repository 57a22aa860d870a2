// SPDX-License-Identifier: MIT
// The attribute step: size, state and model from the kernel's files.
#include "fixtures/disk_root.h"
#include "fixtures/library.h"
#include "inventory/disks.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void list_with_sda(disk_list& list) {
    add_disk(list, "sda", 1);
}

/// A disk that only the partition table knows.
void list_with_partition_disk(disk_list& list) {
    add_disk(list, "sda", 1, "5");
}

std::vector<std::string>
with_attributes(DiskRoot& root, const std::function<void(disk_list&)>& prepare = list_with_sda) {
    const Discovery found = root.discover(get_diskinfo_from_sysblock, prepare);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.commands, IsEmpty());
    EXPECT_THAT(found.printed, IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
    return found.disks;
}

TEST(DiskAttributes, AreSizeStateAndModel) {
    DiskRoot root;
    root.block("sda", "4194304", "running\n", "NAS-DISK-0      \n");
    EXPECT_THAT(with_attributes(root), ElementsAre("sda|1|2|running|NAS-DISK-0||0|0"));
}

TEST(DiskAttributes, SizeIsInGibRoundedToTheNearest) {
    const std::vector<std::pair<std::string, std::string>> sizes = {
        {"0", "0"},
        {"1048575", "0"},
        {"1048576", "1"},
        {"3145727", "1"},
        {"3145728", "2"},
        {"1953525168", "932"},
        {"46880784384", "22355"}, // beyond 32 bits
        {"18446744073709551615", "8796093022207"}};
    for (const auto& [sectors, gib] : sizes) {
        DiskRoot root;
        root.block("sda", sectors);
        EXPECT_THAT(with_attributes(root), ElementsAre("sda|1|" + gib + "|running|DISK-MODEL||0|0"))
            << sectors;
    }
}

TEST(DiskAttributes, BlanksAndLineEndsAreTrimmedFromTheEndOnly) {
    DiskRoot root;
    root.block("sda", "4194304", " running \r\n\n", " DISK 1 \n");
    EXPECT_THAT(with_attributes(root), ElementsAre("sda|1|2| running| DISK 1||0|0"));
}

TEST(DiskAttributes, LongTextsAreCutToTheirFields) {
    DiskRoot root;
    root.block("sda", "4194304", std::string(300, 's'), std::string(32, 'm'));
    EXPECT_THAT(with_attributes(root), ElementsAre("sda|1|2|" + std::string(31, 's') + "|" +
                                                   std::string(31, 'm') + "||0|0"));
}

TEST(DiskAttributes, UnreadableSizeEndsTheWorkOnTheDisk) {
    DiskRoot root;
    root.block("sda", "4194304").remove("/sys/block/sda/size");
    EXPECT_THAT(with_attributes(root, list_with_partition_disk), ElementsAre("sda|1|0||||5|0"));
}

TEST(DiskAttributes, UnreadableStateEndsTheWorkOnTheDisk) {
    DiskRoot root;
    root.block("sda", "4194304").remove("/sys/block/sda/device/state");
    EXPECT_THAT(with_attributes(root, list_with_partition_disk), ElementsAre("sda|1|2||||5|0"));
}

TEST(DiskAttributes, UnreadableModelEndsTheWorkOnTheDisk) {
    DiskRoot root;
    root.block("sda", "4194304").remove("/sys/block/sda/device/model");
    EXPECT_THAT(with_attributes(root, list_with_partition_disk),
                ElementsAre("sda|1|2|running|||5|0"));
}

TEST(DiskAttributes, DirectoryInAFilesPlaceIsUnreadable) {
    for (const char* file : {"size", "device/state", "device/model"}) {
        DiskRoot root;
        const std::string path = std::string("/sys/block/sda/") + file;
        root.block("sda", "4194304").remove(path).directory(path);
        const auto disks = with_attributes(root, list_with_partition_disk);
        EXPECT_THAT(disks, ElementsAre(testing::EndsWith("||5|0"))) << file;
    }
}

TEST(DiskAttributes, OfTheOtherDisksAreStillRead) {
    DiskRoot root;
    root.block("sdb", "4194304");
    const auto disks = with_attributes(root, [](disk_list& list) {
        add_disk(list, "sda", 1);
        add_disk(list, "sdb", 2);
    });
    EXPECT_THAT(disks, ElementsAre("sda|1|0||||0|0", "sdb|2|2|running|DISK-MODEL||0|0"));
}

TEST(DiskAttributes, OfTextThatIsNoNumberHaveSizeZero) {
    DiskRoot root;
    root.block("sda", "big");
    EXPECT_THAT(with_attributes(root), ElementsAre("sda|1|0|running|DISK-MODEL||0|0"));
}

TEST(DiskAttributes, EmptyThePartitionTablesDeviceOfARealDisk) {
    DiskRoot root;
    root.block("sda", "4194304");
    EXPECT_THAT(with_attributes(root, list_with_partition_disk),
                ElementsAre("sda|1|2|running|DISK-MODEL|||0"));
}

TEST(DiskAttributes, LeaveThePartitionTablesDeviceToAVirtualDisk) {
    DiskRoot root;
    root.block("sda", "4194304", "running\n", "VIRTUAL-DISK    \n");
    EXPECT_THAT(with_attributes(root, list_with_partition_disk),
                ElementsAre("sda|1|2|running|VIRTUAL-DISK||5|0"));
}

TEST(DiskAttributes, TreatOnlyTheExactModelAsAVirtualDisk) {
    for (const char* model : {"VIRTUAL-DISK2", "virtual-disk", " VIRTUAL-DISK", "VIRTUAL"}) {
        DiskRoot root;
        root.block("sda", "4194304", "running\n", model);
        EXPECT_THAT(with_attributes(root, list_with_partition_disk),
                    ElementsAre(std::string("sda|1|2|running|") + model + "|||0"));
    }
}

TEST(DiskAttributes, LeaveEveryOtherDevice) {
    DiskRoot root;
    root.block("sda", "4194304");
    for (const std::string device : {"0", "1", "2", "3", "4", "55"}) {
        const auto disks = with_attributes(
            root, [&](disk_list& list) { add_disk(list, "sda", 1, device.c_str()); });
        EXPECT_THAT(disks, ElementsAre("sda|1|2|running|DISK-MODEL||" + device + "|0"));
    }
}

TEST(DiskAttributes, AreNotLookedForWithoutAPlainName) {
    DiskRoot root;
    root.file("/sys/block/size", "4194304\n").file("/sys/size", "4194304\n");
    const auto disks = with_attributes(root, [](disk_list& list) {
        add_disk(list, "", 1);
        add_disk(list, "..", 2);
        add_disk(list, "a/..", 3);
    });
    EXPECT_THAT(disks, ElementsAre("|1|0||||0|0", "..|2|0||||0|0", "a/..|3|0||||0|0"));
}

} // namespace
} // namespace zav::test
