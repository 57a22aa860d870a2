// SPDX-License-Identifier: MIT
// fsmanage --delete: its checks, its steps in order, what each failed step leaves.
#include "applets/fsmanage/pool_steps.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr auto release = "chattr  -i /mnt/data/pool > /dev/null";
constexpr auto rm = "rm -rf /mnt/data/pool > /dev/null";
constexpr auto move = "mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null";
constexpr auto lvremove = "/sbin/lvremove -f data/pool > /dev/null";
constexpr auto no_restore = "vg restore: no\n";

// A mounted pool that is in the backup of its group.
class FsDelete : public PoolCommand {
  protected:
    FsDelete() : PoolCommand("fsmanage") {
        machine.pools({"/dev/data/first", "/dev/data/pool"})
            .mounts({"/dev/mapper/data-pool /mnt/data/pool"})
            .backup("data", {"first", "pool"});
    }
    void delete_pool() {
        machine.registered({line});
        manage({"-D", "-n", "pool", "-g", "data"});
    }
    // All steps succeed, up to the removal of the pool.
    void expect_deleted() const {
        expect_succeeded(no_restore);
        EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, move, save, lvremove));
        EXPECT_EQ(machine.read(mdfstab), "");
    }
};

TEST_F(FsDelete, UnmountsUnregistersAndRemovesAPool) {
    machine.registered({line});
    const Snapshot before = machine.snapshot();
    manage({"--delete", "-n", "pool", "-g", "data"});
    expect_deleted();
    EXPECT_EQ(outside(run).back(), lvremove);
    EXPECT_THAT(before.changes_to(machine.snapshot()), ElementsAre("changed /etc/mdfstab"));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(FsDelete, RefusesInvalidNames) {
    expect_each_refused(-123, bad_names, [](const std::string& name) {
        return Texts{"-D", "-n", name, "-g", "data"};
    });
    expect_each_refused(-123, bad_names, [](const std::string& group) {
        return Texts{"-D", "-n", "pool", "-g", group};
    });
    expect_refused(-123, {"-D", "-n", "pool"});
    expect_refused(-123, {"-D", "-g", "data"});
}

TEST_F(FsDelete, DoesNothingWithAPoolThatIsNotRegistered) {
    machine.registered({"/dev/data/pool1\t/mnt/data/pool\txfs\tdefaults\t0 0"});
    const Snapshot before = machine.snapshot();
    manage({"-D", "-n", "pool", "-g", "data"});
    expect_succeeded();
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(returned("fsmanage_main", 0)));
}

TEST_F(FsDelete, DoesNothingWithoutARegister) {
    machine.remove(mdfstab);
    manage({"-D", "-n", "pool", "-g", "data"});
    expect_succeeded();
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for "),
                                              returned("fsmanage_main", -1)));
    EXPECT_FALSE(machine.exists(mdfstab));
}

TEST_F(FsDelete, DoesNothingWithARegisterThatCannotBeRead) {
    machine.remove(mdfstab).directory(mdfstab);
    manage({"-D", "-n", "pool", "-g", "data"});
    expect_failed(-1);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(StartsWith("cannot open /etc/mdfstab for "),
                                              returned("fsmanage_main", -1)));
    machine.remove(mdfstab).symlink("mdfstab", mdfstab); // ELOOP
    manage({"-D", "-n", "pool", "-g", "data"});
    expect_failed(-1);
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(FsDelete, KeepsAPoolThatNoBackupKnows) {
    machine.backup("data", {"first", "pool1"});
    delete_pool();
    expect_succeeded();
    EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, move, save));
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(FsDelete, KeepsThePoolWithoutBackups) {
    machine.remove("/etc/lvm/backup");
    delete_pool();
    expect_succeeded("'/etc/lvm/backup' not exist\n");
    EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, move, save));
    EXPECT_THAT(machine.logged(), ElementsAre(MatchesRegex("handle_abnorm_raid\\[[0-9]+\\]: with "
                                                           "0")));
}

TEST_F(FsDelete, TakesTheGroupOfTheBackupForThePoolAndTheGivenOneForTheMountPoint) {
    machine.remove("/etc/lvm/backup/data");
    machine.backup("more", {"pool"}).pools({"/dev/more/pool"});
    delete_pool();
    expect_succeeded(no_restore);
    EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, move, save,
                                          "/sbin/lvremove -f more/pool > /dev/null"));
}

TEST_F(FsDelete, FindsAGroupWhoseNameIsAsLongAsItMayBe) {
    const std::string group(32, 'g');
    machine.remove("/etc/lvm/backup/data");
    machine.backup(group, {"pool"});
    machine.pools({"/dev/" + group + "/pool"});
    delete_pool();
    expect_succeeded(no_restore);
    EXPECT_EQ(changes(run).back(), "/sbin/lvremove -f " + group + "/pool > /dev/null");
}

TEST_F(FsDelete, RestoresTheGroupBeforeItUnmounts) {
    lose_volume("data", {"pool"});
    delete_pool();
    expect_succeeded("vg restore: yes\n");
    EXPECT_THAT(changes(run),
                ElementsAre("/sbin/pvcreate -u gone-1 /dev/ram2", "/sbin/vgcfgrestore data",
                            unmount, release, rm, move, save, lvremove));
}

TEST_F(FsDelete, LeavesAllAsItIsWhenTheGroupCannotBeRestored) {
    lose_volume("data", {"pool"});
    with_each_fault("/sbin/pvcreate", [this](const std::string&) {
        delete_pool();
        expect_failed(-421);
        EXPECT_THAT(changes(run), ElementsAre("/sbin/pvcreate -u gone-1 /dev/ram2"));
        EXPECT_EQ(machine.read(mdfstab), line + "\n");
    });
}

TEST_F(FsDelete, PutsNoUnsafeGroupOfABackupIntoACommand) {
    machine.remove("/etc/lvm/backup/data");
    machine.backup("da;ta", {"pool"});
    delete_pool();
    expect_failed(-421);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_EQ(machine.read(mdfstab), line + "\n");
}

TEST_F(FsDelete, DeletesAPoolThatIsNotMounted) {
    machine.mounts({"/dev/mapper/data-pool1 /mnt/data/pool1", "/dev/sdf /mnt/pool/x"});
    delete_pool();
    expect_succeeded(no_restore);
    EXPECT_THAT(changes(run), ElementsAre(release, rm, move, save, lvremove));
}

TEST_F(FsDelete, UnmountsEverythingOfThatName) {
    machine.mounts(
        {"/dev/sdf /srv/pool", "/dev/sdg /srv/other", "/dev/mapper/data-pool /mnt/data/pool"});
    delete_pool();
    expect_succeeded(no_restore);
    EXPECT_THAT(changes(run), ElementsAre("umount /srv/pool > /dev/null", unmount, release, rm,
                                          move, save, lvremove));
}

TEST_F(FsDelete, LeavesAllAsItIsWhenThePoolCannotBeUnmounted) {
    with_each_fault(pool_tool::umount, [this](const std::string& end) {
        delete_pool();
        expect_failed(-602, no_restore);
        EXPECT_THAT(changes(run), ElementsAre(unmount));
        EXPECT_EQ(machine.read(mdfstab), line + "\n");
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(unmount, end), returned("check_umount", -11000),
                                returned("fsmanage_main", -602)));
    });
}

TEST_F(FsDelete, LeavesAllAsItIsWithoutAMountTable) {
    machine.remove("/proc/mounts");
    delete_pool();
    expect_failed(-602, no_restore + std::string("setmntent '/proc/mounts' fail\n"));
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_EQ(machine.read(mdfstab), line + "\n");
}

TEST_F(FsDelete, PutsNoUnsafeMountDirectoryIntoACommand) {
    for (const char* directory : {"/srv/a;b/pool", "/srv/$(reboot)/pool", "/srv/a\\040b/pool"}) {
        machine.mounts({std::string("/dev/sdf ") + directory});
        delete_pool();
        expect_failed(-602, no_restore);
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_EQ(machine.read(mdfstab), line + "\n");
        EXPECT_THAT(machine.logged().front(), StartsWith("system(\"umount /srv/"));
    }
}

TEST_F(FsDelete, RemovesThePoolAlthoughItsMountPointCannotBeReleased) {
    with_each_fault(pool_tool::chattr, [this](const std::string& end) {
        delete_pool();
        expect_deleted();
        EXPECT_THAT(machine.logged(), ElementsAre(failed(release, end, "")));
    });
}

TEST_F(FsDelete, RemovesThePoolAlthoughItsMountPointCannotBeRemoved) {
    with_each_fault(pool_tool::rm, [this](const std::string& end) {
        delete_pool();
        expect_deleted();
        EXPECT_THAT(machine.logged(), ElementsAre(failed(rm, end, "")));
    });
}

TEST_F(FsDelete, RemovesThePoolAlthoughTheRegisterCannotBeReplaced) {
    with_each_fault(pool_tool::mv, [this](const std::string& end) {
        delete_pool();
        expect_succeeded(no_restore);
        EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, move, lvremove));
        EXPECT_EQ(machine.read(mdfstab), line + "\n");
        EXPECT_THAT(machine.logged().back(), MatchesRegex("system\\(\"mv .*\\) return .*"));
        EXPECT_THAT(machine.logged().back(), testing::HasSubstr(end));
    });
}

TEST_F(FsDelete, RemovesThePoolAlthoughTheRegisterCannotBeSaved) {
    with_each_fault(pool_tool::xconf, [this](const std::string& end) {
        delete_pool();
        expect_deleted();
        EXPECT_THAT(machine.logged(), ElementsAre(failed(save, end)));
    });
}

TEST_F(FsDelete, UnregistersTheMountPointOfTheGivenGroupAlone) {
    const std::string elsewhere = "# a remark\n\n/dev/data/pool\t/srv/pool\txfs\tdefaults\t0 0\n";
    machine.file(mdfstab, elsewhere);
    manage({"-D", "-n", "pool", "-g", "data"});
    expect_succeeded(no_restore);
    EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, save, lvremove));
    EXPECT_EQ(machine.read(mdfstab), elsewhere);
}

TEST_F(FsDelete, KeepsTheOtherLinesOfTheRegister) {
    machine.file(mdfstab, "# a remark\n\n /dev/more/b  /mnt/more/b xfs defaults 0 0 \n" + line);
    manage({"-D", "-n", "pool", "-g", "data"});
    expect_succeeded(no_restore);
    EXPECT_EQ(machine.read(mdfstab), "/dev/more/b  /mnt/more/b xfs defaults 0 0\n");
}

TEST_F(FsDelete, SucceedsWhenThePoolIsGoneAlready) {
    machine.pools({"/dev/data/first"});
    delete_pool();
    expect_succeeded(no_restore);
    EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, move, save));
}

// It is not listed, but neither is any other.
TEST_F(FsDelete, DoesNotTakeAPoolForGoneWhenThePoolsCannotBeListed) {
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").exits(5);
    delete_pool();
    expect_failed(-324, no_restore);
    EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, move, save));
}

TEST_F(FsDelete, ReportsAPoolThatIsInAnotherGroupThanItsBackupSays) {
    machine.pools({"/dev/more/pool"});
    delete_pool();
    expect_failed(-2052, no_restore);
    EXPECT_THAT(changes(run), ElementsAre(unmount, release, rm, move, save));
    EXPECT_THAT(machine.logged(),
                ElementsAre("pool's vgname not match 'data'", returned("fsmanage_main", -2052)));
}

TEST_F(FsDelete, SucceedsWhenThePoolIsStillThereAfterAFailure) {
    with_each_fault(pool_tool::lvremove, [this](const std::string& end) {
        delete_pool();
        expect_deleted();
        EXPECT_EQ(outside(run).back(), listing_pool);
        EXPECT_THAT(machine.logged(), ElementsAre(failed(lvremove, end)));
    });
}

TEST_F(FsDelete, ReportsAFailureAfterWhichThePoolIsGone) {
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c data/pool");
    with_each_fault(pool_tool::lvremove, [this](const std::string&) {
        delete_pool();
        expect_failed(-324, no_restore);
        EXPECT_EQ(outside(run).back(), listing_pool);
        EXPECT_EQ(machine.read(mdfstab), "");
    });
}

TEST_F(FsDelete, ReportsAFailureThatCannotBeChecked) {
    hide_pools("/sbin/lvdisplay -c data/pool");
    machine.tool(pool_tool::lvremove).any().exits(5);
    delete_pool();
    EXPECT_EQ(run.exit_status, -324 & 0xff);
    EXPECT_THAT(run.out, MatchesRegex("vg restore: no\ncannot open /tmp/lvdisplay\\.[^ ]{6}\n"
                                      "for errno '-324'\n"));
}

} // namespace
} // namespace zav::test
