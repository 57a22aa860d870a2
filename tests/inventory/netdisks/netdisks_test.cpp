// SPDX-License-Identifier: MIT
// Network disks: registered, mounted, found by their label.
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "inventory/netdisks.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const std::string line = "LABEL=disk\t/mnt/netdisk/disk\txfs\tdefaults\t0 0";

class NetfsDiscovery : public testing::Test {
  protected:
    NetfsDiscovery() { machine.registered({line}, netfstab); }
    int label_used(const std::string& label) {
        return machine.operation([&] { return netfs_label_used(label); }).returned;
    }
    // The output and the result of `find`.
    std::string found(const std::function<std::string(std::string_view)>& find,
                      const std::string& label) {
        return machine
            .operation([&] {
                std::printf("%s", find(label).c_str());
                return 0;
            })
            .out;
    }
    // The label's device, after the printed text.
    std::string mounted(const std::string& label) {
        return found([](std::string_view text) { return mounted_device(text, printed()); }, label);
    }
    std::string labelled(const std::string& label) { return found(labelled_device, label); }
    PoolMachine machine;
};

TEST_F(NetfsDiscovery, ReadsTheRegister) {
    machine.operation([] {
        fs_list list;
        EXPECT_EQ(netfstab_read(list), 0);
        EXPECT_EQ(list.size(), 1U);
        return 0;
    });
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(NetfsDiscovery, LogsTheOtherRegistersNameWhenItCannotReadItsOwn) {
    machine.remove(netfstab);
    machine.operation([] {
        fs_list list;
        EXPECT_EQ(netfstab_read(list), -1);
        EXPECT_TRUE(list.empty());
        return 0;
    });
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for ")));
}

TEST_F(NetfsDiscovery, FindsALabelInUse) {
    EXPECT_EQ(label_used("disk"), 1);
    machine.registered({"LABEL=a /mnt/netdisk/a xfs", line}, netfstab);
    EXPECT_EQ(label_used("disk"), 1);
}

TEST_F(NetfsDiscovery, ComparesLabelsWhole) {
    for (const char* label : {"dis", "disk1", "DISK", "", "LABEL=disk", "netdisk"}) {
        EXPECT_EQ(label_used(label), 0) << label;
    }
}

TEST_F(NetfsDiscovery, IsUndecidedWithoutARegister) {
    machine.remove(netfstab);
    EXPECT_EQ(label_used("disk"), -1);
}

TEST_F(NetfsDiscovery, FindsTheDeviceMountedOnTheRegisteredPointOrAloneUnderTheLabel) {
    machine.mounts({"/dev/sdc /mnt/netdisk/disk1", "/dev/sdd /mnt/disk/x", "/dev/sdf /srv/disk",
                    "/dev/sdg /mnt/netdisk/disk"});
    machine.file(netfstab, "");
    EXPECT_EQ(mounted("disk"), "") << "two devices, none of them registered";
    EXPECT_EQ(mounted("disk1"), "/dev/sdc");
    EXPECT_EQ(mounted("none"), "");
    machine.registered({"LABEL=disk /mnt/netdisk/disk xfs"}, netfstab);
    EXPECT_EQ(mounted("disk"), "/dev/sdg");
}

TEST_F(NetfsDiscovery, PrintsThatTheMountTableCannotBeOpened) {
    machine.remove("/proc/mounts");
    EXPECT_EQ(mounted("disk"), "setmntent '/proc/mounts' fail\n");
}

TEST_F(NetfsDiscovery, FindsADeviceByItsLabel) {
    machine.file("/dev/sdf", "").symlink("../../sdf", "/dev/disk/by-label/disk");
    machine.symlink("../../sdg", "/dev/disk/by-label/gone");
    EXPECT_EQ(labelled("disk"), "/dev/sdf");
    EXPECT_EQ(labelled("gone"), "");
    EXPECT_EQ(labelled("none"), "");
}

class NetfsList : public NetfsDiscovery {
  protected:
    // Every disk as "label status device", after the printed text.
    std::string list(int expected = 0) {
        return machine
            .operation([expected] {
                fs_list disks;
                EXPECT_EQ(netfs_list_get(disks, printed()), expected);
                for (const fs_info& fs : disks) {
                    std::printf("%s %s %s\n", fs.name.c_str(), fs.status.c_str(),
                                fs.device.c_str());
                }
                return 0;
            })
            .out;
    }
};

TEST_F(NetfsList, ShowsDevice5OfMountedDisksAlone) {
    machine.registered({line, "LABEL=b /mnt/netdisk/b xfs"}, netfstab);
    machine.mounts({"/dev/sdg /mnt/netdisk/b"});
    EXPECT_EQ(list(), "disk umount N.A.\nb available 5\n");
}

TEST_F(NetfsList, ComparesTheWholeMountPoint) {
    machine.mounts({"/dev/sdf /srv/disk", "/dev/sdg /mnt/netdisk/disk/x"});
    EXPECT_EQ(list(), "disk umount N.A.\n");
}

TEST_F(NetfsList, TreatsAllAsUnmountedWithoutAMountTable) {
    machine.remove("/proc/mounts");
    EXPECT_EQ(list(), "disk umount N.A.\n");
}

TEST_F(NetfsList, PrintsThatTheRegisterCannotBeRead) {
    machine.remove(netfstab);
    EXPECT_EQ(list(-1), "for errno '-1'\n");
}

} // namespace
} // namespace zav::test
