// SPDX-License-Identifier: MIT
#include "machine.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <sstream>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string output_of(PrivateRoot& root, const std::string& command) {
    return root.call([&command] { return std::system(command.c_str()); }).out;
}

std::vector<std::string> filled_lines(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

TEST(Machine, HasAModel) {
    Machine machine;
    EXPECT_THAT(machine.read("/etc/sys_info"), HasSubstr("[product]\n\ttype = KOR7206H\n"));
    machine.model("VEL7205U");
    EXPECT_THAT(machine.read("/etc/sys_info"), HasSubstr("\ttype = VEL7205U\n"));
}

TEST(Machine, HasAControllerStatusFileAndAttributesForEachDisk) {
    Machine machine;
    machine.disks(11).disk({.name = "sdz", .channel = 14, .sectors = 7, .state = "offline"});
    EXPECT_THAT(machine.list("/proc/scsi/mvSata"),
                ElementsAre("1", "10", "11", "12", "2", "3", "4", "5", "6", "7", "8", "9"));
    const std::vector<std::string> lines = filled_lines(machine.read("/proc/scsi/mvSata/3"));
    ASSERT_EQ(lines.size(), 10u);
    EXPECT_EQ(lines[1], "PCI location : 0,1,4");
    EXPECT_EQ(lines[9], "0  2  0  0  0  disk  3.0Gb/s  31  on  sdc"); // adapter 2, port 0
    EXPECT_THAT(machine.read("/proc/scsi/mvSata/12"), HasSubstr("\n0  9  4  "));
    EXPECT_EQ(machine.read("/sys/block/sdz/size"), "7\n");
    EXPECT_EQ(machine.read("/sys/block/sdz/device/state"), "offline\n");
    EXPECT_EQ(machine.read("/sys/block/sda/device/model"), "DISK-2000\n");
}

TEST(Machine, HasDisksBehindExpansionBoxes) {
    Machine machine;
    machine.disk({.name = "sdx", .channel = 7, .device = "4"});
    EXPECT_THAT(machine.read("/proc/scsi/mvSata/1"), HasSubstr("PCI location : 0,2,2\n"));
    EXPECT_THAT(machine.read("/proc/scsi/mvSata/1"), HasSubstr("\n0  5  2  "));
    EXPECT_THAT(machine.read("/proc/scsi/mvSata/1"), HasSubstr("  *sdx\n"));
    EXPECT_THROW(machine.disk({.name = "sdy", .channel = 17, .device = "1"}), std::logic_error);
}

TEST(Machine, ListsItsHotSpares) {
    Machine machine;
    EXPECT_EQ(output_of(machine, "/usr/local/bin/hotspare --list > /tmp/x; cat /tmp/x"),
              "Global hotspare disk:\n");
    machine.hotspares({"sdd", "sde"});
    EXPECT_EQ(output_of(machine, "/usr/local/bin/hotspare --list"),
              "Global hotspare disk: sdd sde\n");
}

TEST(Machine, HasArrays) {
    Machine machine;
    EXPECT_THAT(machine.read("/proc/mdstat"), Not(HasSubstr("md1")));
    machine.array({.name = "md1",
                   .state = "clean, degraded, recovering",
                   .size_kb = 1048576,
                   .raid_disks = 3,
                   .members = {{"sda"}, {"sdb", "faulty"}, {"sdc", "spare"}},
                   .progress = "[==>..]  recovery = 12.6%"});
    EXPECT_THAT(machine.read("/proc/mdstat"),
                HasSubstr("md1 : active raid5 sdc[2](S) sdb[1](F) sda[0]\n"
                          "      1048576 blocks super 1.2\n"
                          "      [==>..]  recovery = 12.6%\n"));
    EXPECT_EQ(machine.read("/sys/block/md1/md/raid_disks"), "3\n");
    EXPECT_EQ(machine.read("/sys/block/md1/md/dev-sdb/state"), "faulty\n");
    const std::string detail = output_of(machine, "/sbin/mdadm --detail /dev/md1");
    EXPECT_THAT(detail, HasSubstr("Raid Level : raid5\n"));
    EXPECT_THAT(detail, HasSubstr("Array Size : 1048576 ("));
    EXPECT_THAT(detail, HasSubstr("State : clean, degraded, recovering \n"));
    EXPECT_THAT(detail, HasSubstr("/dev/sdc\n"));
    machine.array({.name = "md1", .members = {{"sda"}}});
    EXPECT_FALSE(machine.exists("/sys/block/md1/md/dev-sdb"));
    machine.remove_array("md1");
    EXPECT_FALSE(machine.exists("/sys/block/md1"));
    EXPECT_THAT(machine.read("/proc/mdstat"), Not(HasSubstr("md1")));
}

TEST(Machine, TakesARecordedArray) {
    Machine machine;
    machine.recorded_array("raid5_clean");
    EXPECT_EQ(machine.read("/proc/mdstat"), recorded("raid5_clean_mdstat").text);
    EXPECT_EQ(machine.read("/sys/block/md1/md/raid_disks"), "3\n");
    EXPECT_EQ(machine.read("/sys/block/md1/md/dev-sda/state"), "in_sync\n");
    EXPECT_EQ(output_of(machine, "/sbin/mdadm --detail /dev/md1"),
              recorded("raid5_clean_detail").text);
}

TEST(Machine, HasVolumeGroups) {
    Machine machine;
    EXPECT_EQ(output_of(machine, "/sbin/vgdisplay -c; /sbin/pvdisplay -c"), "");
    machine.group({.name = "data",
                   .volumes = {{.device = "/dev/md1", .size_kb = 40960, .allocated = 4},
                               {.device = "/dev/sdc", .size_kb = 4096}}});
    machine.group({.name = "more"});
    const std::string groups = output_of(machine, "/sbin/vgdisplay -c");
    EXPECT_THAT(groups, HasSubstr("  data:r/w:772:-1:0:1:0:-1:0:2:2:45056:4096:11:4:7:"));
    EXPECT_THAT(groups, HasSubstr("  more:"));
    EXPECT_THAT(output_of(machine, "/sbin/vgdisplay -c data"), Not(HasSubstr("more")));
    EXPECT_THAT(output_of(machine, "/sbin/pvdisplay -c"),
                HasSubstr("  /dev/md1:data:81920:-1:8:8:-1:4096:10:6:4:"));
    EXPECT_EQ(machine.call([] { return std::system("/sbin/vgdisplay -c none"); }).returned, 5 << 8);
}

TEST(Machine, HasToolsThatSucceedUntilATestSaysOtherwise) {
    Machine machine;
    for (const char* command :
         {"/sbin/mdadm -C  /dev/md1 -l 5", "/sbin/mdadm -S /dev/md1", "/sbin/pvcreate /dev/md1",
          "/usr/local/bin/diskformat /dev/sda", "/usr/local/bin/hotspare -a /dev/sda"}) {
        EXPECT_EQ(machine.call([command] { return std::system(command); }).returned, 0) << command;
    }
    machine.tool("/sbin/mdadm").on_prefix("/sbin/mdadm -C ").exits(1);
    EXPECT_EQ(machine.call([] { return std::system("/sbin/mdadm -C x"); }).returned, 1 << 8);
    machine.expect_all_used();
}

TEST(Machine, ShowsWhatIsMounted) {
    Machine machine;
    EXPECT_THAT(output_of(machine, "/bin/df"), Not(HasSubstr("/dev/sd")));
    machine.mounted({"/dev/sdf1 100 50 50 50% /mnt/usb"});
    EXPECT_THAT(output_of(machine, "/bin/df"), HasSubstr("\n/dev/sdf1 100 "));
}

} // namespace
} // namespace zav::test
