// SPDX-License-Identifier: MIT
// A mount point is removed with all in it only when nothing is mounted there.
#include "actions/filesystems/filesystems.h"
#include "fixtures/held_lock.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "records/filesystem.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto release = "chattr  -i /mnt/data/pool > /dev/null";
constexpr auto rm = "rm -rf /mnt/data/pool > /dev/null";

class MountPointRemoval : public testing::Test {
  protected:
    Result remove(const std::string& mntpoint = "/mnt/data/pool") {
        return machine.operation([&] { return mntdir_remove(mntpoint.c_str()); });
    }
    void expect_kept(const Result& run) {
        EXPECT_EQ(run.returned, -11000);
        EXPECT_THAT(outside(run), testing::Not(Contains(HasSubstr("rm -rf"))));
        EXPECT_THAT(machine.logged(), Contains(failed("rm -rf /mnt/data/pool > /dev/null",
                                                      "unnormal with exit(255)", "")));
    }
    PoolMachine machine;
};

TEST_F(MountPointRemoval, RunsWhenNothingIsMountedThere) {
    machine.mounts({"/dev/data/a /mnt/data", "/dev/data/b /mnt/data/pool2", "/dev/c /mnt/data/po"});
    const Result run = remove();
    EXPECT_EQ(run.returned, 0);
    EXPECT_THAT(outside(run), ElementsAre(release, rm));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(MountPointRemoval, IsRefusedWhereSomethingIsMounted) {
    for (const char* directory : {"/mnt/data/pool", "/mnt/data/pool/below/it"}) {
        machine.mounts({std::string("/dev/data/other ") + directory});
        const Result run = remove();
        expect_kept(run);
        EXPECT_THAT(run.commands, IsEmpty()) << "not even chattr";
        EXPECT_THAT(machine.logged(),
                    Contains("'rm -rf /mnt/data/pool > /dev/null' was not run: something is "
                             "mounted there"));
        machine.remove("/var/log/log.libzav");
    }
}

TEST_F(MountPointRemoval, IsRefusedWhenSomethingIsMountedMeanwhile) {
    machine.tool(pool_tool::chattr)
        .any()
        .does("echo '/dev/data/other /mnt/data/pool xfs rw 0 0' >> /proc/mounts");
    const Result run = remove();
    expect_kept(run);
    EXPECT_THAT(outside(run), ElementsAre(release));
}

TEST_F(MountPointRemoval, IsRefusedThroughALinkToWhereSomethingIsMounted) {
    machine.directory("/srv/pool").symlink("/srv", "/mnt/data");
    machine.mounts({"/dev/data/other /srv/pool"});
    expect_kept(remove());
}

TEST_F(MountPointRemoval, IsRefusedOnAFileSystemThatTheTableDoesNotShow) {
    machine.bind("/usr/lib", "/mnt/data/pool");
    expect_kept(remove());
}

TEST_F(MountPointRemoval, IsRefusedWithoutAMountTable) {
    machine.remove("/proc/mounts");
    expect_kept(remove());
}

TEST_F(MountPointRemoval, RunsNothingWithAPathThatLeadsElsewhere) {
    for (const char* path : {"/mnt/..", "/mnt/../home", "/mnt/./x/../..", "/mnt/data/."}) {
        const Result run = remove(path);
        EXPECT_EQ(run.returned, -11000) << path;
        EXPECT_THAT(run.commands, IsEmpty()) << path;
    }
}

TEST_F(MountPointRemoval, LetsNoMountComeInBetween) {
    machine.tool(pool_tool::rm)
        .any()
        .does("echo > /var/removing; "
              "while ! [ -e /var/go ]; do sleep 0.01; done");
    StartedRun removal = machine.start_call([] { return mntdir_remove("/mnt/data/pool"); });
    ASSERT_TRUE(machine.appears("/var/removing"));
    machine.tool(pool_tool::mount).any().does("echo > /var/mounted; [ -e /var/go ]");
    StartedRun mount =
        machine.start_call([] { return fs_mount("/mnt/data/pool", "data", "pool", xfs_type); });
    EXPECT_FALSE(machine.appears("/var/mounted", std::chrono::milliseconds(300)));
    machine.file("/var/go", "");
    EXPECT_EQ(removal.wait().returned, 0);
    EXPECT_EQ(mount.wait().returned, 0);
}

// A mount may replay a long log.
TEST_F(MountPointRemoval, OrAMountIsNotKeptWaitingByALongMountElsewhere) {
    machine.tool(pool_tool::mount)
        .any()
        .does("case \"$*\" in *data/pool) echo > /var/mounting; "
              "while ! [ -e /var/go ]; do sleep 0.01; done;; esac");
    StartedRun mount =
        machine.start_call([] { return fs_mount("/mnt/data/pool", "data", "pool", xfs_type); });
    ASSERT_TRUE(machine.appears("/var/mounting"));
    EXPECT_EQ(machine.call([] { return mntdir_remove("/mnt/data/other"); }).returned, 0);
    EXPECT_EQ(
        machine.call([] { return fs_mount("/mnt/more/pool", "more", "pool", xfs_type); }).returned,
        0);
    machine.file("/var/go", "");
    EXPECT_EQ(mount.wait().returned, 0);
}

TEST_F(MountPointRemoval, KeepsMountsBelowAndThroughALinkWaiting) {
    const HeldLock lock(machine, "mount-mnt-data-pool");
    machine.directory("/mnt/data/pool/below").symlink("/mnt/data", "/srv/pools");
    StartedRun below = machine.start_call(
        [] { return fs_mount("/mnt/data/pool/below", "data", "pool", xfs_type); });
    StartedRun linked =
        machine.start_call([] { return fs_mount("/srv/pools/pool", "data", "pool", xfs_type); });
    for (StartedRun* run : {&below, &linked}) {
        const Result result = run->wait();
        EXPECT_EQ(result.returned, -11000);
        EXPECT_THAT(result.commands, IsEmpty());
    }
}

TEST_F(MountPointRemoval, WaitsForNoLockWithoutAnEnd) {
    const HeldLock lock(machine, "mount-mnt-data-pool");
    StartedRun removal = machine.start_call([] { return mntdir_remove("/mnt/data/pool"); });
    StartedRun mount =
        machine.start_call([] { return fs_mount("/mnt/data/pool", "data", "pool", xfs_type); });
    for (StartedRun* run : {&removal, &mount}) {
        const Result result = run->wait();
        EXPECT_EQ(result.returned, -11000);
        EXPECT_THAT(result.commands, IsEmpty());
    }
    EXPECT_THAT(machine.logged(),
                Contains("'rm -rf /mnt/data/pool > /dev/null' was not run: mounts cannot be "
                         "locked: Resource temporarily unavailable"));
}

} // namespace
} // namespace zav::test
