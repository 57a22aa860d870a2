// SPDX-License-Identifier: MIT
// fsmanage --create: its checks, its steps in order, what each failing step leaves.
#include "pool_machine.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FsManage : public testing::Test {
  protected:
    Result fsmanage(Texts arguments) {
        arguments.insert(arguments.begin(), "fsmanage");
        return machine.manage(arguments);
    }
    PoolMachine machine;
};

TEST_F(FsManage, CreatesAMountedPool) {
    const Result run = fsmanage({"--create", "-n", "pool", "-s", "5", "-g", "data"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(changes(run),
                ElementsAre("/sbin/lvcreate -L 5G -n pool data > /dev/null",
                            "/sbin/mkfs.xfs -f -ssize=4k /dev/data/pool > /dev/null",
                            "/usr/local/bin/xconf -s /etc/mdfstab > /dev/null",
                            "mkdir -m 0444 -p /mnt/data/pool > /dev/null",
                            "chattr  +i /mnt/data/pool > /dev/null",
                            "mount -t xfs -o inode64 /dev/data/pool /mnt/data/pool > /dev/null",
                            "chmod 0777 /mnt/data/pool > /dev/null"));
    EXPECT_EQ(machine.read(mdfstab), "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0\n");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(FsManage, DeletesAMountedPool) {
    machine.pools({"/dev/data/pool"})
        .registered({"/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0"})
        .mounts({"/dev/mapper/data-pool /mnt/data/pool"})
        .backup("data", {"pool"});
    const Result run = fsmanage({"--delete", "-n", "pool", "-g", "data"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, "vg restore: no\n");
    EXPECT_THAT(changes(run), ElementsAre("umount /mnt/data/pool > /dev/null",
                                          "chattr  -i /mnt/data/pool > /dev/null",
                                          "rm -rf /mnt/data/pool > /dev/null",
                                          "mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null",
                                          "/usr/local/bin/xconf -s /etc/mdfstab > /dev/null",
                                          "/sbin/lvremove -f data/pool > /dev/null"));
    EXPECT_EQ(machine.read(mdfstab), "");
}

} // namespace
} // namespace zav::test
