// SPDX-License-Identifier: MIT
// netmanage --delete: unmounting, unregistering, clearing the device, and what each failed step
// leaves.
#include "applets/netmanage/disk_steps.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr auto release = "chattr  -i /mnt/netdisk/disk > /dev/null";
constexpr auto rm = "rm -rf /mnt/netdisk/disk > /dev/null";
constexpr auto move = "mv /tmp/netfstab.XXXXXX /etc/netfstab > /dev/null";
constexpr auto clear = "/usr/local/bin/diskformat /dev/sdf";

// A mounted disk.
class NetDelete : public PoolCommand {
  protected:
    NetDelete() : PoolCommand("netmanage") { machine.mounts({"/dev/sdf /mnt/netdisk/disk"}); }
    void delete_disk() {
        machine.registered({line}, netfstab);
        manage({"-D", "-n", "disk"});
    }
    void expect_deleted() const {
        expect_succeeded();
        EXPECT_THAT(outside(run), ElementsAre(unmount, release, rm, move, save, clear));
        EXPECT_EQ(machine.read(netfstab), "");
    }
    void expect_still_registered() const { EXPECT_EQ(machine.read(netfstab), line + "\n"); }
};

TEST_F(NetDelete, UnmountsUnregistersAndClearsADisk) {
    machine.registered({line}, netfstab);
    const Snapshot before = machine.snapshot();
    manage({"--delete", "-n", "disk"});
    expect_deleted();
    EXPECT_THAT(before.changes_to(machine.snapshot()), ElementsAre("changed /etc/netfstab"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(NetDelete, RefusesInvalidLabels) {
    expect_each_refused(-123, bad_names, [](const std::string& label) {
        return Texts{"-D", "-n", label};
    });
    expect_refused(-123, {"-D"});
}

TEST_F(NetDelete, DoesNothingWithADiskThatIsNotRegistered) {
    machine.registered({"LABEL=disk1 /mnt/netdisk/disk xfs"}, netfstab);
    const Snapshot before = machine.snapshot();
    manage({"-D", "-n", "disk"});
    expect_succeeded();
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(returned("netmanage_main", 0)));
}

TEST_F(NetDelete, DoesNothingWithoutARegister) {
    machine.remove(netfstab);
    manage({"-D", "-n", "disk"});
    expect_succeeded();
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for "),
                                              returned("netmanage_main", -1)));
    EXPECT_FALSE(machine.exists(netfstab));
}

TEST_F(NetDelete, DoesNothingWithARegisterThatCannotBeRead) {
    machine.remove(netfstab).directory(netfstab);
    manage({"-D", "-n", "disk"});
    expect_failed(-1);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for "),
                                              returned("netmanage_main", -1)));
    machine.remove(netfstab).symlink("netfstab", netfstab); // ELOOP
    manage({"-D", "-n", "disk"});
    expect_failed(-1);
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(NetDelete, ClearsNoDiskThatIsNotMounted) {
    machine.mounts({"/dev/sdf /mnt/netdisk/disk1"}).file("/dev/sdf", "");
    machine.symlink("../../sdf", "/dev/disk/by-label/disk");
    delete_disk();
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(release, rm, move, save));
    EXPECT_EQ(machine.read(netfstab), "");
    EXPECT_THAT(machine.logged(),
                ElementsAre("network disk 'disk' is not mounted: its device is not cleared"));
}

TEST_F(NetDelete, UnmountsEverythingUnderTheLabelAndClearsTheRegisteredOne) {
    machine.mounts({"/dev/sdc /mnt/disk/x", "/dev/sdf /srv/disk", "/dev/sdg /mnt/netdisk/disk"});
    delete_disk();
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre("umount /srv/disk > /dev/null", unmount, release, rm,
                                          move, save, "/usr/local/bin/diskformat /dev/sdg"));
}

TEST_F(NetDelete, PutsNoUnsafeDeviceIntoACommand) {
    for (const std::string device :
         {"/dev/sd;f", "/dev/$(reboot)", "/dev/sd\\040f", "/dev/mapper/x", "//host/x", "-f"}) {
        machine.mounts({device + " /mnt/netdisk/disk"});
        delete_disk();
        expect_succeeded();
        EXPECT_THAT(outside(run), ElementsAre(unmount, release, rm, move, save));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(StartsWith("system(\"/usr/local/bin/diskformat /dev/"),
                                testing::EndsWith("was not run: it names no disk of the kernel")));
    }
}

TEST_F(NetDelete, ClearsADeviceThatIsNamedWithoutItsDirectory) {
    machine.mounts({"sdf /mnt/netdisk/disk"});
    delete_disk();
    expect_deleted();
}

TEST_F(NetDelete, PutsNoUnsafeMountDirectoryIntoACommand) {
    for (const char* directory : {"/srv/a;b/disk", "/srv/$(id)/disk", "/srv/a\\040b/disk"}) {
        machine.mounts({std::string("/dev/sdf ") + directory});
        delete_disk();
        expect_failed(-602);
        EXPECT_THAT(run.commands, IsEmpty());
        expect_still_registered();
        EXPECT_THAT(machine.logged(), testing::Contains(StartsWith("system(\"umount /srv/")));
    }
}

TEST_F(NetDelete, LeavesAllAsItIsWhenTheDiskCannotBeUnmounted) {
    with_each_fault(pool_tool::umount, [this](const std::string& end) {
        delete_disk();
        expect_failed(-602);
        EXPECT_THAT(outside(run), ElementsAre(unmount));
        expect_still_registered();
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(unmount, end), returned("check_umount", -11000),
                                returned("netmanage_main", -602)));
    });
}

TEST_F(NetDelete, LeavesAllAsItIsWithoutAMountTable) {
    machine.remove("/proc/mounts");
    delete_disk();
    expect_failed(-602, "setmntent '/proc/mounts' fail\nsetmntent '/proc/mounts' fail\n");
    EXPECT_THAT(run.commands, IsEmpty());
    expect_still_registered();
}

TEST_F(NetDelete, ClearsTheDiskAlthoughItsMountPointCannotBeReleasedOrRemoved) {
    with_each_fault(pool_tool::chattr, [this](const std::string& end) {
        delete_disk();
        expect_deleted();
        EXPECT_THAT(machine.logged(), ElementsAre(failed(release, end, "")));
    });
    with_each_fault(pool_tool::rm, [this](const std::string& end) {
        delete_disk();
        expect_deleted();
        EXPECT_THAT(machine.logged(), ElementsAre(failed(rm, end, "")));
    });
}

TEST_F(NetDelete, ClearsTheDiskAlthoughTheRegisterCannotBeReplaced) {
    with_each_fault(pool_tool::mv, [this](const std::string&) {
        delete_disk();
        expect_succeeded();
        EXPECT_THAT(outside(run), ElementsAre(unmount, release, rm, move, clear));
        expect_still_registered();
        EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("system(\"mv /tmp/netfstab.")));
    });
}

TEST_F(NetDelete, ClearsTheDiskAlthoughTheRegisterCannotBeSaved) {
    with_each_fault(pool_tool::xconf, [this](const std::string& end) {
        delete_disk();
        expect_deleted();
        EXPECT_THAT(machine.logged(), ElementsAre(failed(save, end)));
    });
}

TEST_F(NetDelete, SucceedsAlthoughTheDiskCannotBeCleared) {
    with_each_fault(pool_tool::diskformat, [this](const std::string& end) {
        delete_disk();
        expect_deleted();
        EXPECT_THAT(machine.logged(), ElementsAre(failed(clear, end)));
    });
}

TEST_F(NetDelete, UnregistersTheUsualMountPointAlone) {
    const std::string elsewhere = "# a remark\nLABEL=disk /srv/disk xfs\n";
    machine.file(netfstab, elsewhere);
    manage({"-D", "-n", "disk"});
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(unmount, release, rm, save, clear));
    EXPECT_EQ(machine.read(netfstab), elsewhere);
}

} // namespace
} // namespace zav::test
