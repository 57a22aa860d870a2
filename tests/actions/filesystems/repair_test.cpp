// SPDX-License-Identifier: MIT
// Unmounting by name, and the repair of a registered file system: steps, failures, what is left.
#include "actions/filesystems/filesystems.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "records/filesystem.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class UnmountingByName : public testing::Test {
  protected:
    Result check(const char* name = "pool") {
        return machine.operation([=] { return check_umount(name, printed()); });
    }
    PoolMachine machine;
};

TEST_F(UnmountingByName, TakesEveryDirectoryOfThatNameInTheTablesOrder) {
    machine.mounts({"/dev/more/pool /mnt/more/pool", "/dev/data/other /mnt/data/other",
                    "/dev/data/pool /mnt/data/pool", "tmpfs /mnt/pool/x", "/dev/sdf /home/pool",
                    "/dev/data/pool /mnt/data/pool", "/dev/data/pool /mnt/data/pool2"});
    const Result result = check();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(outside(result),
                ElementsAre("umount /mnt/more/pool > /dev/null",
                            "umount /mnt/data/pool > /dev/null", "umount /home/pool > /dev/null",
                            "umount /mnt/data/pool > /dev/null"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(UnmountingByName, OfNothingSucceeds) {
    const Result result = check();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands, IsEmpty());
    machine.file("/proc/mounts", "");
    EXPECT_EQ(check().returned, 0);
}

TEST_F(UnmountingByName, StopsAtTheFirstFailure) {
    machine.mounts({"/dev/a /mnt/a/pool", "/dev/b /mnt/b/pool", "/dev/c /mnt/c/pool"});
    machine.tool(pool_tool::umount).on("umount /mnt/b/pool").exits(32);
    const Result result = check();
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(outside(result),
                ElementsAre("umount /mnt/a/pool > /dev/null", "umount /mnt/b/pool > /dev/null"));
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed("umount /mnt/b/pool > /dev/null", "normal with exit(32)"),
                            returned("check_umount", -11000)));
}

TEST_F(UnmountingByName, FailsWithoutTheMountTable) {
    machine.remove("/proc/mounts");
    const Result result = check();
    EXPECT_EQ(result.returned, -1);
    EXPECT_EQ(result.out, "setmntent '/proc/mounts' fail\n");
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(UnmountingByName, RefusesADirectoryThatAShellWouldInterpret) {
    for (const char* directory : {"/mnt/a;id/pool", "/mnt/a\\040b/pool", "/mnt/$x/pool",
                                  "/mnt/`id`/pool", "/mnt/a\\011/pool", "/mnt/a\\012/pool",
                                  "/mnt/a\\134/pool", "/mnt/a&b/pool", "/mnt/*/pool"}) {
        machine.mounts({std::string("/dev/data/pool ") + directory});
        const Result result = check();
        EXPECT_EQ(result.returned, -602) << directory;
        EXPECT_THAT(result.commands, IsEmpty()) << directory;
        EXPECT_THAT(machine.logged(), Contains(returned("check_umount", -602)));
        machine.remove("/var/log/log.libzav");
    }
    EXPECT_EQ(check("other").returned, 0) << "another one is no concern";
}

TEST_F(UnmountingByName, SaysWhichDirectoryItRefuses) {
    machine.mounts({"/dev/data/pool /mnt/a\\040b/pool", "/dev/data/pool /mnt/data/pool"});
    const Result result = check();
    EXPECT_EQ(result.returned, -602);
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed("umount /mnt/a b/pool > /dev/null", "unnormal with exit(255)"),
                            "'umount /mnt/a b/pool > /dev/null' was not run: a name in it is not "
                            "plain",
                            returned("check_umount", -602)));
}

class RepairTool : public testing::Test {
  protected:
    Result repair(const std::string& type) {
        return machine.operation([&] { return fs_repair("pool", "data", type); });
    }
    PoolMachine machine;
};

TEST_F(RepairTool, IsTheServersInSbin) {
    for (const char* model : {"KOR7206H", "KOR7206LB", "KOR"}) {
        machine.model(model);
        const Result result = repair("xfs");
        EXPECT_EQ(result.returned, 0);
        EXPECT_THAT(outside(result), ElementsAre("/sbin/xfs_repair -L /dev/data/pool > /dev/null"));
        for (const char* type : {"reiserfs", "ext4", "XFS"}) {
            EXPECT_THAT(
                outside(repair(type)),
                ElementsAre("/sbin/reiserfsck --fix-fixable  -y /dev/data/pool > /dev/null"));
        }
    }
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(RepairTool, IsInUsrLocalBinElsewhere) {
    for (const char* model : {"VEL7206P", "VEL7205E", "KO", "XKOR7206H"}) {
        machine.model(model);
        EXPECT_THAT(outside(repair("xfs")),
                    ElementsAre("/usr/local/bin/xfs_repair -L /dev/data/pool > /dev/null"));
        EXPECT_THAT(outside(repair("reiserfs")),
                    ElementsAre("/usr/local/bin/reiserfsck --fix-fixable  -y /dev/data/pool > "
                                "/dev/null"));
    }
    machine.remove("/etc/sys_info");
    EXPECT_THAT(outside(repair("xfs")),
                ElementsAre("/usr/local/bin/xfs_repair -L /dev/data/pool > /dev/null"));
}

TEST_F(RepairTool, MayFail) {
    const std::string command = "/sbin/xfs_repair -L /dev/data/pool > /dev/null";
    machine.tool("/sbin/xfs_repair").any().exits(2);
    EXPECT_EQ(repair("xfs").returned, -509);
    machine.tool("/sbin/xfs_repair").any().killed_by(SIGSEGV);
    EXPECT_EQ(repair("xfs").returned, -509);
    machine.remove("/sbin/xfs_repair");
    EXPECT_EQ(repair("xfs").returned, -509);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(command, "normal with exit(2)"),
                                              failed(command, "unnormal with exit(0)"),
                                              failed(command, "normal with exit(127)")));
}

TEST_F(RepairTool, GetsNoNameThatAShellWouldInterpret) {
    for (const char* pool : {"p;id", "p ool", "$(id)"}) {
        const Result result = machine.operation([=] { return fs_repair(pool, "data", "xfs"); });
        EXPECT_EQ(result.returned, -509) << pool;
        EXPECT_THAT(result.commands, IsEmpty()) << pool;
    }
}

// The register has /dev/data/pool on a mount point other than that of new file systems.
class Repair : public testing::Test {
  protected:
    static constexpr auto line = "/dev/data/pool\t/mnt/old/pool\txfs\tdefaults\t0 0";

    Repair() { machine.registered({line}); }
    Result repair() {
        return machine.operation([] { return repair_kor_fs("pool", "data", printed()); });
    }
    const std::string xfs_repair = "/sbin/xfs_repair -L /dev/data/pool > /dev/null";
    const std::string make_directory = "mkdir -m 0444 -p /mnt/old/pool > /dev/null";
    const std::string protect = "chattr  +i /mnt/old/pool > /dev/null";
    const std::string mount = xfs_mount("/dev/data/pool", "/mnt/old/pool");
    const std::string open = "chmod 0777 /mnt/old/pool > /dev/null";
    const std::string unmount = "umount /mnt/old/pool > /dev/null";
    PoolMachine machine;
};

TEST_F(Repair, UnmountsRepairsAndMountsWhereTheRegisterSays) {
    machine.mounts({"/dev/data/pool /mnt/old/pool"});
    machine.tool(pool_tool::umount).any().does("echo > /proc/mounts");
    const Result result = repair();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(outside(result),
                ElementsAre(unmount, xfs_repair, make_directory, protect, mount, open));
    EXPECT_EQ(machine.read(mdfstab), std::string(line) + "\n");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(Repair, MountsTheRegisteredTypeWhateverTheModel) {
    machine.model("KOR7206H");
    machine.registered({"/dev/data/pool /mnt/old/pool reiserfs"});
    EXPECT_THAT(outside(repair()),
                ElementsAre("/sbin/reiserfsck --fix-fixable  -y /dev/data/pool > /dev/null",
                            make_directory, protect,
                            "/bin/mount -t reiserfs /dev/data/pool /mnt/old/pool > /dev/null",
                            open));
    machine.model("VEL7206P");
    machine.registered({line});
    EXPECT_THAT(outside(repair()),
                ElementsAre("/usr/local/bin/xfs_repair -L /dev/data/pool > /dev/null",
                            make_directory, protect, mount, open));
}

TEST_F(Repair, TakesTheFirstRegisteredPoolOfThatNameInAnyGroup) {
    machine.registered({"/dev/more/pool /mnt/more/pool xfs", line});
    const Result result = repair();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(outside(result),
                testing::IsSupersetOf({xfs_repair, xfs_mount("/dev/data/pool", "/mnt/more/pool")}));
}

TEST_F(Repair, UnmountsBeforeItLooksIntoTheRegister) {
    machine.registered({"/dev/data/other /mnt/data/other xfs"});
    machine.mounts({"/dev/data/pool /mnt/old/pool"});
    const Result result = repair();
    EXPECT_EQ(result.returned, -509);
    EXPECT_THAT(outside(result), ElementsAre(unmount));
    EXPECT_THAT(machine.logged(), ElementsAre(returned("repair_kor_fs", -509)));
}

TEST_F(Repair, NeedsTheRegister) {
    machine.remove(mdfstab);
    const Result result = repair();
    EXPECT_EQ(result.returned, -509);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_FALSE(machine.exists(mdfstab));
}

TEST_F(Repair, StopsWhereThePoolCannotBeUnmounted) {
    machine.mounts({"/dev/data/pool /mnt/old/pool"});
    machine.tool(pool_tool::umount).any().exits(32);
    const Result result = repair();
    EXPECT_EQ(result.returned, -602);
    EXPECT_THAT(outside(result), ElementsAre(unmount));
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed(unmount, "normal with exit(32)"),
                            returned("check_umount", -11000), returned("repair_kor_fs", -602)));
}

TEST_F(Repair, StopsWithoutTheMountTable) {
    machine.remove("/proc/mounts");
    const Result result = repair();
    EXPECT_EQ(result.returned, -602);
    EXPECT_EQ(result.out, "setmntent '/proc/mounts' fail\n");
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(Repair, RefusesAMountPointThatAShellWouldInterpret) {
    for (const char* directory : {"/mnt/a;id/pool", "/mnt/$(id)", "mnt/pool", "`id`"}) {
        machine.registered({std::string("/dev/data/pool ") + directory + " xfs"});
        const Result result = repair();
        EXPECT_EQ(result.returned, -602) << directory;
        EXPECT_THAT(result.commands, IsEmpty()) << directory;
    }
    EXPECT_THAT(machine.logged(), Contains("no command takes the mount point '/mnt/$(id)'"));
}

TEST_F(Repair, ContinuesAndFailsAtTheEndWhenTheToolFails) {
    machine.tool("/sbin/xfs_repair").any().exits(1);
    const Result result = repair();
    EXPECT_EQ(result.returned, -509);
    EXPECT_THAT(outside(result), ElementsAre(xfs_repair, make_directory, protect, mount, open));
    EXPECT_THAT(machine.logged(), ElementsAre(failed(xfs_repair, "normal with exit(1)"),
                                              returned("repair_kor_fs", -509)));
}

TEST_F(Repair, ContinuesWithoutAMountPoint) {
    machine.tool(pool_tool::mkdir).any().exits(1);
    const Result without_directory = repair();
    EXPECT_EQ(without_directory.returned, 0);
    EXPECT_THAT(outside(without_directory), ElementsAre(xfs_repair, make_directory, mount, open));
    machine.tool(pool_tool::mkdir).any();
    machine.tool(pool_tool::chattr).any().exits(1);
    EXPECT_EQ(repair().returned, 0);
}

TEST_F(Repair, DoesNotMountWhatIsMountedStill) {
    machine.mounts({"/dev/data/pool /mnt/elsewhere/pool"}).tool(pool_tool::umount).any();
    const Result result = repair();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(outside(result), ElementsAre("umount /mnt/elsewhere/pool > /dev/null", xfs_repair,
                                             make_directory, protect));
}

TEST_F(Repair, StopsWhereThePoolCannotBeMounted) {
    machine.tool(pool_tool::mount).any().exits(32);
    const Result result = repair();
    EXPECT_EQ(result.returned, -601);
    EXPECT_THAT(outside(result), ElementsAre(xfs_repair, make_directory, protect, mount));
    EXPECT_THAT(machine.logged(), ElementsAre(failed(mount, "normal with exit(32)"),
                                              returned("repair_kor_fs", -601)));
    machine.tool(pool_tool::mount).any();
    machine.tool(pool_tool::chmod).any().exits(1);
    EXPECT_EQ(repair().returned, -601);
}

TEST_F(Repair, ReportsAFailedMountBeforeAFailedRepair) {
    machine.tool("/sbin/xfs_repair").any().exits(1);
    machine.tool(pool_tool::mount).any().exits(32);
    EXPECT_EQ(repair().returned, -601);
}

TEST_F(Repair, RegistersThePoolAgainWhereItsLineIsGone) {
    machine.tool("/sbin/xfs_repair").any().does("echo > /etc/mdfstab");
    const Result result = repair();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(outside(result).back(), "/usr/local/bin/xconf -s /etc/mdfstab > /dev/null");
    EXPECT_EQ(machine.read(mdfstab), "\n" + std::string(line) + "\n");
}

TEST_F(Repair, IsDoneThoughThePoolCannotBeRegistered) {
    machine.tool("/sbin/xfs_repair")
        .any()
        .does("/.harness/busybox rm /etc/mdfstab; "
              "/.harness/busybox mkdir /etc/mdfstab");
    EXPECT_EQ(repair().returned, 0);
}

TEST_F(Repair, GetsNoPoolThatAShellWouldInterpret) {
    machine.registered({"/dev/data/p;id /mnt/data/pool xfs"});
    const Result result =
        machine.operation([] { return repair_kor_fs("p;id", "data", printed()); });
    EXPECT_EQ(result.returned, -601);
    EXPECT_THAT(changes(result), Not(Contains(testing::HasSubstr(";"))));
}

TEST(RepairedMount, IsLeftToTheCaller) {
    PoolMachine machine;
    const auto repaired = [&](int code) {
        return machine.operation([=] {
            return mount_repaired("pool", "/mnt/data/pool", [=] {
                std::puts("mount");
                return static_cast<Code>(code);
            });
        });
    };
    EXPECT_EQ(repaired(0).returned, 0);
    EXPECT_EQ(repaired(0).out, "mount\n");
    EXPECT_EQ(repaired(-11000).returned, -601);
    machine.mounts({"/dev/data/pool /mnt/x/pool"});
    EXPECT_EQ(repaired(-11000).returned, 0);
    EXPECT_EQ(repaired(-11000).out, "");
    machine.remove("/proc/mounts");
    EXPECT_EQ(repaired(-11000).returned, -601);
}

// In their home users may put what they like, and lead a mount anywhere.
TEST(MountingThroughALink, OfAUserIsRefused) {
    PoolMachine machine;
    machine.directory("/home/ftpuser").directory("/etc/cron.d");
    machine.symlink("/etc/cron.d", "/home/ftpuser/pool").symlink("/etc", "/home/ftpuser/up");
    machine.pools({"/dev/data/pool"});
    for (const std::string mntpoint : {"/home/ftpuser/pool", "/home/ftpuser/up/cron.d"}) {
        machine.registered({"/dev/data/pool\t" + mntpoint + "\txfs\tdefaults\t0 0"});
        machine.remove("/var/log/log.libzav");
        const Result run =
            machine.operation([] { return repair_kor_fs("pool", "data", printed()); });
        EXPECT_EQ(run.returned, -601) << mntpoint;
        EXPECT_THAT(changes(run), ElementsAre("/sbin/xfs_repair -L /dev/data/pool > /dev/null"));
        const std::string link = mntpoint.substr(0, mntpoint.find("/cron.d"));
        EXPECT_THAT(machine.logged(),
                    Contains("'mkdir -m 0444 -p " + mntpoint + " > /dev/null' was not run: '" +
                             link + "' is a link"));
        machine.remove("/var/log/log.libzav");
        const char* directory = mntpoint.c_str();
        EXPECT_EQ(machine.operation([=] { return mntdir_create(directory); }).returned, -601);
        EXPECT_EQ(machine.operation([=] { return fs_mount(directory, "data", "pool", xfs_type); })
                      .returned,
                  -11000);
        EXPECT_THAT(machine.logged(), Contains("'" + xfs_mount("/dev/data/pool", mntpoint) +
                                               "' was not run: '" + link + "' is a link"));
    }
}

// A directory that mntdir_create() did not protect may be a link once more when mount(8) looks.
TEST(MountingThroughALink, OfAUserIsRefusedAlsoWhenItIsADirectoryAgain) {
    PoolMachine machine;
    machine.directory("/home/ftpuser").symlink("/etc", "/home/ftpuser/pool");
    const Result run = machine.operation([] {
        return mount_repaired("pool", "/home/ftpuser/pool", [] {
            printed().print("mount\n");
            return Code::ok;
        });
    });
    EXPECT_EQ(run.returned, -601);
    EXPECT_EQ(run.out, "");
}

class MountInAUsersHome : public testing::Test {
  protected:
    MountInAUsersHome() { machine.directory("/home/ftpuser/pool"); }
    // mount(8) finds a link, which leads elsewhere.
    void mount_writes(const std::string& entries) {
        machine.tool(pool_tool::mount).any().does("printf '" + entries + "' >> /proc/mounts");
    }
    void mount(const char* mntpoint = "/home/ftpuser/pool") {
        machine.remove("/var/log/log.libzav");
        run = machine.operation([=] { return fs_mount(mntpoint, "data", "pool", xfs_type); });
    }
    void expect_undone(const Texts& unmounts) {
        EXPECT_EQ(run.returned, -11000);
        Texts all = outside(run);
        ASSERT_FALSE(all.empty());
        all.erase(all.begin());
        EXPECT_EQ(all, unmounts);
        EXPECT_THAT(machine.logged(),
                    Contains("'/dev/data/pool' is not mounted on '/home/ftpuser/pool': its "
                             "directory was exchanged meanwhile"));
    }
    PoolMachine machine;
    Result run;
};

TEST_F(MountInAUsersHome, ThatWentElsewhereIsUndone) {
    mount_writes("/dev/dm-3 /etc/cron.d xfs rw 0 0\\n");
    mount();
    expect_undone({"umount /etc/cron.d > /dev/null"});
    EXPECT_THAT(machine.logged(), Contains("'/dev/dm-3' is unmounted from '/etc/cron.d'"));
    EXPECT_THAT(machine.read("/proc/mounts"), Not(testing::HasSubstr("cron.d")));
}

TEST_F(MountInAUsersHome, LeavesWhatOthersMountMeanwhileAlone) {
    machine.file("/dev/dm-3", "").symlink("../dm-3", "/dev/data/pool");
    machine.symlink("../dm-3", "/dev/mapper/data-pool");
    machine.mounts({"/dev/mapper/data-pool /srv/pool"});
    mount_writes("/dev/sdf /mnt/netdisk/disk xfs rw 0 0\\n"
                 "/dev/mapper/data-pool /etc/cron.d xfs rw 0 0\\n");
    mount();
    expect_undone({"umount /etc/cron.d > /dev/null"});
    EXPECT_THAT(machine.read("/proc/mounts"), testing::HasSubstr("/srv/pool"));
}

TEST_F(MountInAUsersHome, IsOpenedWhenItIsThere) {
    mount_writes("/dev/mapper/data-pool /home/ftpuser/pool xfs rw 0 0\\n");
    mount("/home/ftpuser//pool/");
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(outside(run), Contains("chmod 0777 /home/ftpuser//pool/ > /dev/null"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(MountInAUsersHome, MayBeThroughALinkOfTheSystem) {
    machine.remove("/home").directory("/srv/homes/ftpuser/pool").symlink("/srv/homes", "/home");
    mount_writes("/dev/mapper/data-pool /srv/homes/ftpuser/pool xfs rw 0 0\\n");
    mount();
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(MountInAUsersHome, IsBelievedWithoutATableOfMounts) {
    machine.tool(pool_tool::mount).any().does("rm -f /proc/mounts");
    mount();
    EXPECT_EQ(run.returned, 0);
    mount();
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(MountOutsideOfHomes, MayGoThroughALink) {
    PoolMachine machine;
    machine.tool(pool_tool::mount).any().does("echo '/dev/sdf /srv/x xfs rw 0 0' >> /proc/mounts");
    EXPECT_EQ(machine.operation([] { return fs_mount("/mnt/data/pool", "data", "pool", xfs_type); })
                  .returned,
              0);
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(MountingThroughALink, OfTheSystemWorks) {
    PoolMachine machine;
    machine.directory("/srv/homes/ftpuser/pool").symlink("/srv/homes", "/home");
    for (const char* mntpoint : {"/home/ftpuser/pool", "/home/ftpuser2", "/home/ftpuser"}) {
        EXPECT_EQ(machine.operation([=] { return fs_mount(mntpoint, "data", "pool", xfs_type); })
                      .returned,
                  0);
    }
}

} // namespace
} // namespace zav::test
