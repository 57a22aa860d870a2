// SPDX-License-Identifier: MIT
// What is measured and tried on a file system: its sizes, a small test file, and the user's files,
// which stay.
#include "actions/filesystems/status.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "fixtures/shown_records.h"

#include <csignal>
#include <fstream>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// The directory that is checked.
constexpr auto directory = "/mnt/data/pool";
constexpr auto test_file = "/mnt/data/pool/test";

fs_info& add(fs_list& list, const char* mntpoint = directory, const char* status = "available") {
    fs_info& fs = list.append();
    fs.name = "/dev/data/pool";
    fs.mntpoint = mntpoint;
    fs.status = status;
    fs.allsize = {2048};
    fs.usedsize = {7};
    return fs;
}

// Prints the status of a file system on the directory after the check.
void check(const char* mntpoint, const char* status = "available") {
    fs_list list;
    const fs_info& fs = add(list, mntpoint, status);
    EXPECT_EQ(fs_space_check(list, printed()), 0);
    std::printf("%s", fs.status.c_str());
}

// Mounts a RAM disk of that size, in whole MiB, on the directory.
void mount_ram(int mebibytes, unsigned long flags = 0) {
    const std::string size = "size=" + std::to_string(mebibytes) + "m";
    EXPECT_EQ(::mount("ram", directory, "tmpfs", flags, size.c_str()), 0);
}

// From now on nothing can be written there.
void make_read_only() {
    EXPECT_EQ(::mount(nullptr, directory, nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
}

class SpaceCheck : public testing::Test {
  protected:
    SpaceCheck() { machine.directory(directory); }

    // The status of one file system after a check, starting from `before`.
    std::string status(const char* before = "available", const char* mntpoint = directory,
                       const RunOptions& options = {}) {
        const auto function = [=] {
            check(mntpoint, before);
            return 0;
        };
        const Result result = machine.operation(function, options);
        EXPECT_THAT(result.commands, IsEmpty());
        return result.out;
    }
    PoolMachine machine;
};

TEST_F(SpaceCheck, MeasuresTheFileSystemInsteadOfThePool) {
    machine.operation([] {
        mount_ram(64);
        fs_list list;
        const fs_info& fs = add(list);
        EXPECT_EQ(fs_space_check(list, printed()), 0);
        EXPECT_EQ(fs.status, "available");
        EXPECT_EQ(fs.allsize.count, 64U);
        EXPECT_EQ(fs.usedsize.count, 0U);
        std::ofstream("/mnt/data/pool/file") << std::string(10 << 20, 'x');
        ignore(fs_space_check(list, printed()));
        EXPECT_EQ(fs.usedsize.count, 10U);
        return 0;
    });
}

TEST_F(SpaceCheck, LeavesNothingBehind) {
    EXPECT_EQ(status(), "available");
    EXPECT_THAT(machine.list(directory), IsEmpty());
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(SpaceCheck, LeavesAFileOfTheUserNamedTestAlone) {
    machine.file(test_file, "mine\n", 0640);
    struct stat before = {};
    ::stat(machine.host_path(test_file).c_str(), &before);
    EXPECT_EQ(status(), "available");
    struct stat after = {};
    ::stat(machine.host_path(test_file).c_str(), &after);
    EXPECT_EQ(machine.read(test_file), "mine\n");
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_THAT(machine.list(directory), ElementsAre("test"));
}

TEST_F(SpaceCheck, FollowsNoLinkNamedTest) {
    machine.file("/etc/precious", "text\n").symlink("/etc/precious", test_file);
    EXPECT_EQ(status(), "available");
    EXPECT_EQ(machine.read("/etc/precious"), "text\n");
    machine.remove("/etc/precious");
    EXPECT_EQ(status(), "available");
    EXPECT_FALSE(machine.exists("/etc/precious")) << "nor does it make what the link names";
    EXPECT_THAT(machine.list(directory), ElementsAre("test"));
}

TEST_F(SpaceCheck, LeavesAnythingElseNamedTestAlone) {
    machine.directory(test_file).file(std::string(test_file) + "/inside", "x");
    EXPECT_EQ(status(), "available");
    EXPECT_THAT(machine.list(test_file), ElementsAre("inside"));
    machine.remove(test_file).fifo(test_file);
    EXPECT_EQ(status(), "available") << "and waits for no reader";
    EXPECT_THAT(machine.list(directory), ElementsAre("test"));
}

TEST_F(SpaceCheck, WritesAFileNamedTestOfEightBytes) {
    for (const bool taken : {false, true}) {
        if (taken) {
            machine.file(test_file, "mine\n");
        }
        EXPECT_EQ(status("available", directory,
                         {.limits = {{RLIMIT_FSIZE, 8}}, .ignored_signals = {SIGXFSZ}}),
                  "available");
        EXPECT_EQ(status("available", directory,
                         {.limits = {{RLIMIT_FSIZE, 7}}, .ignored_signals = {SIGXFSZ}}),
                  "not available");
    }
}

TEST_F(SpaceCheck, FindsOneThatCannotBeWrittenNotAvailable) {
    const RunOptions full = {.limits = {{RLIMIT_FSIZE, 0}}, .ignored_signals = {SIGXFSZ}};
    EXPECT_EQ(status("available", directory, full), "not available");
    EXPECT_EQ(status("umount", directory, full), "umount");
    EXPECT_THAT(machine.list(directory), IsEmpty());
    machine.file(test_file, "mine\n");
    EXPECT_EQ(status("available", directory, full), "not available");
    EXPECT_THAT(machine.list(directory), ElementsAre("test"));
    EXPECT_EQ(machine.read(test_file), "mine\n");
}

TEST_F(SpaceCheck, FindsOneWhereNoFileCanBeMadeNotAvailable) {
    machine.read_only(directory);
    EXPECT_EQ(status(), "not available");
    EXPECT_EQ(status(""), "not available");
    EXPECT_EQ(status("not available"), "not available");
    EXPECT_EQ(status("umount"), "umount");
}

TEST_F(SpaceCheck, FindsOneWithoutItsMountPointNotAvailable) {
    EXPECT_EQ(status("available", "/mnt/data/missing"), "not available");
    EXPECT_EQ(status("umount", "/mnt/data/missing"), "umount");
    EXPECT_FALSE(machine.exists("/mnt/data/missing"));
}

TEST_F(SpaceCheck, LeavesTheSizesOfWhatCannotBeMeasured) {
    machine.operation([] {
        fs_list list;
        const fs_info& fs = add(list, "/mnt/data/missing");
        ignore(fs_space_check(list, printed()));
        EXPECT_EQ(fs.allsize.count, 2048U);
        EXPECT_EQ(fs.usedsize.count, 7U);
        return 0;
    });
}

TEST_F(SpaceCheck, MeasuresWhatHoldsTheDirectoryOfAnUnmountedOne) {
    machine.operation([] {
        mount_ram(32);
        EXPECT_EQ(::mkdir("/mnt/data/pool/unmounted", 0755), 0);
        fs_list list;
        const fs_info& fs = add(list, "/mnt/data/pool/unmounted", "umount");
        ignore(fs_space_check(list, printed()));
        EXPECT_EQ(fs.status, "umount");
        EXPECT_EQ(fs.allsize.count, 32U);
        return 0;
    });
}

TEST_F(SpaceCheck, DoesNotWriteToAFullOne) {
    for (const int size : {1, 2}) {
        const Result result = machine.operation([size] {
            mount_ram(size);
            make_read_only(); // where writing would fail
            check(directory);
            return 0;
        });
        EXPECT_EQ(result.out, size == 1 ? "available" : "not available") << size;
    }
}

TEST_F(SpaceCheck, KeepsTheStatusOfAFullOne) {
    for (const char* status : {"available", "not available", "umount", ""}) {
        const Result result = machine.operation([status] {
            mount_ram(1);
            make_read_only();
            check(directory, status);
            return 0;
        });
        EXPECT_EQ(result.out, status);
    }
}

TEST_F(SpaceCheck, ReportsOneWithoutAMountPointAndContinues) {
    const Result result = machine.operation([] {
        fs_list list;
        const fs_info& first = add(list, "");
        const fs_info& second = add(list, "/mnt/data/missing");
        EXPECT_EQ(fs_space_check(list, printed()), 0);
        EXPECT_EQ(first.status, "available");
        EXPECT_EQ(first.allsize.count, 2048U);
        EXPECT_EQ(second.status, "not available");
        return 0;
    });
    EXPECT_EQ(result.out, "filesystem  cannot statfs\n");
}

TEST_F(SpaceCheck, OfNothingSucceeds) {
    EXPECT_EQ(machine
                  .operation([] {
                      fs_list list;
                      return fs_space_check(list, printed());
                  })
                  .returned,
              0);
}

// Prints the whole list; returns the reader's result.
class FileSystemListing : public SpaceCheck {
  protected:
    Result shown() {
        return machine.operation([] {
            fs_list list;
            const auto result = fs_list_get(list, printed());
            show(list);
            return result;
        });
    }
};

TEST_F(FileSystemListing, JoinsRegisterPoolsMountsAndMeasures) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs", "/dev/data/x /mnt/data/x xfs"});
    machine.pools({"/dev/data/pool", "/dev/data/x"});
    machine.mounts({"/dev/data/pool /mnt/data/pool"});
    const Result result = machine.operation([] {
        mount_ram(16);
        fs_list list;
        const auto code = fs_list_get(list, printed());
        show(list);
        return code;
    });
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "/dev/data/pool\t/mnt/data/pool\tavailable\t16M\t0M\tdata\t0\n"
                          "/dev/data/x\t/mnt/data/x\tumount\t2048M\t0M\tdata\t0\n");
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(FileSystemListing, PrintsThatTheRegisterCannotBeRead) {
    machine.remove(mdfstab);
    const Result result = shown();
    EXPECT_EQ(result.returned, -1);
    EXPECT_EQ(result.out, "for errno '-1'\n");
    EXPECT_THAT(result.commands, IsEmpty()) << "and asks nothing of the pools";
}

TEST_F(FileSystemListing, PrintsThatThePoolsCannotBeRead) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .does("/.harness/busybox rm /tmp/lvdisplay.*");
    const Result result = shown();
    EXPECT_EQ(result.returned, -1050);
    EXPECT_THAT(result.out, StartsWith("cannot open /tmp/lvdisplay."));
    EXPECT_THAT(result.out, HasSubstr("\nfor errno '-1050'\n"));
    EXPECT_THAT(result.out,
                testing::EndsWith("\n/dev/data/pool\t/mnt/data/pool\t\t0M\t0M\tdata\t\n"))
        << "and measures nothing";
}

TEST_F(FileSystemListing, TakesThePoolsOfAToolThatFails) {
    machine.registered({"/dev/data/x /mnt/data/x xfs"});
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints("/dev/data/x:data:3:1:-1:0:4194304\n")
        .exits(5);
    const Result result = shown();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "/dev/data/x\t/mnt/data/x\tumount\t2048M\t0M\tdata\t0\n");
}

} // namespace
} // namespace zav::test
