// SPDX-License-Identifier: MIT
// netmanage --repair: unmounting, repairing, mounting again, and what each failed step leaves.
#include "applets/netmanage/disk_steps.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr auto xfs_repair = "/sbin/xfs_repair -L /dev/sdf > /dev/null";
constexpr auto reiserfsck = "/sbin/reiserfsck --fix-fixable  -y /dev/sdf > /dev/null";

std::string line_of(const std::string& type, const std::string& mntpoint = "/mnt/netdisk/disk") {
    return "LABEL=disk\t" + mntpoint + "\t" + type + "\tdefaults\t0 0";
}

// A mounted disk that can be unmounted.
class NetRepair : public PoolCommand {
  protected:
    NetRepair() : PoolCommand("netmanage") {
        machine.registered({line_of("xfs")}, netfstab);
        machine.tool(pool_tool::umount).any().does("echo 'proc /proc proc rw 0 0' >/proc/mounts");
    }
    // The registers never change.
    void repair(const Texts& mounts = {"/dev/sdf /mnt/netdisk/disk"}) {
        machine.mounts(mounts);
        const Snapshot before = machine.snapshot();
        manage({"-R", "-n", "disk"});
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
};

TEST_F(NetRepair, UnmountsRepairsAndMountsADisk) {
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(unmount, xfs_repair, mkdir, protect, mount, open_to_all));
    EXPECT_THAT(machine.log(), IsEmpty());
    machine.mounts({"/dev/sdf /mnt/netdisk/disk"});
    manage({"--repair", "-n", "disk"});
    expect_succeeded();
    EXPECT_EQ(outside(run).back(), open_to_all);
}

TEST_F(NetRepair, RepairsReiserfsByTheTypeInTheRegister) {
    machine.registered({line_of("reiserfs")}, netfstab);
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run),
                ElementsAre(unmount, reiserfsck, mkdir, protect,
                            "/bin/mount -t reiserfs -L disk /mnt/netdisk/disk > /dev/null",
                            open_to_all));
}

TEST_F(NetRepair, RepairsAnyOtherTypeAsReiserfsAndMountsItAsXfs) {
    machine.registered({line_of("ext4")}, netfstab);
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(unmount, reiserfsck, mkdir, protect, mount, open_to_all));
}

TEST_F(NetRepair, FindsTheToolsWhereTheModelHasThem) {
    machine.model("VEL7206P");
    repair();
    EXPECT_EQ(outside(run).at(1), "/usr/local/bin/xfs_repair -L /dev/sdf > /dev/null");
    machine.remove("/etc/sys_info").remove(netfstab);
    machine.registered({line_of("reiserfs")}, netfstab);
    repair();
    EXPECT_EQ(outside(run).at(1),
              "/usr/local/bin/reiserfsck --fix-fixable  -y /dev/sdf > /dev/null");
}

TEST_F(NetRepair, RefusesInvalidLabels) {
    expect_each_refused(-126, bad_names, [](const std::string& label) {
        return Texts{"-R", "-n", label};
    });
    expect_refused(-126, {"-R"});
}

TEST_F(NetRepair, TakesTheMountPointFromTheRegister) {
    machine.registered({line_of("xfs", "/srv/other"), line_of("reiserfs")}, netfstab);
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run),
                ElementsAre(unmount, xfs_repair, "mkdir -m 0444 -p /srv/other > /dev/null",
                            "chattr  +i /srv/other > /dev/null", xfs_mount("-L disk", "/srv/other"),
                            "chmod 0777 /srv/other > /dev/null"));
}

TEST_F(NetRepair, UnmountsEverythingUnderTheLabelAndRepairsTheRegisteredOne) {
    repair({"/dev/sdc /mnt/disk/x", "/dev/sdf /srv/disk", "/dev/sdg /mnt/netdisk/disk"});
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre("umount /srv/disk > /dev/null", unmount,
                                          "/sbin/xfs_repair -L /dev/sdg > /dev/null", mkdir,
                                          protect, mount, open_to_all));
}

TEST_F(NetRepair, FindsADiskThatIsNotMountedByItsLabel) {
    machine.file("/dev/sdf", "").symlink("../../sdf", "/dev/disk/by-label/disk");
    repair({});
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(xfs_repair, mkdir, protect, mount, open_to_all));
}

TEST_F(NetRepair, RepairsTheMountedDeviceWhateverElseHasTheLabel) {
    machine.file("/dev/sdg", "").symlink("../../sdg", "/dev/disk/by-label/disk");
    repair();
    EXPECT_EQ(outside(run).at(1), xfs_repair);
}

TEST_F(NetRepair, MountsADiskWhoseDeviceIsUnknown) {
    repair({});
    expect_failed(-509);
    EXPECT_THAT(outside(run), ElementsAre(mkdir, protect, mount, open_to_all));
    EXPECT_THAT(machine.logged(),
                ElementsAre(StartsWith("system(\"/sbin/xfs_repair -L "),
                            testing::HasSubstr("was not run: "), returned("repair_kor_netfs", -509),
                            returned("netmanage_main", -509)));
}

TEST_F(NetRepair, PutsNoUnsafeDeviceIntoACommand) {
    for (const std::string device : {"/dev/sd;f", "/dev/$(reboot)", "/dev/sd\\040f", "-f"}) {
        repair({device + " /mnt/netdisk/disk"});
        expect_failed(-509);
        EXPECT_THAT(outside(run), ElementsAre(unmount, mkdir, protect, mount, open_to_all));
    }
}

TEST_F(NetRepair, PutsNoLabelThatLooksLikeAnOptionIntoACommand) {
    machine.registered({"LABEL=-disk\t/mnt/netdisk/-disk\txfs\tdefaults\t0 0"}, netfstab);
    machine.mounts({"/dev/sdf /mnt/netdisk/-disk"});
    manage({"-R", "-n", "-disk"});
    expect_failed(-601);
    EXPECT_THAT(outside(run), ElementsAre("umount /mnt/netdisk/-disk > /dev/null", xfs_repair,
                                          "mkdir -m 0444 -p /mnt/netdisk/-disk > /dev/null",
                                          "chattr  +i /mnt/netdisk/-disk > /dev/null"));
}

TEST_F(NetRepair, LeavesADiskUnmountedThatIsNotRegistered) {
    machine.registered({"LABEL=disk1 /mnt/netdisk/disk xfs", "LABEL=disk x"}, netfstab);
    repair();
    expect_failed(-509);
    EXPECT_THAT(outside(run), ElementsAre(unmount));
    EXPECT_THAT(machine.logged(),
                ElementsAre(returned("repair_kor_netfs", -509), returned("netmanage_main", -509)));
    machine.remove(netfstab);
    repair();
    expect_failed(-509);
    EXPECT_THAT(outside(run), ElementsAre(unmount));
}

TEST_F(NetRepair, RepairsNothingThatCannotBeUnmounted) {
    with_each_fault(pool_tool::umount, [this](const std::string& end) {
        repair();
        expect_failed(-602);
        EXPECT_THAT(outside(run), ElementsAre(unmount));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(unmount, end), returned("check_umount", -11000),
                                returned("repair_kor_netfs", -602),
                                returned("netmanage_main", -602)));
    });
}

TEST_F(NetRepair, RepairsNothingWithoutAMountTable) {
    machine.remove("/proc/mounts");
    manage({"-R", "-n", "disk"});
    expect_failed(-602, "setmntent '/proc/mounts' fail\nsetmntent '/proc/mounts' fail\n");
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(NetRepair, PutsNoUnsafeMountDirectoryIntoACommand) {
    for (const char* directory : {"/srv/a;b/disk", "/srv/`id`/disk", "/srv/a\\040b/disk"}) {
        repair({std::string("/dev/sdf ") + directory});
        expect_failed(-602);
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_F(NetRepair, PutsNoUnsafeMountPointOfTheRegisterIntoACommand) {
    for (const std::string directory : {"/mnt/$(reboot)/disk", "/mnt/a;b/disk", "-rf", "disk"}) {
        machine.registered({line_of("xfs", directory)}, netfstab);
        repair();
        expect_failed(-602);
        EXPECT_THAT(outside(run), ElementsAre(unmount));
        EXPECT_THAT(machine.logged(),
                    ElementsAre("no command takes the mount point '" + directory + "'",
                                returned("repair_kor_netfs", -602),
                                returned("netmanage_main", -602)));
    }
}

TEST_F(NetRepair, MountsADiskThatCouldNotBeRepaired) {
    with_each_fault("/sbin/xfs_repair", [this](const std::string& end) {
        repair();
        expect_failed(-509);
        EXPECT_THAT(outside(run),
                    ElementsAre(unmount, xfs_repair, mkdir, protect, mount, open_to_all));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(xfs_repair, end), returned("repair_kor_netfs", -509),
                                returned("netmanage_main", -509)));
    });
}

TEST_F(NetRepair, MountsAlthoughTheMountPointCannotBeMadeOrProtected) {
    with_each_fault(pool_tool::mkdir, [this](const std::string& end) {
        repair();
        expect_succeeded();
        EXPECT_THAT(outside(run), ElementsAre(unmount, xfs_repair, mkdir, mount, open_to_all));
        EXPECT_THAT(machine.logged(), ElementsAre(failed(mkdir, end)));
    });
    with_each_fault(pool_tool::chattr, [this](const std::string& end) {
        repair();
        expect_succeeded();
        EXPECT_EQ(outside(run).back(), open_to_all);
        EXPECT_THAT(machine.logged(), ElementsAre(failed(protect, end, "")));
    });
}

TEST_F(NetRepair, ReportsADiskThatCannotBeMounted) {
    with_each_fault(pool_tool::mount, [this](const std::string& end) {
        repair();
        expect_failed(-601);
        EXPECT_THAT(outside(run), ElementsAre(unmount, xfs_repair, mkdir, protect, mount));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(mount, end), returned("repair_kor_netfs", -601),
                                returned("netmanage_main", -601)));
    });
    with_each_fault(pool_tool::chmod, [this](const std::string&) {
        repair();
        expect_failed(-601);
        EXPECT_EQ(outside(run).back(), open_to_all);
    });
}

TEST_F(NetRepair, ReportsTheFailedMountRatherThanTheFailedRepair) {
    machine.tool("/sbin/xfs_repair").any().exits(1);
    machine.tool(pool_tool::mount).any().exits(32);
    repair();
    expect_failed(-601);
}

TEST_F(NetRepair, RegistersADiskWhoseLineIsGoneMeanwhile) {
    machine.tool(pool_tool::mount).any().does(": >/etc/netfstab");
    machine.mounts({"/dev/sdf /mnt/netdisk/disk"});
    manage({"-R", "-n", "disk"});
    expect_succeeded();
    EXPECT_EQ(machine.read(netfstab), line_of("xfs") + "\n");
    EXPECT_EQ(outside(run).back(), "/usr/local/bin/xconf -s /etc/netfstab > /dev/null");
}

TEST_F(NetRepair, MountsNothingWhereSomethingOfThatNameIsMounted) {
    machine.tool(pool_tool::umount)
        .any()
        .does("echo '/dev/sdg /srv/disk xfs rw 0 0' >/proc/mounts");
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(unmount, xfs_repair, mkdir, protect));
}

} // namespace
} // namespace zav::test
