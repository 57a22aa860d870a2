// SPDX-License-Identifier: MIT
// fsmanage --repair: unmounting, repairing, mounting again, and what each failed step leaves.
#include "applets/fsmanage/pool_steps.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr auto xfs_repair = "/sbin/xfs_repair -L /dev/data/pool > /dev/null";
constexpr auto reiserfsck = "/sbin/reiserfsck --fix-fixable  -y /dev/data/pool > /dev/null";
constexpr auto reiserfs_mount = "/bin/mount -t reiserfs /dev/data/pool /mnt/data/pool > /dev/null";

std::string line_of(const std::string& type, const std::string& mntpoint = "/mnt/data/pool") {
    return "/dev/data/pool\t" + mntpoint + "\t" + type + "\tdefaults\t0 0";
}

// A mounted pool that can be unmounted.
class FsRepair : public PoolCommand {
  protected:
    FsRepair() : PoolCommand("fsmanage") {
        machine.pools({"/dev/data/pool"}).registered({line_of("xfs")});
        machine.tool(pool_tool::umount).any().does("echo 'proc /proc proc rw 0 0' >/proc/mounts");
    }
    // The register never changes.
    void repair(const std::string& group = "data") {
        machine.mounts({"/dev/mapper/data-pool /mnt/data/pool"});
        const Snapshot before = machine.snapshot();
        manage({"-R", "-n", "pool", "-g", group});
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
};

TEST_F(FsRepair, UnmountsRepairsAndMountsAPool) {
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(unmount, xfs_repair, mkdir, protect, mount, open_to_all));
    EXPECT_THAT(machine.log(), IsEmpty());
    machine.mounts({"/dev/mapper/data-pool /mnt/data/pool"});
    manage({"--repair", "-n", "pool", "-g", "data"});
    expect_succeeded();
    EXPECT_EQ(outside(run).back(), open_to_all);
}

TEST_F(FsRepair, RepairsReiserfsByTheTypeInTheRegister) {
    machine.registered({line_of("reiserfs")});
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run),
                ElementsAre(unmount, reiserfsck, mkdir, protect, reiserfs_mount, open_to_all));
}

TEST_F(FsRepair, RepairsAnyOtherTypeAsReiserfsAndMountsItAsXfs) {
    for (const char* type : {"ext4", "XFS", "xfs2", "reiser"}) {
        machine.registered({line_of(type)});
        repair();
        expect_succeeded();
        EXPECT_THAT(outside(run),
                    ElementsAre(unmount, reiserfsck, mkdir, protect, mount, open_to_all));
    }
}

TEST_F(FsRepair, FindsTheToolsWhereTheModelHasThem) {
    for (const auto& [model, directory] : {std::pair{"KOR7206LB", "/sbin"},
                                           {"KORx", "/sbin"},
                                           {"KO", "/usr/local/bin"},
                                           {"kor7206", "/usr/local/bin"},
                                           {"VEL7206P", "/usr/local/bin"},
                                           {"VEL7205X", "/usr/local/bin"}}) {
        machine.model(model).remove("/etc/mdfstab");
        machine.registered({line_of("xfs")});
        repair();
        EXPECT_EQ(outside(run).at(1),
                  directory + std::string("/xfs_repair -L /dev/data/pool > /dev/null"));
        machine.registered({line_of("reiserfs")});
        repair();
        EXPECT_EQ(outside(run).at(1),
                  directory +
                      std::string("/reiserfsck --fix-fixable  -y /dev/data/pool > /dev/null"));
    }
}

TEST_F(FsRepair, NeedsNoModel) {
    machine.remove("/etc/sys_info");
    repair();
    expect_succeeded();
    EXPECT_EQ(outside(run).at(1), "/usr/local/bin/xfs_repair -L /dev/data/pool > /dev/null");
}

TEST_F(FsRepair, ChecksTheNameBeforeTheGroup) {
    expect_refused(-126, {"-R", "-n", "a b", "-g", "a b"});
    expect_refused(-126, {"-R", "-g", "data"});
    expect_refused(-123, {"-R", "-n", "pool", "-g", "a b"});
    expect_refused(-123, {"-R", "-n", "pool"});
}

TEST_F(FsRepair, RefusesInvalidNames) {
    expect_each_refused(-126, bad_names, [](const std::string& name) {
        return Texts{"-R", "-n", name, "-g", "data"};
    });
    expect_each_refused(-123, bad_names, [](const std::string& group) {
        return Texts{"-R", "-n", "pool", "-g", group};
    });
}

TEST_F(FsRepair, TakesTheDeviceFromTheCommandLineAndTheMountPointFromTheRegister) {
    machine.registered({line_of("xfs", "/srv/pool")});
    repair("more");
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(unmount, "/sbin/xfs_repair -L /dev/more/pool > /dev/null",
                                          "mkdir -m 0444 -p /srv/pool > /dev/null",
                                          "chattr  +i /srv/pool > /dev/null",
                                          xfs_mount("/dev/more/pool", "/srv/pool"),
                                          "chmod 0777 /srv/pool > /dev/null"));
}

TEST_F(FsRepair, TakesTheFirstOfNamesakes) {
    machine.registered({"/dev/more/pool /mnt/more/pool reiserfs defaults 0 0", line_of("xfs")});
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run),
                ElementsAre(unmount, reiserfsck, "mkdir -m 0444 -p /mnt/more/pool > /dev/null",
                            "chattr  +i /mnt/more/pool > /dev/null",
                            "/bin/mount -t reiserfs /dev/data/pool /mnt/more/pool > /dev/null",
                            "chmod 0777 /mnt/more/pool > /dev/null"));
}

TEST_F(FsRepair, LeavesAPoolUnmountedThatIsNotRegistered) {
    machine.registered({"/dev/data/pool1 /mnt/data/pool xfs defaults 0 0", "/dev/data/pool x"});
    repair();
    expect_failed(-509);
    EXPECT_THAT(outside(run), ElementsAre(unmount));
    EXPECT_THAT(machine.logged(),
                ElementsAre(returned("repair_kor_fs", -509), returned("fsmanage_main", -509)));
}

TEST_F(FsRepair, LeavesThePoolUnmountedWithoutARegister) {
    machine.remove(mdfstab);
    repair();
    expect_failed(-509);
    EXPECT_THAT(outside(run), ElementsAre(unmount));
    EXPECT_THAT(machine.logged().front(), StartsWith("cannot open /etc/mdfstab for "));
}

TEST_F(FsRepair, RepairsNothingThatCannotBeUnmounted) {
    with_each_fault(pool_tool::umount, [this](const std::string& end) {
        repair();
        expect_failed(-602);
        EXPECT_THAT(outside(run), ElementsAre(unmount));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(unmount, end), returned("check_umount", -11000),
                                returned("repair_kor_fs", -602), returned("fsmanage_main", -602)));
    });
}

TEST_F(FsRepair, RepairsNothingWithoutAMountTable) {
    machine.remove("/proc/mounts");
    manage({"-R", "-n", "pool", "-g", "data"});
    expect_failed(-602, "setmntent '/proc/mounts' fail\n");
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.logged(),
                ElementsAre(returned("check_umount", -1), returned("repair_kor_fs", -602),
                            returned("fsmanage_main", -602)));
}

TEST_F(FsRepair, PutsNoUnsafeMountDirectoryIntoACommand) {
    for (const char* directory : {"/srv/a;b/pool", "/srv/`id`/pool", "/srv/a\\040b/pool"}) {
        machine.mounts({std::string("/dev/sdf ") + directory});
        manage({"-R", "-n", "pool", "-g", "data"});
        expect_failed(-602);
        EXPECT_THAT(run.commands, IsEmpty());
        EXPECT_THAT(machine.logged().front(), StartsWith("system(\"umount /srv/"));
    }
}

TEST_F(FsRepair, PutsNoUnsafeMountPointOfTheRegisterIntoACommand) {
    for (const std::string directory :
         {"/mnt/$(reboot)/pool", "/mnt/a;b/pool", "/mnt/a*/pool", "-rf", "mnt/pool"}) {
        machine.registered({line_of("xfs", directory)});
        repair();
        expect_failed(-602);
        EXPECT_THAT(outside(run), ElementsAre(unmount));
        EXPECT_THAT(machine.logged(),
                    ElementsAre("no command takes the mount point '" + directory + "'",
                                returned("repair_kor_fs", -602), returned("fsmanage_main", -602)));
    }
}

TEST_F(FsRepair, MountsAPoolThatCouldNotBeRepaired) {
    with_each_fault("/sbin/xfs_repair", [this](const std::string& end) {
        repair();
        expect_failed(-509);
        EXPECT_THAT(outside(run),
                    ElementsAre(unmount, xfs_repair, mkdir, protect, mount, open_to_all));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(xfs_repair, end), returned("repair_kor_fs", -509),
                                returned("fsmanage_main", -509)));
    });
}

TEST_F(FsRepair, MountsReiserfsThatCouldNotBeRepaired) {
    machine.registered({line_of("reiserfs")});
    with_each_fault("/sbin/reiserfsck", [this](const std::string&) {
        repair();
        expect_failed(-509);
        EXPECT_EQ(outside(run).back(), open_to_all);
    });
}

TEST_F(FsRepair, MountsAlthoughTheMountPointCannotBeMade) {
    with_each_fault(pool_tool::mkdir, [this](const std::string& end) {
        repair();
        expect_succeeded();
        EXPECT_THAT(outside(run), ElementsAre(unmount, xfs_repair, mkdir, mount, open_to_all));
        EXPECT_THAT(machine.logged(), ElementsAre(failed(mkdir, end)));
    });
}

TEST_F(FsRepair, MountsAlthoughTheMountPointCannotBeProtected) {
    with_each_fault(pool_tool::chattr, [this](const std::string& end) {
        repair();
        expect_succeeded();
        EXPECT_EQ(outside(run).back(), open_to_all);
        EXPECT_THAT(machine.logged(), ElementsAre(failed(protect, end, "")));
    });
}

TEST_F(FsRepair, ReportsAPoolThatCannotBeMounted) {
    with_each_fault(pool_tool::mount, [this](const std::string& end) {
        repair();
        expect_failed(-601);
        EXPECT_THAT(outside(run), ElementsAre(unmount, xfs_repair, mkdir, protect, mount));
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(mount, end), returned("repair_kor_fs", -601),
                                returned("fsmanage_main", -601)));
    });
}

TEST_F(FsRepair, ReportsTheFailedMountRatherThanTheFailedRepair) {
    machine.tool("/sbin/xfs_repair").any().exits(1);
    machine.tool(pool_tool::mount).any().exits(32);
    repair();
    expect_failed(-601);
}

TEST_F(FsRepair, ReportsAMountedPoolThatCannotBeOpenedToAll) {
    with_each_fault(pool_tool::chmod, [this](const std::string& end) {
        repair();
        expect_failed(-601);
        EXPECT_THAT(machine.logged().front(), failed(open_to_all, end));
    });
}

TEST_F(FsRepair, RegistersAPoolWhoseLineIsGoneMeanwhile) {
    machine.tool(pool_tool::mount).any().does(": >/etc/mdfstab");
    machine.mounts({"/dev/mapper/data-pool /mnt/data/pool"});
    manage({"-R", "-n", "pool", "-g", "data"});
    expect_succeeded();
    EXPECT_EQ(machine.read(mdfstab), line_of("xfs") + "\n");
    EXPECT_EQ(outside(run).back(), "/usr/local/bin/xconf -s /etc/mdfstab > /dev/null");
}

TEST_F(FsRepair, MountsNothingWhereSomethingOfThatNameIsMounted) {
    machine.tool(pool_tool::umount)
        .any()
        .does("echo '/dev/sdf /srv/pool xfs rw 0 0' >/proc/mounts");
    repair();
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(unmount, xfs_repair, mkdir, protect));
}

TEST_F(FsRepair, RepairsAPoolThatIsNotMounted) {
    machine.mounts({"/dev/sdf /mnt/pool/x", "/dev/sdg /mnt/data/pool1"});
    manage({"-R", "-n", "pool", "-g", "data"});
    expect_succeeded();
    EXPECT_THAT(outside(run), ElementsAre(xfs_repair, mkdir, protect, mount, open_to_all));
}

} // namespace
} // namespace zav::test
