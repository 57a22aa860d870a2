// SPDX-License-Identifier: MIT
// The registered file systems joined with the pools and the mount table, and look-ups in the
// register.
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "inventory/filesystems.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// Every file system as "name|mount point|type|status|all|used|group|device".
void print(const fs_list& list) {
    for (const fs_info& fs : list) {
        std::printf("%s|%s|%s|%s|%llu|%llu|%s|%s\n", fs.name.c_str(), fs.mntpoint.c_str(),
                    fs.fstype.c_str(), fs.status.c_str(),
                    static_cast<unsigned long long>(fs.allsize.count),
                    static_cast<unsigned long long>(fs.usedsize.count), fs.ownername.c_str(),
                    fs.device.c_str());
    }
}

class FileSystems : public testing::Test {
  protected:
    // Reads the register; returns the reader's result.
    Result read() {
        return machine.operation([] {
            fs_list list;
            const auto result = mdfstab_read(list);
            print(list);
            return result;
        });
    }
    Result read_with_state() {
        return machine.operation([] {
            fs_list list;
            ignore(mdfstab_read(list));
            const auto result = mountfs_get(list, printed());
            print(list);
            return result;
        });
    }
    int has(const char* pool) {
        return machine.operation([=] { return mdfstab_has(pool); }).returned;
    }
    // The results of a look-up as "type|mount point", initially "old|before".
    Result look_up(const char* pool, const char* group) {
        return machine.operation([=] {
            BoundedText<16> type("old");
            BoundedText<128> mntpoint("before");
            const auto result = mdfstab_lookup(pool, group, type, mntpoint);
            std::printf("%s|%s", type.c_str(), mntpoint.c_str());
            return result;
        });
    }
    PoolMachine machine;
};

using RegisteredFileSystems = FileSystems;
using FileSystemState = FileSystems;

TEST_F(RegisteredFileSystems, AreThoseOfTheRegisterInItsOrder) {
    machine.registered({"/dev/more/b\t/mnt/more/b\txfs\tdefaults\t0 0", "",
                        "/dev/data/a\t/mnt/data/a\treiserfs\tdefaults\t0 0"});
    const Result result = read();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "/dev/more/b|/mnt/more/b|xfs||0|0|more|\n"
                          "/dev/data/a|/mnt/data/a|reiserfs||0|0|data|\n");
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(RegisteredFileSystems, AreNoneInAnEmptyRegister) {
    const Result result = read();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
}

TEST_F(RegisteredFileSystems, NeedTheRegister) {
    machine.remove(mdfstab);
    const Result result = read();
    EXPECT_EQ(result.returned, -1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(machine.logged(),
                ElementsAre("cannot open /etc/mdfstab for No such file or directory"));
    machine.directory(mdfstab);
    EXPECT_EQ(read().returned, -1);
    EXPECT_EQ(machine.logged().back(), "cannot open /etc/mdfstab for Is a directory");
}

TEST_F(RegisteredFileSystems, AreAddedToTheList) {
    machine.registered({"/dev/data/a /mnt/data/a xfs"});
    const Result result = machine.operation([] {
        fs_list list;
        list.append().name = "first";
        const auto code = mdfstab_read(list);
        print(list);
        return code;
    });
    EXPECT_EQ(result.out, "first||||0|0||\n/dev/data/a|/mnt/data/a|xfs||0|0|data|\n");
}

TEST_F(RegisteredFileSystems, AreFoundByTheNameOfTheirPool) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs", "/dev/data/a/b /mnt/data/x xfs",
                        "word /mnt/word xfs", "/dev/data/end/ /mnt/end xfs"});
    for (const char* pool : {"pool", "b", "word"}) {
        EXPECT_EQ(has(pool), 1) << pool;
    }
    for (const char* pool :
         {"poo", "pool2", "Pool", "data", "data/pool", "/dev/data/pool", "a", "x", "xfs", "end"}) {
        EXPECT_EQ(has(pool), 0) << pool;
    }
}

TEST_F(RegisteredFileSystems, AreNotFoundOnALineOfTwoWords) {
    machine.registered({"/dev/data/pool /mnt/data/pool"});
    EXPECT_EQ(has("pool"), 0);
}

TEST_F(RegisteredFileSystems, AreUnknownWithoutTheRegister) {
    machine.remove(mdfstab);
    EXPECT_EQ(has("pool"), -1);
    const Result result = look_up("pool", "data");
    EXPECT_EQ(result.returned, -1);
    EXPECT_EQ(result.out, "old|before");
    EXPECT_THAT(machine.logged(), testing::SizeIs(2));
}

TEST_F(RegisteredFileSystems, AreLookedUpByTheFirstPoolOfThatNameInAnyGroup) {
    machine.registered({"/dev/data/pool2 /mnt/data/pool2 xfs",
                        "/dev/more/pool /mnt/more/pool reiserfs", "/dev/data/pool /mnt/x xfs"});
    for (const char* group : {"data", "more", ""}) {
        const Result result = look_up("pool", group);
        EXPECT_EQ(result.returned, 0);
        EXPECT_EQ(result.out, "reiserfs|/mnt/more/pool");
    }
}

TEST_F(RegisteredFileSystems, ThatAreMissingLeaveTheOutputsAlone) {
    machine.registered({"/dev/data/pool2 /mnt/data/pool2 xfs"});
    const Result result = look_up("pool", "data");
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "old|before");
}

TEST_F(FileSystemState, OfAMountedPoolIsThePools) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.pools({"/dev/data/other", "/dev/data/pool"});
    machine.mounts({"/dev/mapper/data-pool /mnt/data/pool"});
    const Result result = read_with_state();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "/dev/data/pool|/mnt/data/pool|xfs|available|2048|0|data|0\n");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(FileSystemState, OfAMountedPoolMayBeNotAvailable) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.pool_lines("/dev/data/pool:data:3:0:-1:0:10485760\n");
    machine.mounts({"/dev/data/pool /mnt/data/pool"});
    EXPECT_EQ(read_with_state().out,
              "/dev/data/pool|/mnt/data/pool|xfs|not available|5120|0|data|0\n");
}

TEST_F(FileSystemState, OfAnUnmountedPoolIsUmountWithThePoolsSize) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.pools({"/dev/data/pool"});
    EXPECT_EQ(read_with_state().out, "/dev/data/pool|/mnt/data/pool|xfs|umount|2048|0|data|0\n");
    machine.pool_lines("/dev/data/pool:data:3:0:-1:0:4194304\n");
    EXPECT_EQ(read_with_state().out, "/dev/data/pool|/mnt/data/pool|xfs|umount|2048|0|data|0\n");
}

TEST_F(FileSystemState, OfAMountedFileSystemWithoutAPoolIsNotAvailable) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.pools({"/dev/data/pool2", "/dev/more/pool"});
    machine.mounts({"/dev/data/pool /mnt/data/pool"});
    EXPECT_EQ(read_with_state().out, "/dev/data/pool|/mnt/data/pool|xfs|not available|0|0|data|\n");
}

TEST_F(FileSystemState, OfAnUnmountedFileSystemWithoutAPoolIsUmount) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    EXPECT_EQ(read_with_state().out, "/dev/data/pool|/mnt/data/pool|xfs|umount|0|0|data|\n");
}

TEST_F(FileSystemState, GoesByExactlyTheMountPointWhateverIsMountedThere) {
    machine.registered({"/dev/data/a /mnt/data/a xfs", "/dev/data/b /mnt/data/b xfs",
                        "/dev/data/c /mnt/data/c/ xfs"});
    machine.pools({"/dev/data/a", "/dev/data/b", "/dev/data/c"});
    machine.mounts({"tmpfs /mnt/data/a", "/dev/data/b /mnt/data/bb", "/dev/data/c /mnt/data/c"});
    EXPECT_EQ(read_with_state().out, "/dev/data/a|/mnt/data/a|xfs|available|2048|0|data|0\n"
                                     "/dev/data/b|/mnt/data/b|xfs|umount|2048|0|data|0\n"
                                     "/dev/data/c|/mnt/data/c/|xfs|umount|2048|0|data|0\n");
}

TEST_F(FileSystemState, TakesTheGroupOfThePool) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.pool_lines("/dev/data/pool:more:3:1:-1:0:4194304\n/dev/data/pool:third:3:0:-1:0:0\n");
    machine.mounts({"/dev/data/pool /mnt/data/pool"});
    EXPECT_EQ(read_with_state().out, "/dev/data/pool|/mnt/data/pool|xfs|available|2048|0|more|0\n")
        << "of the first pool with that path";
}

TEST_F(FileSystemState, HoldsSizesOf64Bits) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.pool_lines("/dev/data/pool:data:3:1:-1:0:20971520000000\n"); // 10,000,000 GiB
    EXPECT_THAT(read_with_state().out, testing::HasSubstr("|10240000000|"));
}

TEST_F(FileSystemState, IsUmountForAllWithoutTheMountTable) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs", "/dev/data/x /mnt/data/x xfs"});
    machine.pools({"/dev/data/pool"}).remove("/proc/mounts");
    const Result result = read_with_state();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "/dev/data/pool|/mnt/data/pool|xfs|umount|2048|0|data|0\n"
                          "/dev/data/x|/mnt/data/x|xfs|umount|0|0|data|\n");
}

TEST_F(FileSystemState, IsTakenFromAPoolToolThatFails) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.mounts({"/dev/data/pool /mnt/data/pool"});
    const auto tool = [this] {
        return machine.tool(pool_tool::lvdisplay)
            .on("/sbin/lvdisplay -c")
            .prints("/dev/data/pool:data:3:1:-1:0:4194304\n");
    };
    tool().exits(5);
    const Result after_exit = read_with_state();
    EXPECT_EQ(after_exit.returned, 0);
    EXPECT_EQ(after_exit.out, "/dev/data/pool|/mnt/data/pool|xfs|available|2048|0|data|0\n");
    tool().killed_by(SIGKILL);
    EXPECT_EQ(read_with_state().returned, 0);
    machine.remove(pool_tool::lvdisplay);
    const Result without = read_with_state();
    EXPECT_EQ(without.returned, 0);
    EXPECT_EQ(without.out, "/dev/data/pool|/mnt/data/pool|xfs|not available|0|0|data|\n");
}

TEST_F(FileSystemState, IsUnknownWithoutThePoolsOutput) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .does("/.harness/busybox rm /tmp/lvdisplay.*");
    const Result result = read_with_state();
    EXPECT_EQ(result.returned, -1050);
    EXPECT_THAT(result.out, testing::EndsWith("\n/dev/data/pool|/mnt/data/pool|xfs||0|0|data|\n"));
    EXPECT_THAT(machine.logged(), Contains(returned("mountfs_get", -1050)));
}

TEST_F(FileSystemState, OfNoFileSystemsSucceeds) {
    const Result result = read_with_state();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
}

TEST(Product, ChoosesTheTypeOfItsFileSystemsAndTheRepairTools) {
    PoolMachine machine;
    const auto choices = [&machine] {
        return machine
            .operation([] {
                std::printf("%s %s", product_fs_type().data(), repair_directory());
                return 0;
            })
            .out;
    };
    EXPECT_EQ(choices(), "xfs /sbin");
    machine.model("KOR7206LB");
    EXPECT_EQ(choices(), "reiserfs /sbin");
    machine.model("VEL7205P");
    EXPECT_EQ(choices(), "reiserfs /usr/local/bin");
    machine.model("VEL7205A");
    EXPECT_EQ(choices(), "xfs /usr/local/bin");
    machine.remove("/etc/sys_info");
    EXPECT_EQ(choices(), "xfs /usr/local/bin");
}

} // namespace
} // namespace zav::test
