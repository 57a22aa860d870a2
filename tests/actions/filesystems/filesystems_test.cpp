// SPDX-License-Identifier: MIT
// Making, mounting and unmounting file systems.
#include "actions/filesystems/filesystems.h"
#include "base/lists.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "fixtures/refused_calls.h"
#include "inventory/filesystems.h"
#include "records/filesystem.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/syscall.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Texts reiserfs_models = {"VEL7205E", "VEL7205P", "KOR7206LB", "VEL7206P"};
const Texts xfs_models = {
    "KOR7206L",    "KOR7206G",   "KOR7206H", "KOR7206L_BS", "KOR7206G_BS",
    "KOR7206H_BS", "VEL7206X",   "VEL7205X", "VEL7205U",    "VEL7205A",
    "GENERIC",     "KOR7206LBX", "KOR7206",  "vel7205e",    "VEL7205E-2000000000"};

// Directories that a shell would not interpret as exactly one word.
const Texts unsafe_directories = {"/mnt/data/a;id",
                                  "/mnt/data/a b",
                                  "/mnt/data/$(id)",
                                  "/mnt/data/`id`",
                                  "/mnt/a&b",
                                  "/mnt/a|b",
                                  "/mnt/a>b",
                                  "/mnt/a*",
                                  "/mnt/a\nb",
                                  "/mnt/a'b",
                                  "/mnt/a\\b",
                                  "/mnt/a~",
                                  "mnt/data/a",
                                  "-a",
                                  "",
                                  "/mnt/\xc3\xa4"};

class FileSystem : public testing::Test {
  protected:
    Result make() {
        return machine.operation([] { return fs_make("pool", "data", product_fs_type()); });
    }
    Result mount(const std::string& directory = "/mnt/data/pool") {
        return machine.operation(
            [&] { return fs_mount(directory.c_str(), "data", "pool", product_fs_type()); });
    }
    Result mount_typed(const std::string& type) {
        return machine.operation(
            [&] { return fs_mount_typed("/mnt/data/pool", "data", "pool", type); });
    }
    Result unmount(const std::string& directory) {
        return machine.operation([&] { return fs_umount(directory.c_str()); });
    }
    Result create_directory(const std::string& directory) {
        return machine.operation([&] { return mntdir_create(directory.c_str()); });
    }
    Result remove_directory(const std::string& directory) {
        return machine.operation([&] { return mntdir_remove(directory.c_str()); });
    }
    PoolMachine machine;
};

using FileSystemMaking = FileSystem;
using Mounting = FileSystem;
using Unmounting = FileSystem;
using MountPoint = FileSystem;

const std::string make_xfs = "/sbin/mkfs.xfs -f -ssize=4k /dev/data/pool > /dev/null";
const std::string make_reiserfs = "mkfs.reiserfs -f /dev/data/pool > /dev/null";

TEST_F(FileSystemMaking, MakesReiserfsOnFourModels) {
    for (const std::string& model : reiserfs_models) {
        machine.model(model);
        const Result result = make();
        EXPECT_EQ(result.returned, 0);
        EXPECT_THAT(outside(result), ElementsAre(make_reiserfs)) << model;
    }
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(FileSystemMaking, MakesXfsOnAllOthers) {
    for (const std::string& model : xfs_models) {
        machine.model(model);
        const Result result = make();
        EXPECT_EQ(result.returned, 0);
        EXPECT_THAT(outside(result), ElementsAre(make_xfs)) << model;
    }
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(FileSystemMaking, MakesXfsWithoutAModel) {
    machine.remove("/etc/sys_info");
    EXPECT_THAT(outside(make()), ElementsAre(make_xfs));
}

TEST_F(FileSystemMaking, FailsWithTheCommand) {
    machine.tool(pool_tool::mkfs_xfs).any().exits(1);
    EXPECT_EQ(make().returned, -11000);
    machine.tool(pool_tool::mkfs_xfs).any().killed_by(SIGKILL);
    EXPECT_EQ(make().returned, -11000);
    machine.remove(pool_tool::mkfs_xfs);
    EXPECT_EQ(make().returned, -11000);
    machine.model("VEL7206P").remove(pool_tool::mkfs_reiserfs);
    EXPECT_EQ(make().returned, -11000);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(make_xfs, "normal with exit(1)"),
                                              failed(make_xfs, "unnormal with exit(0)"),
                                              failed(make_xfs, "normal with exit(127)"),
                                              failed(make_reiserfs, "normal with exit(127)")));
}

TEST_F(FileSystemMaking, RunsNothingOnANameThatAShellWouldInterpret) {
    const Result result =
        machine.operation([] { return fs_make("pool", "da;ta", product_fs_type()); });
    EXPECT_EQ(result.returned, -11000);
    EXPECT_EQ(
        machine.operation([] { return fs_make("p ool", "data", product_fs_type()); }).returned,
        -11000);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.logged().front(),
                failed("/sbin/mkfs.xfs -f -ssize=4k /dev/da;ta/pool > /dev/null",
                       "unnormal with exit(255)"));
}

TEST_F(Mounting, MountsXfsByTheKernelAndOpensItToAll) {
    for (const std::string& model : xfs_models) {
        machine.model(model);
        const Result result = mount();
        EXPECT_EQ(result.returned, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(outside(result), ElementsAre(xfs_mount("/dev/data/pool", "/mnt/data/pool"),
                                                 "chmod 0777 /mnt/data/pool > /dev/null"))
            << model;
    }
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(Mounting, MountsReiserfsOnFourModelsAndOpensItToAll) {
    for (const std::string& model : reiserfs_models) {
        machine.model(model);
        const Result result = mount();
        EXPECT_EQ(result.returned, 0);
        EXPECT_THAT(outside(result),
                    ElementsAre("mount -t reiserfs /dev/data/pool /mnt/data/pool > /dev/null",
                                "chmod 0777 /mnt/data/pool > /dev/null"))
            << model;
    }
}

TEST_F(Mounting, MountsXfsWithoutAModel) {
    machine.remove("/etc/sys_info");
    EXPECT_EQ(outside(mount()).at(0), xfs_mount("/dev/data/pool", "/mnt/data/pool"));
}

TEST_F(Mounting, TakesTheRegisteredTypeWhateverTheModel) {
    for (const char* model : {"KOR7206H", "VEL7206P"}) {
        machine.model(model);
        EXPECT_THAT(outside(mount_typed("reiserfs")),
                    ElementsAre("/bin/mount -t reiserfs /dev/data/pool /mnt/data/pool > /dev/null",
                                "chmod 0777 /mnt/data/pool > /dev/null"));
        for (const char* type : {"xfs", "ext4"}) {
            EXPECT_THAT(outside(mount_typed(type)),
                        ElementsAre(xfs_mount("/dev/data/pool", "/mnt/data/pool"),
                                    "chmod 0777 /mnt/data/pool > /dev/null"));
        }
    }
}

TEST_F(Mounting, FailsWithMountAndThenOpensNothing) {
    const std::string command = xfs_mount("/dev/data/pool", "/mnt/data/pool");
    machine.tool(pool_tool::mount).any().exits(32);
    const Result result = mount();
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(outside(result), ElementsAre(command));
    machine.tool(pool_tool::mount).any().killed_by(SIGKILL);
    EXPECT_EQ(mount().returned, -11000);
    machine.remove(pool_tool::mount);
    EXPECT_EQ(mount().returned, -11000);
    EXPECT_EQ(mount_typed("reiserfs").returned, -11000);
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed(command, "normal with exit(32)"),
                            failed(command, "unnormal with exit(0)"),
                            failed(command, "normal with exit(127)"),
                            failed("/bin/mount -t reiserfs /dev/data/pool /mnt/data/pool > "
                                   "/dev/null",
                                   "normal with exit(127)")));
}

TEST_F(Mounting, FailsWithChmod) {
    machine.tool(pool_tool::chmod).any().exits(1);
    const Result result = mount();
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(changes(result), testing::SizeIs(2)) << "and it stays mounted";
    EXPECT_THAT(machine.logged(), ElementsAre(failed("chmod 0777 /mnt/data/pool > /dev/null",
                                                     "normal with exit(1)")));
}

TEST_F(Mounting, NeedsTheKernelsReleaseForEveryType) {
    for (const char* type : {"xfs", "reiserfs"}) {
        const Result result = machine.operation([type] {
            refuse_calls({{SYS_uname, EFAULT}});
            return fs_mount_typed("/mnt/data/pool", "data", "pool", type);
        });
        EXPECT_EQ(result.returned, -11000);
        EXPECT_THAT(result.commands, IsEmpty());
    }
}

TEST_F(Mounting, PutsNoDirectoryIntoACommandThatAShellWouldInterpret) {
    for (const std::string& directory : unsafe_directories) {
        const Result result = mount(directory);
        EXPECT_EQ(result.returned, -11000) << directory;
        EXPECT_THAT(result.commands, IsEmpty()) << directory;
    }
    EXPECT_THAT(machine.logged().front(),
                failed(xfs_mount("/dev/data/pool", "/mnt/data/a;id"), "unnormal with exit(255)"));
}

TEST_F(Mounting, PutsNoPoolIntoACommandThatAShellWouldInterpret) {
    for (const auto& [group, pool] : {std::pair("data", "p;id"), std::pair("da ta", "pool"),
                                      std::pair("data", "p$ool"), std::pair("data", "po ol")}) {
        const auto function = [group = group, pool = pool] {
            return fs_mount("/mnt/data/pool", group, pool, xfs_type);
        };
        const Result result = machine.operation(function);
        EXPECT_EQ(result.returned, -11000) << group << pool;
        EXPECT_THAT(result.commands, IsEmpty()) << group << pool;
    }
}

TEST_F(Mounting, AcceptsALabelAsAName) {
    const auto mount_label = [this](const char* label) {
        const std::string source = std::string("-L ") + label;
        return machine.operation([&] { return mount_source("/mnt/x", source, "xfs", "mount"); });
    };
    EXPECT_EQ(outside(mount_label("my_disk-1")).at(0), xfs_mount("-L my_disk-1", "/mnt/x"));
    for (const char* label : {"a b", "a;id", "", "-o", "a -o suid", "$x"}) {
        const Result result = mount_label(label);
        EXPECT_EQ(result.returned, -11000) << label;
        EXPECT_THAT(result.commands, IsEmpty()) << label;
    }
}

TEST_F(Mounting, RunsNoCommandWhoseEndWouldBeCut) {
    const Result result = mount("/mnt/" + std::string(240, 'd'));
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(Unmounting, RunsUmount) {
    const Result result = unmount("/mnt/data/pool");
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(outside(result), ElementsAre("umount /mnt/data/pool > /dev/null"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(Unmounting, FailsWithTheCommand) {
    machine.tool(pool_tool::umount).any().exits(32);
    EXPECT_EQ(unmount("/mnt/x").returned, -11000);
    machine.tool(pool_tool::umount).any().killed_by(SIGKILL);
    EXPECT_EQ(unmount("/mnt/x").returned, -11000);
    machine.remove(pool_tool::umount);
    EXPECT_EQ(unmount("/mnt/x").returned, -11000);
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed("umount /mnt/x > /dev/null", "normal with exit(32)"),
                            failed("umount /mnt/x > /dev/null", "unnormal with exit(0)"),
                            failed("umount /mnt/x > /dev/null", "normal with exit(127)")));
}

TEST_F(Unmounting, TakesNoDirectoryThatAShellWouldInterpret) {
    for (const std::string& directory : unsafe_directories) {
        const Result result = unmount(directory);
        EXPECT_EQ(result.returned, -11000) << directory;
        EXPECT_THAT(result.commands, IsEmpty()) << directory;
    }
    EXPECT_THAT(machine.logged().front(),
                failed("umount /mnt/data/a;id > /dev/null", "unnormal with exit(255)"));
}

TEST_F(MountPoint, IsMadeAndProtected) {
    const Result result = create_directory("/mnt/data/pool");
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(outside(result), ElementsAre("mkdir -m 0444 -p /mnt/data/pool > /dev/null",
                                             "chattr  +i /mnt/data/pool > /dev/null"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(MountPoint, ThatCannotBeMadeIsNotProtected) {
    const std::string command = "mkdir -m 0444 -p /mnt/x > /dev/null";
    machine.tool(pool_tool::mkdir).any().exits(1);
    const Result result = create_directory("/mnt/x");
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(outside(result), ElementsAre(command));
    machine.tool(pool_tool::mkdir).any().killed_by(SIGKILL);
    EXPECT_EQ(create_directory("/mnt/x").returned, -11000);
    machine.remove(pool_tool::mkdir);
    EXPECT_EQ(create_directory("/mnt/x").returned, -11000);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(command, "normal with exit(1)"),
                                              failed(command, "unnormal with exit(0)"),
                                              failed(command, "normal with exit(127)")));
}

TEST_F(MountPoint, ThatCannotBeProtectedFailsInAWordingOfItsOwn) {
    const std::string command = "chattr  +i /mnt/x > /dev/null";
    machine.tool(pool_tool::chattr).any().exits(1);
    EXPECT_EQ(create_directory("/mnt/x").returned, -11000);
    machine.tool(pool_tool::chattr).any().killed_by(SIGKILL);
    EXPECT_EQ(create_directory("/mnt/x").returned, -11000);
    machine.remove(pool_tool::chattr);
    EXPECT_EQ(create_directory("/mnt/x").returned, -11000);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(command, "normal with exit(1)", ""),
                                              failed(command, "unnormal with exit(0)", ""),
                                              failed(command, "normal with exit(127)", "")));
}

TEST_F(MountPoint, IsReleasedAndRemoved) {
    const Result result = remove_directory("/mnt/data/pool");
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(outside(result), ElementsAre("chattr  -i /mnt/data/pool > /dev/null",
                                             "rm -rf /mnt/data/pool > /dev/null"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(MountPoint, IsRemovedThoughItCannotBeReleased) {
    const std::string command = "chattr  -i /mnt/x > /dev/null";
    machine.tool(pool_tool::chattr).any().exits(1);
    const Result result = remove_directory("/mnt/x");
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(outside(result), ElementsAre(command, "rm -rf /mnt/x > /dev/null"));
    machine.tool(pool_tool::chattr).any().killed_by(SIGKILL);
    EXPECT_EQ(remove_directory("/mnt/x").returned, 0);
    machine.remove(pool_tool::chattr);
    EXPECT_EQ(remove_directory("/mnt/x").returned, 0);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(command, "normal with exit(1)", ""),
                                              failed(command, "unnormal with exit(0)", ""),
                                              failed(command, "normal with exit(127)", "")));
}

TEST_F(MountPoint, ThatCannotBeRemovedFailsInAWordingOfItsOwn) {
    const std::string command = "rm -rf /mnt/x > /dev/null";
    machine.tool(pool_tool::rm).any().exits(1);
    EXPECT_EQ(remove_directory("/mnt/x").returned, -11000);
    machine.tool(pool_tool::rm).any().killed_by(SIGKILL);
    EXPECT_EQ(remove_directory("/mnt/x").returned, -11000);
    machine.remove(pool_tool::rm);
    EXPECT_EQ(remove_directory("/mnt/x").returned, -11000);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(command, "normal with exit(1)", ""),
                                              failed(command, "unnormal with exit(0)", ""),
                                              failed(command, "normal with exit(127)", "")));
}

TEST_F(MountPoint, ThatAShellWouldInterpretReachesNoCommand) {
    for (const std::string& directory : unsafe_directories) {
        for (const Result& result : {create_directory(directory), remove_directory(directory)}) {
            EXPECT_EQ(result.returned, -11000) << directory;
            EXPECT_THAT(result.commands, IsEmpty()) << directory;
        }
    }
    const Texts logged = machine.logged();
    ASSERT_EQ(logged.size(), 2 * 3 * unsafe_directories.size());
    EXPECT_THAT(logged.at(0),
                failed("mkdir -m 0444 -p /mnt/data/a;id > /dev/null", "unnormal with exit(255)"));
    EXPECT_EQ(logged.at(1), "'mkdir -m 0444 -p /mnt/data/a;id > /dev/null' was not run: a name in "
                            "it is not plain");
    EXPECT_THAT(logged.at(2),
                failed("chattr  -i /mnt/data/a;id > /dev/null", "unnormal with exit(255)", ""));
    EXPECT_THAT(logged.at(4),
                failed("rm -rf /mnt/data/a;id > /dev/null", "unnormal with exit(255)", ""));
}

TEST(MountPointOfARegister, IsRefusedWhenAShellWouldInterpretIt) {
    PoolMachine machine;
    for (const std::string& directory : unsafe_directories) {
        EXPECT_EQ(machine.call([&] { return check_mount_point(directory.c_str()); }).returned, -602)
            << directory;
    }
    EXPECT_EQ(machine.logged().front(), "no command takes the mount point '/mnt/data/a;id'");
    EXPECT_EQ(machine.logged().size(), unsafe_directories.size());
    for (const char* directory : {"/mnt/data/pool", "/", "/mnt/a_b-c+d.e:f,g=h@i%j"}) {
        EXPECT_EQ(machine.call([=] { return check_mount_point(directory); }).returned, 0);
    }
}

TEST(PoolPath, IsItsDevice) {
    EXPECT_EQ(pool_path("data", "pool"), "/dev/data/pool");
}

} // namespace
} // namespace zav::test
