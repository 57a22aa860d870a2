// SPDX-License-Identifier: MIT
// fsmanage makes a file system only on a pool that was known not to be there, and removes no mount
// point under a file system.
#include "applets/fsmanage/pool_steps.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class FsSafety : public PoolCommand {
  protected:
    FsSafety() : PoolCommand("fsmanage") {}
    void create() { manage({"-C", "-n", "pool", "-s", "5", "-g", "data"}); }
    void expect_not_formatted(int code) {
        create();
        expect_failed(code);
        EXPECT_THAT(outside(run), Not(Contains(HasSubstr("mkfs"))));
        EXPECT_EQ(machine.read(mdfstab), "");
    }
    Rule list() { return machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c"); }
    Rule list_of_pool() {
        return machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c data/pool");
    }
    void lvcreate_fails() { machine.tool(pool_tool::lvcreate).any().exits(5); }
    static constexpr auto others = "  /dev/data/other:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
};

TEST_F(FsSafety, TakesANameForUsedWhenThePoolsCannotBeListed) {
    list().exits(5);
    expect_not_formatted(-2051);
    EXPECT_THAT(outside(run), Not(Contains(HasSubstr("lvcreate"))));
    list().prints(others).exits(5);
    expect_not_formatted(-2051);
    list().killed_by(SIGKILL);
    expect_not_formatted(-2051);
    EXPECT_THAT(machine.logged(),
                Contains("'pool' is not known to be free: the pools cannot be listed"));
}

TEST_F(FsSafety, TakesANameForUsedThatHasADevice) {
    machine.symlink("../dm-1", "/dev/data/pool");
    expect_not_formatted(-2051);
}

// The list is empty, for whatever reason, and there is a pool of that name.
TEST_F(FsSafety, MakesNoFileSystemAfterAFailureWhenNoListToldThatThePoolIsNew) {
    lvcreate_fails();
    list().prints("");
    list_of_pool().prints("");
    expect_not_formatted(-325);
    list_of_pool().exits(5);
    expect_not_formatted(-325);
    EXPECT_THAT(machine.logged(),
                Contains("'pool' is not known to be new: it gets no file system"));
}

TEST_F(FsSafety, MakesNoFileSystemAfterAFailureWhenThePoolCannotBeLookedUp) {
    lvcreate_fails();
    list().prints(others);
    list_of_pool().exits(5);
    expect_not_formatted(-325);
    list_of_pool().prints("");
    expect_not_formatted(-325);
    list_of_pool().prints(others).exits(5);
    expect_not_formatted(-325);
}

TEST_F(FsSafety, MakesAFileSystemOnThePoolThatWasMade) {
    list().prints("");
    create();
    expect_succeeded();
    EXPECT_THAT(outside(run), Contains(HasSubstr("mkfs.xfs")));
}

// The mount at the end takes a lock.
TEST_F(FsSafety, MakesNoPoolWhenNothingCanBeLocked) {
    machine.remove("/run").file("/run", "").remove("/var/run").file("/var/run", "");
    expect_not_formatted(-325);
    EXPECT_THAT(outside(run), Not(Contains(HasSubstr("lvcreate"))));
    EXPECT_THAT(machine.logged(),
                Contains("'pool' is not created: its name cannot be locked: Not a directory"));
    machine.remove("/var/run");
    create();
    expect_succeeded();
    EXPECT_THAT(outside(run), Contains(HasSubstr("mount -t xfs")));
    EXPECT_FALSE(machine.exists("/var/run/zavbox"));
}

// lvmanage could make a pool of that name right after a failed lvcreate.
TEST_F(FsSafety, KeepsThePoolsNameUntilItsFileSystemIsMade) {
    machine.tool(pool_tool::mkfs_xfs).any().does("ls /run/zavbox > /var/locks");
    create();
    expect_succeeded();
    EXPECT_EQ(machine.read("/var/locks"), "pool-data-pool\n");
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

// The product's model cannot be read any more.
TEST_F(FsSafety, MountsAndRegistersWhatItHasMade) {
    machine.model("KOR7206LB").tool(pool_tool::mkfs_reiserfs).any().does("rm /etc/sys_info");
    create();
    expect_succeeded();
    EXPECT_THAT(outside(run), Contains(HasSubstr("mount -t reiserfs")));
    EXPECT_THAT(machine.read(mdfstab), HasSubstr("reiserfs"));
}

TEST_F(FsSafety, KeepsWhatIsMountedAgainAfterTheUnmount) {
    machine.pools({"/dev/data/pool"}).registered({line});
    machine.backup("data", {"pool"}).mounts({"/dev/mapper/data-pool /mnt/data/pool"});
    machine.tool(pool_tool::umount).any(); // and somebody mounts it again
    manage({"-D", "-n", "pool", "-g", "data"});
    EXPECT_THAT(outside(run), Not(Contains(HasSubstr("rm -rf"))));
    EXPECT_THAT(machine.logged(),
                Contains("'rm -rf /mnt/data/pool > /dev/null' was not run: something is mounted "
                         "there"));
}

} // namespace
} // namespace zav::test
