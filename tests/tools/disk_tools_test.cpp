// SPDX-License-Identifier: MIT
// smartctl's adapter, diskformat, vexadm and pwstate.
#include "tools/tools_root.h"

#include <fstream>
#include <iterator>

namespace zav::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// smartctl

class Smartctl : public testing::Test {
  public:
    // Of a SATA disk.
    static std::string healthy() {
        std::ifstream in(ZAV_TEST_SMART_OUTPUTS "/sata_healthy.txt");
        std::string text{std::istreambuf_iterator<char>(in), {}};
        text.erase(text.find_last_not_of('\n') + 2);
        return text;
    }
    Result run() {
        return root.adapter("/usr/local/sbin/smartctl",
                            {"-d", "marvell", "-T", "permissive", "-Hi", "/dev/sda"});
    }
    Rule type(const std::string& name) {
        return root.tool("/usr/sbin/smartctl")
            .on("/usr/sbin/smartctl -d " + name + " -T permissive -Hi /dev/sda");
    }
    ToolsRoot root;
};

TEST_F(Smartctl, IsNeededAsTheTypeIsThatOfOneController) {
    type("marvell").replays("smartctl_marvell");
    const Result result = root.bare("/usr/sbin/smartctl -d marvell -T permissive -Hi /dev/sda");
    EXPECT_THAT(result.out, HasSubstr("Serial Number:    [No Information Found]"));
    EXPECT_THAT(result.out, Not(HasSubstr("overall-health")));
}

TEST_F(Smartctl, TellsWhatADiskThatItKnowsAnswers) {
    type("auto").prints(healthy());
    const Result result = run();
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.out, healthy()) << "and nothing is added";
}

TEST_F(Smartctl, GivesADiskThatFailsItsStatus) {
    type("auto").prints("=== START OF INFORMATION SECTION ===\nDevice Model:     A\n").exits(8);
    EXPECT_EQ(run().exit_status, 8);
}

TEST_F(Smartctl, TriesTheTypeOfAUsbBridge) {
    type("auto")
        .prints("/dev/sda: Unknown USB bridge [0x152d:0x0583 (0x209)]\n"
                "Please specify device type with the -d option.\n")
        .exits(1);
    type("sat").prints(healthy());
    EXPECT_THAT(run().out, HasSubstr(healthy()));
    root.expect_all_used();
}

// A disk behind a translation that hides it: status 0, and no identity.
TEST_F(Smartctl, TriesTheTypeOfAHiddenSataDisk) {
    type("auto").replays("smartctl_scsi");
    type("sat").prints(healthy());
    EXPECT_THAT(run().out, HasSubstr(healthy()));
}

TEST_F(Smartctl, GoesOnToTheBridgesOfOlderKinds) {
    for (const char* name : {"auto", "sat", "sat,12", "usbprolific", "usbsunplus"}) {
        type(name).replays("smartctl_marvell").optional();
    }
    type("usbjmicron").prints(healthy());
    EXPECT_THAT(run().out, HasSubstr(healthy()));
}

TEST_F(Smartctl, TellsWhyNoTypeSuits) {
    for (const char* name : {"sat", "sat,12", "usbjmicron", "usbprolific", "usbsunplus"}) {
        type(name).replays("smartctl_marvell");
    }
    type("auto").prints("/dev/sda: Unable to detect device type\n").exits(1);
    const Result result = run();
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_EQ(result.out, "/dev/sda: Unable to detect device type\n");
    root.expect_all_used();
}

TEST_F(Smartctl, NamesTheIdentityOfASasDiskAsThatOfAnAtaDisk) {
    type("auto").replays("smartctl_sas");
    EXPECT_THAT(run().out, EndsWith("\nDevice Model:     UML UML-DISK-1\n"
                                    "Firmware Version: 4.0\n"
                                    "SMART overall-health self-assessment test result: PASSED\n"));
}

TEST_F(Smartctl, NamesTheIdentityOfAnNvmeDiskAsThatOfAnAtaDisk) {
    type("auto").prints("=== START OF INFORMATION SECTION ===\n"
                        "Model Number:                       SSD 980 1TB\n"
                        "Serial Number:                      S649NX0T\n"
                        "Firmware Version:                   3B4QFXO7\n"
                        "Total NVM Capacity:                 1,000,204,886,016 [1.00 TB]\n"
                        "Namespace 1 Size/Capacity:          1,000,204,886,016 [1.00 TB]\n"
                        "SMART overall-health self-assessment test result: PASSED\n");
    EXPECT_THAT(run().out, EndsWith("PASSED\nDevice Model:     SSD 980 1TB\n"
                                    "User Capacity:    1,000,204,886,016 bytes [1.00 TB]\n"));
}

// diskformat

class Diskformat : public testing::Test {
  public:
    Diskformat() {
        root.disk("sda");
        root.file("/sys/block/sda/dev", "8:0\n");
        root.file("/sys/block/sda/size", "8200\n"); // 4 MiB and 8 sectors
        root.file("/dev/sda", std::string(size, 'x'));
        root.file("/proc/mounts", "");
        root.file("/proc/swaps", "Filename Type Size Used Priority\n");
        root.tool("/usr/sbin/mdadm").any().exits(1).as_default();
        root.tool("/usr/sbin/wipefs").any().as_default();
    }
    Result run(const std::string& device = "/dev/sda") {
        return root.adapter("/usr/local/bin/diskformat", {device});
    }
    void refuses(const std::string& why) {
        const Result result = run();
        EXPECT_EQ(result.exit_status, 1);
        EXPECT_EQ(result.err, "diskformat: " + why + "\n");
        EXPECT_EQ(root.read("/dev/sda"), std::string(size, 'x'));
    }
    // The MiB of the disk that are not cleared as a whole.
    std::vector<size_t> kept() {
        const std::string disk = root.read("/dev/sda");
        EXPECT_EQ(disk.size(), size);
        std::vector<size_t> found;
        for (size_t at = 0; at < disk.size(); at += mib) {
            if (disk.substr(at, mib).find_first_not_of('\0') != std::string::npos) {
                found.push_back(at / mib);
            }
        }
        return found;
    }
    static constexpr size_t mib = 1048576;
    static constexpr size_t size = 8200 * 512;
    ToolsRoot root;
};

TEST_F(Diskformat, ClearsSignaturesAndBothEnds) {
    root.tool("/usr/sbin/wipefs").on("/usr/sbin/wipefs --all --quiet /dev/sda");
    const Result result = run();
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_THAT(kept(), testing::ElementsAre(1, 2));
    root.expect_all_used();
}

TEST_F(Diskformat, ClearsWhereAnArraysDataBegan) {
    root.tool("/usr/sbin/mdadm")
        .on("/usr/sbin/mdadm --examine /dev/sda")
        .prints("    Data Offset : 4096 sectors\n   Super Offset : 8 sectors\n");
    EXPECT_EQ(run().exit_status, 0);
    EXPECT_THAT(kept(), testing::ElementsAre(1));
}

TEST_F(Diskformat, ClearsNothingBehindTheEnd) {
    root.tool("/usr/sbin/mdadm").any().prints("    Data Offset : 262144 sectors\n");
    EXPECT_EQ(run().exit_status, 0);
    EXPECT_THAT(kept(), testing::ElementsAre(1, 2));
}

TEST_F(Diskformat, RefusesADiskThatIsHeld) {
    root.directory("/sys/block/sda/holders/md1");
    refuses("/dev/sda is held by md1");
}

TEST_F(Diskformat, RefusesADiskWithAPartitionInUse) {
    root.file("/sys/block/sda/sda1/dev", "8:1\n");
    root.file("/proc/mounts", "/dev/sda1 /srv xfs rw 0 0\n");
    refuses("/dev/sda1 is in use (/proc/mounts)");
}

TEST_F(Diskformat, RefusesSwap) {
    root.file("/proc/swaps", "Filename Type Size Used Priority\n/dev/sda partition 1 0 -2\n");
    refuses("/dev/sda is in use (/proc/swaps)");
}

// The kernel knows more than these lists: wipefs opens the disk for itself alone.
TEST_F(Diskformat, RefusesADiskThatWipefsCannotHave) {
    root.tool("/usr/sbin/wipefs").any().exits(1);
    refuses("cannot clear the signatures of /dev/sda");
}

TEST_F(Diskformat, RefusesWhatIsNoDisk) {
    EXPECT_EQ(run("/dev/nosuch").err, "diskformat: '/dev/nosuch' is no block device\n");
    EXPECT_EQ(run("/dev/null").err, "diskformat: '/dev/null' is no block device\n");
}

// vexadm: three disks of an AHCI controller, each the only unit of its port.

class Vexadm : public testing::Test {
  public:
    Vexadm() {
        root.directory("/run/zavbox/mvSata");
        root.file("/proc/mounts", "");
        for (const char* name : {"sda", "sdb", "vda"}) {
            root.disk(name, std::string(name) + "/0:0:0:0");
        }
        root.remove("/sys/devices/vda/0:0:0:0");
        slot(1, "sda");
        slot(2, "");
        slot(3, "sdb");
        slot(12, "vda");
    }
    void slot(int number, const std::string& disk) {
        const std::string port = "1 0 0 1 disk running 4194304 512 8:0 " + disk + "\n";
        root.file("/run/zavbox/mvSata/" + std::to_string(number),
                  "PCI location    : 1,4\n# adapter port\n-----\n" + (disk.empty() ? "" : port));
    }
    std::string run(const std::vector<std::string>& arguments) {
        return root.adapter("/usr/local/bin/vexadm", arguments).out;
    }
    ToolsRoot root;
};

TEST_F(Vexadm, TakesTheSlotsOfTheTable) {
    root.file("/etc/hotspare.list", "sdb\n");
    root.directory("/sys/block/sda/holders/md1");
    const std::string out = run({"--misc", "--scan"});
    EXPECT_THAT(out, HasSubstr("\n0 /DISK-2000/2/running/RAID md1\n1 /N.A./0/N.A./N.A.\n"
                               "2 /DISK-2000/2/running/Hot Spare\n3 /N.A./0/N.A./N.A.\n"));
    EXPECT_THAT(out, HasSubstr("\n11 /disk/2/running/Free\n"));
}

TEST_F(Vexadm, NamesTheChannelsOfAnArray) {
    root.directory("/sys/block/md1/slaves/sda");
    root.directory("/sys/block/md1/slaves/sdb");
    root.file("/sys/block/md1/size", "4194304\n");
    root.file("/sys/block/md1/md/level", "raid1\n");
    root.file("/sys/block/md1/md/raid_disks", "2\n");
    root.file("/sys/block/md1/md/array_state", "clean\n");
    root.file("/sys/block/md1/md/degraded", "0\n");
    EXPECT_THAT(run({"--display", "--scan"}), EndsWith("=\nmd1 /1/2/clean/2/md1/ #1 #3\n"));
}

TEST_F(Vexadm, ShowsTheAttributesOfTheDiskInASlot) {
    root.tool("/usr/sbin/smartctl")
        .on("/usr/sbin/smartctl -d auto --attributes /dev/sdb")
        .prints("INFORMATION SECTION\n  5 Reallocated_Sector_Ct 0x0003 100 100 036 Pre-fail "
                "Always - 7\n");
    EXPECT_EQ(run({"--misc", "-s", "-i", "2"}), "Reallocated Sector Ct: 100 100 36 (7)\n");
    EXPECT_EQ(root.adapter("/usr/local/bin/vexadm", {"--misc", "-s", "-i", "1"}).err,
              "vexadm: no disk in slot 1\n");
}

// pwstate

TEST(Pwstate, IsOnWithoutAListOfSuppliesAndWhileOneIsOn) {
    ToolsRoot root;
    const auto state = [&] { return root.adapter("/usr/local/bin/pwstate", {}).out; };
    EXPECT_EQ(state(), "power state: on\n");
    root.file("/sys/class/power_supply/A/online", "0\n");
    EXPECT_EQ(state(), "power state: off\n");
    root.file("/sys/class/power_supply/B/online", "1\n");
    EXPECT_EQ(state(), "power state: on\n");
}

} // namespace
} // namespace zav::test
