// SPDX-License-Identifier: MIT
// The disk list as a whole, and its first step: the status files of the SATA controller.
#include "fixtures/disk_root.h"
#include "fixtures/library.h"
#include "inventory/disks.h"

#include <csignal>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr char cat_disk0[] = "cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX 2>> /dev/null";
constexpr char list_hot_spares[] =
    "/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX 2>> /dev/null";

TEST(DiskList, HasPlaceAttributesAndHotSparesOfEachDisk) {
    DiskRoot root;
    root.disk("sda", 1).disk("sdb", 3).hot_spares("sdb");
    const Discovery found = root.discover(get_disk_list);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, UnorderedElementsAre("sda|1|2|running|DISK-MODEL||0|0",
                                                  "sdb|3|2|running|DISK-MODEL||0|1"));
    EXPECT_THAT(found.printed, IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(DiskList, RunsCatForEachStatusFileThenTheHotSpareTool) {
    DiskRoot root;
    root.disk("sda", 1).hot_spares("");
    EXPECT_THAT(root.discover(get_disk_list).commands, ElementsAre(cat_disk0, list_hot_spares));
}

TEST(DiskList, WithoutDisksIsEmpty) {
    DiskRoot root;
    root.hot_spares("sda").directory("/proc/scsi/mvSata");
    const Discovery found = root.discover(get_disk_list);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, IsEmpty());
}

TEST(DiskList, OfAnUnknownModelComesFromTheController) {
    DiskRoot root;
    root.disk("sda", 1).hot_spares("").remove("/etc/sys_info");
    const Discovery found = root.discover(get_disk_list);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, ElementsAre("sda|1|2|running|DISK-MODEL||0|0"));
    EXPECT_THAT(root.log_texts(), ElementsAre(HasSubstr("devmodel_get")));
}

TEST(DiskList, EndsAtAFailureOfTheController) {
    DiskRoot root;
    root.hot_spares("sda");
    const Discovery found = root.discover(get_disk_list);
    EXPECT_EQ(found.code, -1021);
    EXPECT_THAT(found.commands, IsEmpty());
}

TEST(DiskList, FailsWithTheHotSpareToolAndKeepsWhatItFound) {
    DiskRoot root;
    root.disk("sda", 1).tool(disk_tool::hotspare).any().exits(1);
    const Discovery found = root.discover(get_disk_list);
    EXPECT_EQ(found.code, -11000);
    EXPECT_THAT(found.disks, ElementsAre("sda|1|2|running|DISK-MODEL||0|0"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(DiskList, OfTheControllerModelComesFromItsToolAlone) {
    DiskRoot root("VEL7205U");
    root.disk("sda", 1).tool(disk_tool::hotspare);
    root.tool(disk_tool::vexadm).any().prints("0 /D/931/Online/Hot Spare\n");
    const Discovery found = root.discover(get_disk_list);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, ElementsAre("|1|931|Online|D|Hot Spare|0|1"));
    EXPECT_THAT(found.commands, ElementsAre("/usr/local/bin/vexadm --misc --scan > "
                                            "/tmp/diskinfo.XXXXXX 2>> /dev/null"));
}

TEST(DiskList, OfTheControllerModelFailsWithItsTool) {
    DiskRoot root("VEL7205U");
    root.disk("sda", 1).hot_spares("").tool(disk_tool::vexadm).any().exits(1);
    const Discovery found = root.discover(get_disk_list);
    EXPECT_EQ(found.code, -11000);
    EXPECT_THAT(found.disks, IsEmpty());
}

class OtherModel : public testing::TestWithParam<const char*> {};

TEST_P(OtherModel, HasItsDisksOnTheSataController) {
    DiskRoot root(GetParam());
    root.disk("sda", 1).hot_spares("");
    EXPECT_THAT(root.discover(get_disk_list).commands, ElementsAre(cat_disk0, list_hot_spares));
}

INSTANTIATE_TEST_SUITE_P(All, OtherModel,
                         testing::Values("KOR7206LB", "VEL7206P", "VEL7206X", "VEL7205X",
                                         "VEL7205E", "VEL7205P", "VEL7205UX", "vel7205u",
                                         "VEL7205"),
                         [](const auto& each) { return std::string(each.param); });

TEST(ControllerDirectory, ThatIsMissingFails) {
    DiskRoot root;
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, -1021);
    EXPECT_THAT(found.commands, IsEmpty());
    EXPECT_THAT(
        root.log_texts(),
        ElementsAre("get_diskinfo_from_mvSata:458 return 0 with No such file or directory"));
}

TEST(ControllerDirectory, ThatIsAFileFails) {
    DiskRoot root;
    root.file("/proc/scsi/mvSata", "");
    EXPECT_EQ(root.discover(get_diskinfo_from_mvSata).code, -1021);
    EXPECT_THAT(root.log_texts(),
                ElementsAre("get_diskinfo_from_mvSata:458 return 0 with Not a directory"));
}

// Where there is no driver: what stands in for its directory.
class Slots : public testing::Test {
  protected:
    Slots() { root.file("/run/zavbox/mvSata/0", status_file("1,4", {port_line("0", "2", "sda")})); }
    Discovery discover() { return root.discover(get_diskinfo_from_mvSata); }
    void expect_no_directory() {
        const Discovery found = discover();
        EXPECT_EQ(found.code, -1021);
        EXPECT_THAT(found.commands, IsEmpty());
        EXPECT_THAT(
            root.log_texts(),
            ElementsAre("get_diskinfo_from_mvSata:458 return 0 with No such file or directory"));
    }

    DiskRoot root;
};

TEST_F(Slots, StandInForAMissingDirectory) {
    const Discovery found = discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, ElementsAre("sda|3|0||||0|0"));
    EXPECT_THAT(found.commands,
                ElementsAre("cat /run/zavbox/mvSata/0 > /tmp/disk0.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(root.log(), IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(Slots, WithoutDisksAreNoFailure) {
    root.remove("/run/zavbox/mvSata/0");
    const Discovery found = discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, IsEmpty());
}

TEST_F(Slots, AreNotAskedWhereThereIsADirectory) {
    root.directory("/proc/scsi/mvSata");
    EXPECT_THAT(discover().disks, IsEmpty());
    root.ports("0", {port_line("0", "0", "sdb")});
    EXPECT_THAT(discover().disks, ElementsAre("sdb|1|0||||0|0"));
}

TEST_F(Slots, AreNotAskedWhereSomethingElseHasItsName) {
    root.file("/proc/scsi/mvSata", "");
    EXPECT_EQ(discover().code, -1021);
    EXPECT_THAT(root.log_texts(),
                ElementsAre("get_diskinfo_from_mvSata:458 return 0 with Not a directory"));
}

TEST_F(Slots, ThatOthersMayWriteToAreNone) {
    root.directory("/run/zavbox", 0775);
    expect_no_directory();
}

TEST_F(Slots, InADirectoryThatOthersMayWriteToAreNone) {
    root.directory("/run/zavbox/mvSata", 01777);
    expect_no_directory();
}

TEST_F(Slots, OfAnotherUserAreNone) {
    if (::lchown(root.host_path("/run/zavbox").c_str(), 1234, 0) != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    expect_no_directory();
}

TEST_F(Slots, BehindALinkAreNone) {
    root.remove("/run/zavbox/mvSata")
        .directory("/tmp/slots")
        .symlink("/tmp/slots", "/run/zavbox/mvSata");
    expect_no_directory();
}

TEST(ControllerDirectory, EntriesOfOneAndTwoCharactersAreRead) {
    DiskRoot root;
    root.ports("7", {port_line("0", "0", "sda")}).ports("15", {port_line("0", "1", "sdb")});
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, UnorderedElementsAre("sda|1|0||||0|0", "sdb|2|0||||0|0"));
    EXPECT_THAT(found.commands, UnorderedElementsAre(
                                    "cat /proc/scsi/mvSata/7 > /tmp/disk7.XXXXXX 2>> /dev/null",
                                    "cat /proc/scsi/mvSata/15 > /tmp/disk15.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(ControllerDirectory, EntryWithThreeCharactersIsIgnored) {
    DiskRoot root;
    root.ports("100", {port_line("0", "0", "sda")}).ports("status", {port_line("0", "0", "sdb")});
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, IsEmpty());
    EXPECT_THAT(found.commands, IsEmpty());
}

TEST(ControllerDirectory, EntryWithAShellCharacterIsNeverRun) {
    DiskRoot root;
    for (const char* name : {";",  "&", "|",  "*", "?",  "$a", "`",  "<a", ">a", " ",
                             "a ", "'", "\"", "#", "-n", "\\", "\n", "~",  "(",  "a\t"}) {
        root.ports(name, {port_line("0", "0", "sda")});
    }
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.commands, IsEmpty());
}

TEST(ControllerDirectory, EachFileBeginsWithItsOwnBox) {
    DiskRoot root;
    root.file("/proc/scsi/mvSata/0", status_file("1,5", {port_line("0", "0", "sda")}));
    root.file("/proc/scsi/mvSata/1", status_file("1,5", {port_line("0", "1", "sdb")}));
    EXPECT_THAT(root.discover(get_diskinfo_from_mvSata).disks,
                UnorderedElementsAre("sda|9|0||||0|0", "sdb|10|0||||0|0"));
}

TEST(ControllerDirectory, FileWithoutALocationIsPassedOver) {
    DiskRoot root;
    root.ports("1", {port_line("0", "1", "sdb")}).file("/proc/scsi/mvSata/0", "nothing\n");
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, ElementsAre("sdb|2|0||||0|0"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(ControllerStatusFile, ThatCannotBeReadFailsTheCommand) {
    DiskRoot root;
    root.directory("/proc/scsi/mvSata/0");
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, -11000);
    EXPECT_THAT(root.log_texts(), ElementsAre(failed_capture("cat /proc/scsi/mvSata/0 > /tmp/disk0",
                                                             "normal with exit\\(1\\)", "")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(ControllerStatusFile, WhoseReaderIsKilledFailsTheCommand) {
    DiskRoot root;
    root.ports("0", {port_line("0", "0", "sda")}).tool("/bin/cat").any().killed_by(SIGKILL);
    EXPECT_EQ(root.discover(get_diskinfo_from_mvSata).code, -11000);
    EXPECT_THAT(root.log_texts(), ElementsAre(failed_capture("cat /proc/scsi/mvSata/0 > /tmp/disk0",
                                                             "unnormal with exit\\(0\\)", "")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(ControllerStatusFile, AfterAFailureNoOtherIsRead) {
    DiskRoot root;
    root.directory("/proc/scsi/mvSata/0").directory("/proc/scsi/mvSata/1");
    EXPECT_EQ(root.discover(get_diskinfo_from_mvSata).commands.size(), 1U);
}

TEST(ControllerStatusFile, WhoseCopyIsGoneEndsTheScan) {
    DiskRoot root;
    root.ports("0", {port_line("0", "0", "sda")}).ports("1", {port_line("0", "1", "sdb")});
    root.tool("/bin/cat").any().does("rm /tmp/disk?.*");
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, -1022);
    EXPECT_EQ(found.commands.size(), 1U);
    EXPECT_THAT(
        root.log_texts(),
        ElementsAre("get_diskinfo_from_mvSata:499 return 0 with No such file or directory"));
}

TEST(ControllerStatusFile, WhoseCopyCannotBeOpenedEndsTheScan) {
    DiskRoot root;
    root.ports("0", {port_line("0", "0", "sda")});
    root.tool("/bin/cat").any().does("chmod 0 /tmp/disk?.*");
    root.directory("/var/log", 01777);
    RunOptions options;
    options.uid = 65534;
    const Result result = root.call(
        [] {
            disk_list list;
            return get_diskinfo_from_mvSata(list);
        },
        options);
    EXPECT_EQ(result.returned, -1022);
    EXPECT_THAT(root.log_texts(),
                ElementsAre("get_diskinfo_from_mvSata:499 return 0 with Permission denied"));
}

TEST(ControllerStatusFile, WithoutAPlaceForItsCopyFails) {
    DiskRoot root;
    root.ports("0", {port_line("0", "0", "sda")}).read_only("/tmp");
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, -11000);
    EXPECT_THAT(found.commands, IsEmpty());
}

TEST(ControllerStatusFile, OfAMegabyteOfGarbageAddsNoDisk) {
    DiskRoot root;
    root.file("/proc/scsi/mvSata/0", std::string(1 << 20, '7'));
    const Discovery found = root.discover(get_diskinfo_from_mvSata);
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.disks, IsEmpty());
    EXPECT_THAT(root.tmp(), IsEmpty());
}

} // namespace
} // namespace zav::test
