// SPDX-License-Identifier: MIT
// Any command finishes what a run that was cut short had begun with files that other programs read.
#include "base/change_journal.h"
#include "machine.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace zav::test {
namespace {

class InterruptedChange : public testing::TestWithParam<const char*> {
  protected:
    // The power went when mv had removed the old file.
    InterruptedChange() {
        const std::vector<JournalEntry> entries = {{path, "new\n", "old\n"}};
        machine.file(journal_path(path), journal_text(entries), 0640);
        machine.file("/etc/.pwd.lock", "");
        machine.remove(path);
    }
    const std::string path = GetParam();
    Machine machine;
};

TEST_P(InterruptedChange, IsFinishedByAnyCommand) {
    EXPECT_EQ(machine.run({"vgmanage", "--display"}).exit_status, 0);
    EXPECT_EQ(machine.read(path), "new\n");
    EXPECT_EQ(machine.mode(path), 0640U);
    EXPECT_FALSE(machine.exists(journal_path(path)));
}

// The command that made the file had failed, and the power went before the old one was back.
TEST_P(InterruptedChange, IsTakenBackByAnyCommandWhenItHadFailed) {
    const std::string back = journal_path(path) + ".back";
    machine.file(back, machine.read(journal_path(path)), 0640).remove(journal_path(path));
    machine.file(path, "new\n");
    EXPECT_EQ(machine.run({"vgmanage", "--display"}).exit_status, 0);
    EXPECT_EQ(machine.read(path), "old\n");
    EXPECT_FALSE(machine.exists(back));
}

// It may be the file of a change that is under way.
TEST_P(InterruptedChange, IsLeftToWhoeverHasTheLock) {
    const bool is_passwd = path == "/etc/passwd";
    if (!is_passwd) {
        machine.file(path, "ne");
    }
    const std::string locked = machine.host_path(is_passwd ? "/etc/.pwd.lock" : path);
    const int fd = ::open(locked.c_str(), O_WRONLY);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    ASSERT_EQ(::fcntl(fd, F_SETLK, &lock), 0);
    EXPECT_EQ(machine.run({"vgmanage", "--display"}).exit_status, 0);
    EXPECT_TRUE(machine.exists(journal_path(path)));
    EXPECT_EQ(machine.exists(path) ? machine.read(path) : "", is_passwd ? "" : "ne");
    ::close(fd);
}

INSTANTIATE_TEST_SUITE_P(Files, InterruptedChange,
                         testing::Values("/etc/passwd", "/etc/mdfstab", "/etc/netfstab",
                                         "/etc/vsftpd.conf"));

} // namespace
} // namespace zav::test
