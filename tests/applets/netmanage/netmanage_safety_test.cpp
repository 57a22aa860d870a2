// SPDX-License-Identifier: MIT
// netmanage clears the device of the disk that was named, and none that something else uses.
#include "applets/netmanage/disk_steps.h"
#include "fixtures/held_lock.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class NetSafety : public PoolCommand {
  protected:
    NetSafety() : PoolCommand("netmanage") {}
    void delete_disk(const Texts& mounts) {
        machine.mounts(mounts).registered({line}, netfstab);
        manage({"-D", "-n", "disk"});
        expect_succeeded();
    }
    std::string cleared() const {
        for (const std::string& command : outside(run)) {
            if (command.starts_with("/usr/local/bin/diskformat ")) {
                return command.substr(command.rfind(' ') + 1);
            }
        }
        return "";
    }
    void create() {
        machine.file(netfstab, "");
        manage({"-C", "-n", "disk", "-g", "sdf"});
    }
    void expect_not_made(const std::string& why) {
        create();
        expect_failed(-603);
        EXPECT_THAT(changes(run), IsEmpty()) << why;
        EXPECT_EQ(machine.read(netfstab), "");
    }
    void expect_logged(const std::string& text) const {
        EXPECT_THAT(machine.logged(), Contains(HasSubstr(text)));
    }
};

TEST_F(NetSafety, ClearsWhatIsOnTheRegisteredMountPoint) {
    delete_disk({"/dev/sdg /media/disk", "/dev/sdf /mnt/netdisk/disk", "/dev/sdh /srv/disk"});
    EXPECT_EQ(cleared(), "/dev/sdf");
}

TEST_F(NetSafety, ClearsWhatIsSeenOnTheRegisteredMountPoint) {
    delete_disk({"/dev/sdg /mnt/netdisk/disk", "/dev/sdf /mnt/netdisk/disk"});
    EXPECT_EQ(cleared(), "/dev/sdf");
}

TEST_F(NetSafety, ClearsNothingWhenTheLabelsMountsNameSeveralDevices) {
    delete_disk({"/dev/sdg /media/disk", "/dev/sdf /srv/disk"});
    EXPECT_EQ(cleared(), "");
    expect_logged("several devices are mounted as 'disk': /dev/sdg, /dev/sdf");
}

TEST_F(NetSafety, ClearsTheOneDeviceThatIsMountedElsewhereWhenItCarriesTheLabel) {
    machine.file("/dev/sdf", "").symlink("../../sdf", "/dev/disk/by-label/disk");
    delete_disk({"/dev/sdf /media/disk", "/dev/sdf /srv/disk"});
    EXPECT_EQ(cleared(), "/dev/sdf");
}

// Somebody's stick that is mounted in a directory of that name.
TEST_F(NetSafety, ClearsNoDeviceThatIsOnlyMountedUnderTheName) {
    delete_disk({"/dev/sdq /media/usb/disk"});
    EXPECT_EQ(cleared(), "");
    EXPECT_EQ(machine.read(netfstab), "");
    expect_logged("what is mounted as 'disk' is /dev/sdq: it is not known to be the network disk");
}

TEST_F(NetSafety, ClearsWhatIsOnTheUsualMountPoint) {
    machine.mounts({"/dev/sdf /mnt/netdisk/disk"});
    machine.registered({"LABEL=disk\t/srv/other\txfs\tdefaults\t0 0"}, netfstab);
    manage({"-D", "-n", "disk"});
    expect_succeeded();
    EXPECT_EQ(cleared(), "/dev/sdf");
}

TEST_F(NetSafety, ClearsNoDeviceThatDoesNotCarryTheLabel) {
    machine.file("/dev/sdf", "").symlink("../../sdf", "/dev/disk/by-label/disk");
    delete_disk({"/dev/sdg /media/disk"});
    EXPECT_EQ(cleared(), "");
    expect_logged("the label is on /dev/sdf");
}

TEST_F(NetSafety, ClearsNoDeviceThatIsMountedElsewhereToo) {
    delete_disk({"/dev/sdf /mnt/netdisk/disk", "/dev/sdf /srv/other"});
    EXPECT_EQ(cleared(), "");
    expect_logged("'/usr/local/bin/diskformat /dev/sdf' was not run: the kernel holds the device");
}

TEST_F(NetSafety, ClearsNoDeviceThatAnotherCommandUses) {
    const HeldLock claim(machine, claim_on("sdf"));
    delete_disk({"/dev/sdf1 /mnt/netdisk/disk"});
    EXPECT_EQ(cleared(), "");
    expect_logged("'/usr/local/bin/diskformat /dev/sdf1' was not run: another command uses the "
                  "device");
}

TEST_F(NetSafety, RepairsWhatIsOnTheRegisteredMountPoint) {
    machine.registered({line}, netfstab);
    machine.mounts({"/dev/sdg /media/disk", "/dev/sdf /mnt/netdisk/disk"});
    manage({"-R", "-n", "disk"});
    expect_succeeded();
    EXPECT_THAT(outside(run), Contains("/sbin/xfs_repair -L /dev/sdf > /dev/null"));
}

TEST_F(NetSafety, RepairsTheLabelledDeviceWhenTheMountsNameSeveral) {
    machine.registered({line}, netfstab);
    machine.mounts({"/dev/sdg /media/disk", "/dev/sdh /srv/disk"});
    machine.file("/dev/sdf", "").symlink("../../sdf", "/dev/disk/by-label/disk");
    manage({"-R", "-n", "disk"});
    EXPECT_THAT(outside(run), Contains("/sbin/xfs_repair -L /dev/sdf > /dev/null"));
    EXPECT_THAT(outside(run), Not(Contains(HasSubstr("xfs_repair -L /dev/sdg"))));
}

TEST_F(NetSafety, RepairsNoDiskThatAnotherCommandUses) {
    machine.registered({line}, netfstab);
    machine.file("/dev/sdf", "").symlink("../../sdf", "/dev/disk/by-label/disk");
    const HeldLock claim(machine, claim_on("sdf"));
    for (const Texts& mounts : {Texts{"/dev/sdf1 /mnt/netdisk/disk"}, Texts{}}) {
        machine.mounts(mounts);
        manage({"-R", "-n", "disk"});
        expect_failed(-602);
        EXPECT_THAT(changes(run), IsEmpty());
        expect_logged("'sdf' is used by another command");
    }
}

TEST_F(NetSafety, ClaimsADiskUntilItIsRepairedAndMounted) {
    machine.registered({line}, netfstab);
    machine.mounts({"/dev/sdf1 /mnt/netdisk/disk"});
    const std::string list = "ls /run/zavbox | grep ^disk- >> /var/locks";
    machine.tool("/sbin/xfs_repair").any().does(list);
    machine.tool(pool_tool::mount).any().does(list);
    machine.tool(pool_tool::umount).any().does(list + "; echo > /proc/mounts");
    manage({"-R", "-n", "disk"});
    expect_succeeded();
    EXPECT_EQ(machine.read("/var/locks"), "disk-sdf\ndisk-sdf\ndisk-sdf\n");
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

TEST_F(NetSafety, MakesNothingOnADeviceThatTheKernelHolds) {
    machine.directory("/sys/block/sdf/holders/md3");
    expect_not_made("an array's member");
    expect_logged("was not run: the kernel holds the device");
    machine.remove("/sys/block/sdf").directory("/sys/block/sdf/sdf2/holders/dm-1");
    expect_not_made("a physical volume on a partition");
    machine.remove("/sys/block/sdf");
    machine.mounts({"/dev/sdf1 /home"});
    expect_not_made("mounted");
    machine.mounts({"/dev/sdfa /home"});
    create();
    expect_succeeded();
}

TEST_F(NetSafety, MakesNothingOnADeviceThatAnotherCommandUses) {
    const HeldLock claim(machine, claim_on("sdf"));
    expect_not_made("claimed");
}

} // namespace
} // namespace zav::test
