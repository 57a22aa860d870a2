// SPDX-License-Identifier: MIT
// The steps that create, mount, register and repair network disks, each on its own.
#include "actions/netdisks/netdisks.h"
#include "fixtures/library.h"
#include "fixtures/pool_command.h"
#include "inventory/filesystems.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr auto mntpoint = "/mnt/netdisk/disk";
const std::string line = "LABEL=disk\t/mnt/netdisk/disk\txfs\tdefaults\t0 0\n";

class NetfsOperation : public testing::Test {
  protected:
    int run(const Function& operation) {
        machine.remove("/var/log/log.libzav");
        result = machine.operation(operation);
        EXPECT_EQ(result.out, "");
        return result.returned;
    }
    int make(const char* label = "disk", const char* device = "sdf") {
        return run([=] { return netfs_make(label, device, product_fs_type()); });
    }
    int mount(const char* directory = mntpoint, const char* label = "disk") {
        return run([=] { return netfs_mount(directory, label, product_fs_type()); });
    }
    int mount_typed(const char* type) {
        return run([=] { return netfs_mount_typed(mntpoint, "disk", type); });
    }
    int repair(const std::string& device, const char* type) {
        return run([=] { return netfs_repair(device, type); });
    }
    int add() {
        return run([] { return netfstab_add(mntpoint, "disk", product_fs_type()); });
    }
    int remove() {
        return run([] { return netfstab_remove(mntpoint); });
    }
    // The only command fails in every possible way, and the operation with it.
    void expect_fails(const char* tool, int code, const Function& operation) {
        for (const Fault& fault : faults) {
            PoolMachine broken;
            fault.cause(broken, tool);
            const Result failure = broken.operation(operation);
            EXPECT_EQ(failure.returned, code) << fault.end;
            ASSERT_EQ(outside(failure).size(), 1U);
            EXPECT_THAT(broken.logged(), ElementsAre(failed(outside(failure).front(), fault.end)));
        }
    }
    PoolMachine machine;
    Result result;
};

TEST_F(NetfsOperation, MakesTheFileSystemOfTheModel) {
    EXPECT_EQ(make(), 0);
    EXPECT_THAT(outside(result),
                ElementsAre("/sbin/mkfs.xfs -L disk  -ssize=4k -f /dev/sdf > /dev/null"));
    machine.model("VEL7205P");
    EXPECT_EQ(make(), 0);
    EXPECT_THAT(outside(result), ElementsAre("mkfs.reiserfs -L disk -f /dev/sdf > /dev/null"));
}

TEST_F(NetfsOperation, FailsWithTheToolThatMakesTheFileSystem) {
    expect_fails(pool_tool::mkfs_xfs, -11000,
                 [] { return netfs_make("disk", "sdf", product_fs_type()); });
}

TEST_F(NetfsOperation, MakesNoFileSystemUnderAnUnsafeName) {
    for (const auto& [label, device] : {std::pair{"di;sk", "sdf"},
                                        {"-L", "sdf"},
                                        {"$(reboot)", "sdf"},
                                        {"", "sdf"},
                                        {"disk", "sdf;reboot"},
                                        {"disk", "../sdf"},
                                        {"disk", ""},
                                        {"disk", "-f"}}) {
        EXPECT_EQ(make(label, device), -11000);
        EXPECT_THAT(result.commands, IsEmpty());
        EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("system(\"/sbin/mkfs.xfs -L "),
                                                  testing::EndsWith("' is not a plain name")));
    }
}

TEST_F(NetfsOperation, MountsTheTypeOfTheModel) {
    EXPECT_EQ(mount(), 0);
    EXPECT_THAT(outside(result), ElementsAre(xfs_mount("-L disk", mntpoint),
                                             "chmod 0777 /mnt/netdisk/disk > /dev/null"));
    machine.model("VEL7205P");
    EXPECT_EQ(mount(), 0);
    EXPECT_THAT(outside(result),
                ElementsAre("mount -t reiserfs -L disk /mnt/netdisk/disk > /dev/null",
                            "chmod 0777 /mnt/netdisk/disk > /dev/null"));
}

TEST_F(NetfsOperation, MountsTheGivenTypeWhateverTheModel) {
    for (const char* model : {"KOR7206H", "VEL7205P"}) {
        machine.model(model);
        EXPECT_EQ(mount_typed("reiserfs"), 0);
        EXPECT_EQ(outside(result).front(),
                  "/bin/mount -t reiserfs -L disk /mnt/netdisk/disk > /dev/null");
        for (const char* other : {"xfs", "ext4", ""}) {
            EXPECT_EQ(mount_typed(other), 0);
            EXPECT_THAT(outside(result), ElementsAre(xfs_mount("-L disk", mntpoint),
                                                     "chmod 0777 /mnt/netdisk/disk > /dev/null"));
        }
    }
}

TEST_F(NetfsOperation, OpensNothingToAllThatCannotBeMounted) {
    expect_fails(pool_tool::mount, -11000,
                 [] { return netfs_mount(mntpoint, "disk", product_fs_type()); });
    expect_fails(pool_tool::mount, -11000,
                 [] { return netfs_mount_typed(mntpoint, "disk", "reiserfs"); });
}

TEST_F(NetfsOperation, FailsWhenTheMountedDiskCannotBeOpenedToAll) {
    machine.tool(pool_tool::chmod).any().exits(1);
    EXPECT_EQ(mount(), -11000);
    EXPECT_THAT(machine.logged(), ElementsAre(failed("chmod 0777 /mnt/netdisk/disk > /dev/null",
                                                     "normal with exit(1)")));
}

TEST_F(NetfsOperation, MountsNothingUnderAnUnsafeName) {
    for (const auto& [directory, label] : {std::pair{"/mnt/a;b", "disk"},
                                           {"/mnt/a b", "disk"},
                                           {"mnt/a", "disk"},
                                           {mntpoint, "di;sk"},
                                           {mntpoint, "$(id)"},
                                           {mntpoint, "di sk"}}) {
        EXPECT_EQ(mount(directory, label), -11000);
        EXPECT_THAT(result.commands, IsEmpty());
        EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("system(\"mount -t xfs "),
                                                  testing::HasSubstr("was not run: ")));
    }
}

TEST_F(NetfsOperation, RepairsTheTypeWithTheToolsOfTheModel) {
    for (const auto& [model, directory] :
         {std::pair{"KOR7206LB", "/sbin"}, {"VEL7206P", "/usr/local/bin"}}) {
        machine.model(model);
        EXPECT_EQ(repair("/dev/sdf", "xfs"), 0);
        EXPECT_THAT(outside(result),
                    ElementsAre(directory + std::string("/xfs_repair -L /dev/sdf > /dev/null")));
        for (const char* other : {"reiserfs", "ext4", ""}) {
            EXPECT_EQ(repair("/dev/sdf", other), 0);
            EXPECT_THAT(outside(result),
                        ElementsAre(directory + std::string("/reiserfsck --fix-fixable  -y "
                                                            "/dev/sdf > /dev/null")));
        }
    }
}

TEST_F(NetfsOperation, FailsWithTheToolThatRepairs) {
    expect_fails("/sbin/xfs_repair", -509, [] { return netfs_repair("/dev/sdf", "xfs"); });
    expect_fails("/sbin/reiserfsck", -509, [] { return netfs_repair("/dev/sdf", "reiserfs"); });
}

TEST_F(NetfsOperation, RepairsNothingOnAnUnsafeDeviceOrOnNone) {
    for (const char* device : {"", "sdf", "-L", "/dev/sd f", "/dev/$(id)", "/dev/sdf;id"}) {
        EXPECT_EQ(repair(device, "xfs"), -509);
        EXPECT_THAT(result.commands, IsEmpty());
        EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("system(\"/sbin/xfs_repair -L "),
                                                  testing::HasSubstr("was not run: ")));
    }
}

TEST_F(NetfsOperation, RegistersADisk) {
    EXPECT_EQ(add(), 0);
    EXPECT_EQ(machine.read(netfstab), line);
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_THAT(outside(result), ElementsAre("/usr/local/bin/xconf -s /etc/netfstab > /dev/null"));
}

TEST_F(NetfsOperation, RegistersTheTypeOfTheModel) {
    machine.model("VEL7205P");
    EXPECT_EQ(add(), 0);
    EXPECT_EQ(machine.read(netfstab), "LABEL=disk\t/mnt/netdisk/disk\treiserfs\tdefaults\t0 0\n");
    EXPECT_THAT(outside(result),
                ElementsAre("/usr/local/bin/nasconf -s /etc/netfstab > /dev/null"));
}

TEST_F(NetfsOperation, MakesTheRegisterWhenThereIsNone) {
    machine.remove(netfstab);
    EXPECT_EQ(add(), 0);
    EXPECT_EQ(machine.read(netfstab), line);
}

TEST_F(NetfsOperation, RegistersNoMountPointTwice) {
    machine.registered({"LABEL=other  /mnt/netdisk/disk ext4"}, netfstab);
    EXPECT_EQ(add(), -1);
    EXPECT_EQ(machine.read(netfstab), "LABEL=other  /mnt/netdisk/disk ext4\n");
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(NetfsOperation, LogsTheOtherRegistersNameWhenItCannotRegister) {
    machine.read_only("/etc");
    EXPECT_EQ(add(), -1066);
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for ")));
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(NetfsOperation, UnregistersADisk) {
    machine.file(netfstab, "# a remark\n\nLABEL=a /mnt/netdisk/a  xfs \n" + line, 0640);
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(machine.read(netfstab), "LABEL=a /mnt/netdisk/a  xfs\n");
    EXPECT_EQ(machine.mode(netfstab), 0640U);
    EXPECT_THAT(outside(result), ElementsAre("mv /tmp/netfstab.XXXXXX /etc/netfstab > /dev/null",
                                             "/usr/local/bin/xconf -s /etc/netfstab > /dev/null"));
}

TEST_F(NetfsOperation, LeavesARegisterWithoutTheMountPointButSavesIt) {
    const std::string other = "# a remark\n\nLABEL=disk /mnt/netdisk/disk1 xfs\n";
    machine.file(netfstab, other);
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(machine.read(netfstab), other);
    EXPECT_THAT(outside(result), ElementsAre("/usr/local/bin/xconf -s /etc/netfstab > /dev/null"));
}

TEST_F(NetfsOperation, LogsItsOwnNameWhenItCannotUnregister) {
    machine.remove(netfstab);
    EXPECT_EQ(remove(), -1066);
    EXPECT_THAT(machine.logged(),
                ElementsAre(StartsWith("cannot open /etc/netfstab or tmpfile for ")));
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_FALSE(machine.exists(netfstab));
}

TEST_F(NetfsOperation, KeepsARegisterThatCannotBeReplaced) {
    for (const Fault& fault : faults) {
        machine.file(netfstab, line);
        fault.cause(machine, pool_tool::mv);
        EXPECT_EQ(remove(), -11000);
        EXPECT_EQ(machine.read(netfstab), line);
        EXPECT_THAT(outside(result),
                    ElementsAre("mv /tmp/netfstab.XXXXXX /etc/netfstab > /dev/null"));
    }
}

TEST_F(NetfsOperation, MountsUnderTheLabel) {
    EXPECT_EQ(netfs_mount_point("disk"), "/mnt/netdisk/disk");
}

} // namespace
} // namespace zav::test
