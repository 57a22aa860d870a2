// SPDX-License-Identifier: MIT
// Faults of the register of mounted file systems: it cannot be opened, read, written or replaced,
// or two processes change it at once.
#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/mount_register.h"
#include "base/file_locks.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "fixtures/refused_calls.h"
#include "inventory/filesystems.h"

#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// With one pool in it.
const std::string content = "# comment\n/dev/data/a /mnt/data/a xfs\n"
                            "/dev/data/pool /mnt/data/pool xfs\n";

// Larger files cannot be written.
RunOptions with_largest_file(rlim_t size) {
    return {.limits = {{RLIMIT_FSIZE, size}}, .ignored_signals = {SIGXFSZ}};
}

class RegisterFault : public testing::Test {
  protected:
    RegisterFault() { machine.file(mdfstab, content); }

    Result add(const char* mntpoint, const RunOptions& options = {}) {
        return machine.operation(
            [=] { return mdfstab_add(mntpoint, "data", "new", product_fs_type()); }, options);
    }
    Result remove(const RunOptions& options = {}) {
        return machine.operation([] { return mdfstab_remove("/mnt/data/pool"); }, options);
    }
    PoolMachine machine;
};

TEST_F(RegisterFault, ARegisterWithoutADirectoryCannotBeAddedTo) {
    machine.remove("/etc");
    const Result result = add("/mnt/new");
    EXPECT_EQ(result.returned, -1066);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.logged(),
                Contains("cannot open /etc/mdfstab for No such file or directory"));
}

TEST_F(RegisterFault, ARegisterThatIsADirectoryIsRefused) {
    machine.remove(mdfstab).directory(mdfstab);
    EXPECT_EQ(add("/mnt/new").returned, -1066);
    EXPECT_EQ(remove().returned, -1066);
    EXPECT_THAT(machine.logged(), ElementsAre("cannot open /etc/mdfstab for Is a directory",
                                              "cannot open /etc/mdfstab or tmpfile for Is a "
                                              "directory"));
}

// The memory of a process cannot be read at its beginning.
TEST_F(RegisterFault, ARegisterThatCannotBeReadIsRefused) {
    machine.bind("/proc/self/mem", mdfstab, true);
    EXPECT_EQ(add("/mnt/new").returned, -1066);
    EXPECT_EQ(remove().returned, -1066);
    EXPECT_THAT(machine.logged(),
                ElementsAre(testing::StartsWith("cannot open /etc/mdfstab for "),
                            testing::StartsWith("cannot open /etc/mdfstab or tmpfile for ")));
}

TEST_F(RegisterFault, ARegisterOfAnotherUserIsRefused) {
    machine.file(mdfstab, content, 0600);
    EXPECT_EQ(add("/mnt/new", {.uid = 65534}).returned, -1066);
    EXPECT_EQ(remove({.uid = 65534}).returned, -1066);
    machine.file(mdfstab, content, 0644);
    EXPECT_EQ(add("/mnt/new", {.uid = 65534}).returned, -1066);
    EXPECT_EQ(remove({.uid = 65534}).returned, -1066) << "the owner could not be kept";
    EXPECT_EQ(machine.read(mdfstab), content);
}

TEST_F(RegisterFault, AMissingRegisterHasNothingToRemove) {
    machine.remove(mdfstab);
    const Result result = remove();
    EXPECT_EQ(result.returned, -1066);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_FALSE(machine.exists(mdfstab));
    EXPECT_THAT(machine.logged(),
                ElementsAre("cannot open /etc/mdfstab or tmpfile for No such file or directory"));
}

TEST_F(RegisterFault, ACopyThatCannotBeMadeLeavesTheRegister) {
    machine.read_only("/tmp");
    const Result result = remove();
    EXPECT_EQ(result.returned, -1066);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_EQ(machine.read(mdfstab), content);
    EXPECT_THAT(machine.logged(),
                ElementsAre(testing::StartsWith("cannot open /etc/mdfstab or tmpfile for ")));
}

TEST_F(RegisterFault, AReadOnlyRegisterCannotBeAddedTo) {
    machine.read_only("/etc");
    const Result result = add("/mnt/new");
    EXPECT_EQ(result.returned, -1066);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_EQ(add("/mnt/data/pool").returned, -1066) << "though it is registered";
    EXPECT_THAT(machine.logged(),
                testing::Each("cannot open /etc/mdfstab for Read-only file system"));
}

TEST_F(RegisterFault, AReadOnlyRegisterCannotBeReplaced) {
    machine.read_only("/etc");
    const Result result = remove();
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(outside(result), ElementsAre("mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null"));
    EXPECT_EQ(machine.read(mdfstab), content);
}

TEST_F(RegisterFault, AReadOnlyRegisterWithoutTheMountPointIsNoFailure) {
    machine.file(mdfstab, "/dev/data/a /mnt/data/a xfs\n").read_only("/etc");
    EXPECT_EQ(remove().returned, 0);
}

TEST_F(RegisterFault, AMoveThatFailsLeavesTheRegisterAndSavesNothing) {
    const auto log_line = [](const std::string& end) {
        return testing::AllOf(
            testing::StartsWith("system(\"mv /tmp/mdfstab."),
            testing::HasSubstr(" /etc/mdfstab > /dev/null\") return " + end + " for '"));
    };
    for (const char* end : {"exits", "is killed", "is missing"}) {
        Rule rule = machine.tool(pool_tool::mv).any();
        if (end == std::string("exits")) {
            rule.exits(1);
        } else if (end == std::string("is killed")) {
            rule.killed_by(SIGKILL);
        } else {
            machine.remove(pool_tool::mv);
        }
        const Result result = remove();
        EXPECT_EQ(result.returned, -11000) << end;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(outside(result), testing::SizeIs(1)) << end;
        EXPECT_EQ(machine.read(mdfstab), content) << end;
    }
    EXPECT_THAT(machine.logged(),
                ElementsAre(log_line("normal with exit(1)"), log_line("unnormal with exit(0)"),
                            log_line("normal with exit(127)")));
}

TEST_F(RegisterFault, AFullDiskTakesNoPartOfANewLine) {
    for (const std::string& before : {content, content + "/dev/data/b /mnt/data/b xfs"}) {
        machine.file(mdfstab, before);
        for (const rlim_t room : {0U, 1U, 10U, 20U}) {
            const Result result = add("/mnt/new", with_largest_file(before.size() + room));
            EXPECT_EQ(result.returned, -1066) << room;
            EXPECT_EQ(machine.read(mdfstab), before) << room;
            EXPECT_THAT(result.commands, IsEmpty());
        }
        EXPECT_EQ(add("/mnt/new", with_largest_file(2 * before.size() + 200)).returned, 0);
    }
    EXPECT_THAT(machine.logged(), Contains("cannot open /etc/mdfstab for File too large"));
}

TEST_F(RegisterFault, AFullDiskLeavesTheRegisterAsItWas) {
    for (const rlim_t room : {0U, 1U, 20U}) {
        const Result result = remove(with_largest_file(room));
        EXPECT_EQ(result.returned, -1066) << room;
        EXPECT_THAT(result.commands, IsEmpty());
        EXPECT_EQ(machine.read(mdfstab), content);
    }
    EXPECT_EQ(remove(with_largest_file(200)).returned, 0);
}

TEST_F(RegisterFault, ADiskThatTakesNoSyncLeavesTheRegisterAsItWas) {
    const Result added = machine.operation([] {
        deny_syncs();
        return mdfstab_add("/mnt/new", "data", "new", product_fs_type());
    });
    EXPECT_EQ(added.returned, -1066);
    EXPECT_EQ(machine.read(mdfstab), content);
    const Result removed = machine.operation([] {
        deny_syncs();
        return mdfstab_remove("/mnt/data/pool");
    });
    EXPECT_EQ(removed.returned, -1066);
    EXPECT_EQ(machine.read(mdfstab), content);
}

TEST(FaultyRegister, IsNamedWhereLinesAreRemovedOnly) {
    PoolMachine machine;
    static constexpr MountRegister other = {"/etc/other/register", "/tmp/other.XXXXXX"};
    EXPECT_EQ(machine.operation([] { return register_add(other, "/mnt/x", "x"); }).returned, -1066);
    EXPECT_EQ(machine.operation([] { return register_remove(other, "/mnt/x"); }).returned, -1066);
    EXPECT_THAT(machine.logged(),
                ElementsAre("cannot open /etc/mdfstab for No such file or directory",
                            "cannot open /etc/other/register or tmpfile for No such file or "
                            "directory"));
}

// Another process holds the register while it is to be changed.
class RegisterInUse : public RegisterFault {
  protected:
    RegisterInUse() : lock(machine.host_path(mdfstab)) {}

    StartedRun adding() {
        return machine.start_call(
            [] { return mdfstab_add("/mnt/data/new", "data", "new", product_fs_type()); });
    }
    StartedRun removing() {
        return machine.start_call([] { return mdfstab_remove("/mnt/data/pool"); });
    }
    // Replaces the register by another file, as a removal does.
    void replace(const std::string& text) {
        machine.file("/etc/mdfstab.new", text);
        std::filesystem::rename(machine.host_path("/etc/mdfstab.new"), machine.host_path(mdfstab));
    }
    LockedFile lock;
    const std::string new_line = "/dev/data/new\t/mnt/data/new\txfs\tdefaults\t0 0\n";
};

TEST_F(RegisterInUse, IsAddedToWhenTheOtherIsDone) {
    StartedRun run = adding();
    ASSERT_TRUE(lock.is_waited_for());
    lock.write("/dev/data/b /mnt/data/b xfs\n");
    lock.unlock();
    EXPECT_EQ(run.wait().returned, 0);
    EXPECT_EQ(machine.read(mdfstab), content + "/dev/data/b /mnt/data/b xfs\n" + new_line);
}

TEST_F(RegisterInUse, IsNotAddedToTwice) {
    StartedRun run = adding();
    ASSERT_TRUE(lock.is_waited_for());
    lock.write(new_line);
    lock.unlock();
    EXPECT_EQ(run.wait().returned, -1);
    EXPECT_EQ(machine.read(mdfstab), content + new_line);
}

TEST_F(RegisterInUse, IsAddedToInItsNewFile) {
    StartedRun run = adding();
    ASSERT_TRUE(lock.is_waited_for());
    replace("/dev/data/b /mnt/data/b xfs\n");
    lock.unlock();
    EXPECT_EQ(run.wait().returned, 0);
    EXPECT_EQ(machine.read(mdfstab), "/dev/data/b /mnt/data/b xfs\n" + new_line);
}

TEST_F(RegisterInUse, IsRemovedFromWhenTheOtherIsDone) {
    StartedRun run = removing();
    ASSERT_TRUE(lock.is_waited_for());
    lock.write("/dev/data/b /mnt/data/b xfs\n");
    lock.unlock();
    EXPECT_EQ(run.wait().returned, 0);
    EXPECT_EQ(machine.read(mdfstab), "/dev/data/a /mnt/data/a xfs\n/dev/data/b /mnt/data/b xfs\n");
    EXPECT_THAT(machine.tmp(), IsEmpty());
}

TEST_F(RegisterInUse, IsRemovedFromInItsNewFile) {
    StartedRun run = removing();
    ASSERT_TRUE(lock.is_waited_for());
    replace("/dev/data/b /mnt/data/b xfs\nx /mnt/data/pool\n");
    lock.unlock();
    EXPECT_EQ(run.wait().returned, 0);
    EXPECT_EQ(machine.read(mdfstab), "/dev/data/b /mnt/data/b xfs\n");
}

TEST_F(RegisterInUse, StaysLockedUntilTheNewFileIsInPlace) {
    lock.unlock();
    machine.tool(pool_tool::mv)
        .any()
        .does("echo > /var/moving; "
              "while ! [ -e /var/go ]; do :; done; mv \"$1\" \"$2\"");
    StartedRun first = removing();
    ASSERT_TRUE(machine.appears("/var/moving"));
    EXPECT_THROW(LockedFile(machine.host_path(mdfstab)), std::runtime_error);
    machine.file("/var/go", "");
    EXPECT_EQ(first.wait().returned, 0);
}

TEST_F(RegisterFault, IsFreeForTheToolThatSavesIt) {
    machine.tool(pool_tool::xconf)
        .any()
        .does("echo > /var/saving; "
              "while ! [ -e /var/go ]; do :; done");
    const auto save = [this](const Function& change) {
        machine.remove("/var/go").remove("/var/saving");
        StartedRun run = machine.start_call(change);
        EXPECT_TRUE(machine.appears("/var/saving"));
        EXPECT_NO_THROW(LockedFile(machine.host_path(mdfstab)));
        machine.file("/var/go", "");
        EXPECT_EQ(run.wait().returned, 0);
    };
    save([] { return mdfstab_add("/mnt/data/new", "data", "new", product_fs_type()); });
    save([] { return mdfstab_remove("/mnt/data/pool"); });
    save([] { return mdfstab_remove("/mnt/data/missing"); });
}

// Starts one process per number, all at once, and counts those that succeed.
template <class Called>
int together(int count, Called function) {
    int gate[2];
    EXPECT_EQ(::pipe(gate), 0);
    for (int number = 0; number < count; ++number) {
        if (::fork() == 0) {
            ::close(gate[1]);
            char byte = 0;
            (void)!::read(gate[0], &byte, 1);
            ::_exit(failed(function(number)) ? 1 : 0);
        }
    }
    ::close(gate[0]);
    ::close(gate[1]);
    int succeeded = 0;
    int status = 0;
    while (::wait(&status) > 0) {
        succeeded += status == 0 ? 1 : 0;
    }
    return succeeded;
}

TEST_F(RegisterFault, ManyChangesAtOnceAreAllMade) {
    Texts lines;
    for (int number = 0; number < 8; ++number) {
        lines.push_back("/dev/data/" + std::to_string(number) + " /mnt/" + std::to_string(number));
    }
    machine.registered(lines);
    const Result run = machine.operation([] {
        return together(16, [](int number) {
            const std::string mntpoint = "/mnt/" + std::to_string(number);
            return number < 8 ? mdfstab_remove(mntpoint.c_str())
                              : mdfstab_add(mntpoint.c_str(), "data", "x", product_fs_type());
        });
    });
    EXPECT_EQ(run.returned, 16);
    std::vector<std::string_view> kept;
    const std::string text = machine.read(mdfstab);
    for (const std::string_view line : split(text, "\n")) {
        kept.push_back(field(line, "\t", 1));
    }
    EXPECT_THAT(kept, testing::UnorderedElementsAre("/mnt/8", "/mnt/9", "/mnt/10", "/mnt/11",
                                                    "/mnt/12", "/mnt/13", "/mnt/14", "/mnt/15"));
}

} // namespace
} // namespace zav::test
