// SPDX-License-Identifier: MIT
// The list of hot spares: what it keeps, what it prints, and that changes at once lose none.
#include "tools/tools_root.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr auto list = "/etc/hotspare.list";

class Hotspare : public testing::Test {
  public:
    Hotspare() {
        root.file("/proc/mounts", "/dev/sdc1 /srv xfs rw 0 0\n");
        for (const char* name : {"sda", "sdb", "sdc"}) {
            root.disk(name);
        }
        id("wwn-0x5000c500a1b2c3d4", "sda");
        id("ata-DISK-2000_SN000", "sda");
        id("lvm-pv-uuid-abc", "sda");
        id("ata-DISK-2000_SN001", "sdb");
    }

    void id(const std::string& name, const std::string& disk) {
        root.remove("/dev/disk/by-id/" + name);
        root.symlink("../../" + disk, "/dev/disk/by-id/" + name);
    }

    Result run(const std::vector<std::string>& arguments) {
        return root.adapter("/usr/local/bin/hotspare", arguments);
    }

    void add(const std::string& disk) { EXPECT_EQ(run({"-a", "/dev/" + disk}).exit_status, 0); }
    std::string listed() { return run({"--list"}).out; }

    ToolsRoot root;
};

TEST_F(Hotspare, KeepsNoneAtFirst) {
    EXPECT_EQ(listed(), "Global hotspare disk:\n");
}

TEST_F(Hotspare, IsKeptByWhatItIsNotByItsKernelName) {
    add("sda");
    add("sdb");
    EXPECT_EQ(root.read(list), "wwn-0x5000c500a1b2c3d4\nata-DISK-2000_SN001\n");
    EXPECT_EQ(listed(), "Global hotspare disk: sda sdb\n");
    // The next boot finds the disks in another order.
    id("wwn-0x5000c500a1b2c3d4", "sdb");
    id("ata-DISK-2000_SN001", "sda");
    EXPECT_EQ(listed(), "Global hotspare disk: sdb sda\n");
}

TEST_F(Hotspare, ThatIsGoneIsNotNamed) {
    add("sda");
    add("sdb");
    root.remove("/dev/disk/by-id/wwn-0x5000c500a1b2c3d4");
    EXPECT_EQ(listed(), "Global hotspare disk: sdb\n");
}

TEST_F(Hotspare, WithoutANameOfItsOwnIsKeptByTheKernelName) {
    root.remove("/dev/disk/by-id");
    add("sda");
    EXPECT_EQ(root.read(list), "sda\n");
    EXPECT_EQ(listed(), "Global hotspare disk: sda\n");
}

TEST_F(Hotspare, OfAnOlderListIsStillOne) {
    root.file(list, "sda\n");
    EXPECT_EQ(listed(), "Global hotspare disk: sda\n");
    add("sda");
    EXPECT_EQ(root.read(list), "sda\n") << "it is there already";
    EXPECT_EQ(run({"-r", "/dev/sda"}).exit_status, 0);
    EXPECT_EQ(root.read(list), "");
}

TEST_F(Hotspare, IsRemovedAlone) {
    add("sda");
    add("sdb");
    EXPECT_EQ(run({"-r", "/dev/sda"}).exit_status, 0);
    EXPECT_EQ(root.read(list), "ata-DISK-2000_SN001\n");
    const Result again = run({"-r", "/dev/sda"});
    EXPECT_EQ(again.exit_status, 1);
    EXPECT_EQ(again.err, "hotspare: sda is no hot spare\n");
}

TEST_F(Hotspare, IsNoDiskInUse) {
    root.directory("/sys/block/sda/sda1/holders/md1");
    EXPECT_EQ(run({"-a", "/dev/sda"}).err, "hotspare: sda is in use\n");
    EXPECT_EQ(run({"-a", "/dev/sdc"}).err, "hotspare: sdc is in use\n");
    EXPECT_EQ(listed(), "Global hotspare disk:\n");
}

TEST_F(Hotspare, IsNothingButAWholeDisk) {
    for (const char* name : {"/dev/sdz", "/dev/ram2", "/dev/../sda", "sda1x", "/dev/md0"}) {
        const Result result = run({"-a", name});
        EXPECT_EQ(result.exit_status, 1);
        EXPECT_EQ(result.err, std::string("hotspare: '") + name + "' is no disk\n");
    }
}

TEST_F(Hotspare, MayBeAnNvmeDisk) {
    root.disk("nvme0n1");
    id("nvme-eui.0025385b21404c5a", "nvme0n1");
    add("nvme0n1");
    EXPECT_EQ(root.read(list), "nvme-eui.0025385b21404c5a\n");
    EXPECT_EQ(listed(), "Global hotspare disk: nvme0n1\n");
}

// Four disks are added while four others are removed, round after round.
TEST_F(Hotspare, ChangesAtOnceAreNotLost) {
    const std::string letters = "defghijk";
    for (const char letter : letters) {
        root.disk(std::string("sd") + letter);
        id(std::string("ata-DISK_") + letter, std::string("sd") + letter);
    }
    const std::string first = "for disk in d e f g; do /tools/adapters/usr/local/bin/hotspare ";
    const std::string second = "for disk in h i j k; do /tools/adapters/usr/local/bin/hotspare ";
    for (int round = 0; round < 4; ++round) {
        const bool even = round % 2 == 0;
        const Result result =
            root.bare(first + (even ? "-a" : "-r") + " /dev/sd$disk & done; " + second +
                      (even ? "-r" : "-a") + " /dev/sd$disk & done; wait");
        EXPECT_EQ(result.exit_status, 0);
        EXPECT_EQ(root.bare("sort /etc/hotspare.list").out,
                  even ? "ata-DISK_d\nata-DISK_e\nata-DISK_f\nata-DISK_g\n"
                       : "ata-DISK_h\nata-DISK_i\nata-DISK_j\nata-DISK_k\n")
            << "round " << round;
    }
}

} // namespace
} // namespace zav::test
