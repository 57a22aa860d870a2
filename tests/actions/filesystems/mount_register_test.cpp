// SPDX-License-Identifier: MIT
// Changes to the register of mounted file systems: the line of a pool, what stays, how it is saved.
#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/mount_register.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "inventory/filesystems.h"

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string move_command = "mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null";
const std::string save_command = "/usr/local/bin/xconf -s /etc/mdfstab > /dev/null";

class Register : public testing::Test {
  protected:
    Result add(const std::string& mntpoint = "/mnt/data/pool") {
        return machine.operation(
            [&] { return mdfstab_add(mntpoint.c_str(), "data", "pool", product_fs_type()); });
    }
    Result remove(const std::string& mntpoint = "/mnt/data/pool") {
        return machine.operation([&] { return mdfstab_remove(mntpoint.c_str()); });
    }
    std::string content() const { return machine.read(mdfstab); }
    PoolMachine machine;
};

using RegisterAdding = Register;
using RegisterRemoval = Register;

TEST_F(RegisterAdding, WritesALineOfTheProductsType) {
    for (const char* model : {"VEL7205E", "VEL7205P", "KOR7206LB", "VEL7206P"}) {
        machine.model(model).file(mdfstab, "");
        EXPECT_EQ(add().returned, 0);
        EXPECT_EQ(content(), "/dev/data/pool\t/mnt/data/pool\treiserfs\tdefaults\t0 0\n") << model;
    }
    for (const char* model : {"KOR7206L", "KOR7206G", "KOR7206H", "KOR7206L_BS", "KOR7206G_BS",
                              "KOR7206H_BS", "VEL7206X", "VEL7205X", "VEL7205U", "VEL7205A", "x"}) {
        machine.model(model).file(mdfstab, "");
        EXPECT_EQ(add().returned, 0);
        EXPECT_EQ(content(), "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0\n") << model;
    }
    machine.remove("/etc/sys_info").file(mdfstab, "");
    EXPECT_EQ(add().returned, 0);
    EXPECT_EQ(content(), "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0\n") << "no model";
}

TEST_F(RegisterAdding, SavesTheRegister) {
    const Result result = add();
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(outside(result), ElementsAre(save_command));
    EXPECT_THAT(machine.logged(), IsEmpty());
    machine.model("VEL7205P");
    EXPECT_THAT(outside(add("/mnt/x")),
                ElementsAre("/usr/local/bin/nasconf -s /etc/mdfstab > /dev/null"));
}

TEST_F(RegisterAdding, SucceedsThoughTheSavingFails) {
    machine.tool(pool_tool::xconf).any().exits(1);
    EXPECT_EQ(add().returned, 0);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(save_command, "normal with exit(1)")));
}

TEST_F(RegisterAdding, KeepsAllThatIsThere) {
    const std::string before = "# comment\n\n  /dev/data/a   /mnt/data/a\txfs \r\n" +
                               std::string(600, 'x') + "\n\t\n/dev/data/b /mnt/data/b xfs\n";
    machine.file(mdfstab, before, 0640);
    EXPECT_EQ(add().returned, 0);
    EXPECT_EQ(content(), before + "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0\n");
    EXPECT_EQ(machine.mode(mdfstab), 0640U);
}

TEST_F(RegisterAdding, StartsALineOfItsOwn) {
    machine.file(mdfstab, "/dev/data/a /mnt/data/a xfs defaults 0 0");
    EXPECT_EQ(add().returned, 0);
    EXPECT_EQ(content(), "/dev/data/a /mnt/data/a xfs defaults 0 0\n"
                         "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0\n");
}

TEST_F(RegisterAdding, MakesAMissingRegister) {
    machine.remove(mdfstab);
    EXPECT_EQ(add().returned, 0);
    EXPECT_EQ(content(), "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0\n");
    EXPECT_EQ(machine.mode(mdfstab), 0644U);
}

TEST_F(RegisterAdding, RegistersAMountPointOnce) {
    EXPECT_EQ(add().returned, 0);
    const Result again = add();
    EXPECT_EQ(again.returned, -1);
    EXPECT_EQ(again.out, "");
    EXPECT_THAT(again.commands, IsEmpty()) << "nothing to save";
    EXPECT_EQ(content(), "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0\n");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(RegisterAdding, FindsAMountPointWhateverTheLineLooksLike) {
    for (const std::string& line :
         {std::string("x /mnt/data/pool"), std::string(" \tx\t \t/mnt/data/pool  "),
          std::string("x /mnt/data/pool\r\n"), std::string("# /mnt/data/pool\n"),
          std::string("#x /mnt/data/pool xfs\n"), std::string(255, 'x') + "y /mnt/data/pool\n",
          std::string("x /mnt/data/pool\0y\n", 19)}) {
        machine.file(mdfstab, "/dev/data/a /mnt/data/a xfs\n\n" + line);
        EXPECT_EQ(add().returned, -1) << line;
        EXPECT_EQ(content(), "/dev/data/a /mnt/data/a xfs\n\n" + line);
    }
}

TEST_F(RegisterAdding, ComparesWholeMountPoints) {
    machine.registered({"/mnt/data/pool /mnt/data/pool2 xfs", "x /mnt/data /mnt/data/pool",
                        "/mnt/data/pool", "x /mnt/data/Pool xfs"});
    EXPECT_EQ(add().returned, 0);
}

TEST_F(RegisterRemoval, TakesTheLinesOfAMountPointOut) {
    machine.registered({"/dev/data/a\t/mnt/data/a\txfs\tdefaults\t0 0",
                        "/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0",
                        "/dev/more/pool /mnt/data/pool reiserfs",
                        "/dev/data/b\t/mnt/data/pool2\txfs\tdefaults\t0 0"});
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(content(), "/dev/data/a\t/mnt/data/a\txfs\tdefaults\t0 0\n"
                         "/dev/data/b\t/mnt/data/pool2\txfs\tdefaults\t0 0\n");
    EXPECT_THAT(outside(result), ElementsAre(move_command, save_command));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(RegisterRemoval, TakesCommentsEmptyLinesAndOuterBlanksWithThem) {
    machine.file(mdfstab, "# comment\n\n  /dev/data/a   /mnt/data/a \txfs  \r\n\t# more\n \t \n"
                          "/dev/data/pool /mnt/data/pool xfs\n/dev/data/b /mnt/data/b xfs");
    EXPECT_EQ(remove().returned, 0);
    EXPECT_EQ(content(), "/dev/data/a   /mnt/data/a \txfs\n/dev/data/b /mnt/data/b xfs\n");
}

TEST_F(RegisterRemoval, TakesTheLastLineWithoutALineFeed) {
    machine.file(mdfstab, "/dev/data/a /mnt/data/a xfs\n/dev/data/pool /mnt/data/pool");
    EXPECT_EQ(remove().returned, 0);
    EXPECT_EQ(content(), "/dev/data/a /mnt/data/a xfs\n");
}

TEST_F(RegisterRemoval, MayLeaveAnEmptyRegister) {
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    EXPECT_EQ(remove().returned, 0);
    EXPECT_EQ(content(), "");
}

TEST_F(RegisterRemoval, OfAMissingMountPointLeavesAllAsItIsAndSavesIt) {
    const std::string before =
        "# comment\n\n  /dev/data/a   /mnt/data/a xfs \r\n# /mnt/data/pool\n" +
        std::string(600, 'x') + "\n/dev/data/b /mnt/data/b";
    machine.file(mdfstab, before, 0640);
    struct stat old = {};
    ::stat(machine.host_path(mdfstab).c_str(), &old);
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(content(), before);
    struct stat now = {};
    ::stat(machine.host_path(mdfstab).c_str(), &now);
    EXPECT_EQ(now.st_ino, old.st_ino);
    EXPECT_THAT(outside(result), ElementsAre(save_command));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(RegisterRemoval, SavesByTheModelAndSucceedsThoughThatFails) {
    machine.model("VEL7205P").tool(pool_tool::nasconf).any().killed_by(SIGKILL);
    machine.registered({"/dev/data/pool /mnt/data/pool xfs"});
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(outside(result),
                ElementsAre(move_command, "/usr/local/bin/nasconf -s /etc/mdfstab > /dev/null"));
    EXPECT_EQ(content(), "");
    EXPECT_EQ(remove().returned, 0);
}

TEST_F(RegisterRemoval, KeepsModeAndOwner) {
    for (const mode_t mode : {0600U, 0640U, 0664U, 04755U}) {
        machine.registered({"/dev/data/pool /mnt/data/pool xfs", "/dev/data/a /mnt/data/a xfs"});
        const std::string path = machine.host_path(mdfstab);
        ASSERT_EQ(::chown(path.c_str(), 12, 34), 0);
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        const Result result =
            machine.operation([] { return mdfstab_remove("/mnt/data/pool"); }, {.umask = 077});
        EXPECT_EQ(result.returned, 0);
        EXPECT_EQ(content(), "/dev/data/a /mnt/data/a xfs\n");
        struct stat now = {};
        ::stat(path.c_str(), &now);
        EXPECT_EQ(now.st_mode & 07777U, mode);
        EXPECT_EQ(now.st_uid, 12U);
        EXPECT_EQ(now.st_gid, 34U);
    }
}

TEST_F(RegisterRemoval, UndoesAnAddition) {
    machine.registered({"/dev/data/a\t/mnt/data/a\txfs\tdefaults\t0 0"});
    const std::string before = content();
    EXPECT_EQ(add().returned, 0);
    EXPECT_EQ(remove().returned, 0);
    EXPECT_EQ(content(), before);
}

TEST(AnyRegister, IsChangedUnderItsOwnNames) {
    PoolMachine machine;
    static constexpr MountRegister other = {"/etc/other", "/tmp/other.XXXXXX"};
    const Result added =
        machine.operation([] { return register_add(other, "/mnt/x", "LABEL=x\t/mnt/x\txfs"); });
    EXPECT_EQ(added.returned, 0);
    EXPECT_EQ(machine.read("/etc/other"), "LABEL=x\t/mnt/x\txfs\n");
    EXPECT_THAT(outside(added), ElementsAre("/usr/local/bin/xconf -s /etc/other > /dev/null"));
    const Result removed = machine.operation([] { return register_remove(other, "/mnt/x"); });
    EXPECT_EQ(removed.returned, 0);
    EXPECT_EQ(machine.read("/etc/other"), "");
    EXPECT_THAT(outside(removed), ElementsAre("mv /tmp/other.XXXXXX /etc/other > /dev/null",
                                              "/usr/local/bin/xconf -s /etc/other > /dev/null"));
    EXPECT_EQ(machine.read(mdfstab), "");
}

} // namespace
} // namespace zav::test
