// SPDX-License-Identifier: MIT
// The system's lock on its account files, which useradd and the like take as well.
#include "actions/shares/ftp_users.h"
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

#include <chrono>
#include <thread>

namespace zav::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto accounts_lock = "/etc/.pwd.lock";

Code take_home() {
    AccountLock accounts;
    return rewrite_home("anna", ftp_home, accounts);
}

class LockedAccounts : public ShareOperation {
  protected:
    LockedAccounts() { machine.file(accounts_lock, "", 0600); }
    const std::string annas_new_line = "anna:x:1001:100:Anna:/home/ftpuser:/bin/sh\n";
};

TEST_F(LockedAccounts, AreWaitedForTenSecondsBeforeAnythingIsChanged) {
    has_share("ftp", "anna");
    const auto forbid = [] {
        share_info share = share_of("ftp");
        return edit_share(share, 0, printed());
    };
    const Snapshot before = machine.snapshot();
    {
        const LockedFile useradd(machine.host_path(accounts_lock));
        const auto start = std::chrono::steady_clock::now();
        const Result result = operate(forbid, {.time_limit = std::chrono::seconds(40)});
        const auto waited = std::chrono::steady_clock::now() - start;
        EXPECT_EQ(result.returned, -502);
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_GE(waited, std::chrono::seconds(10));
        EXPECT_LT(waited, std::chrono::seconds(30));
    }
    EXPECT_THAT(machine.logged().back(), returned("forbid_use_share", -1));
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    EXPECT_EQ(result_of(forbid), 0) << "a retry does the whole work";
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(LockedAccounts, KeepAUserThatIsAddedMeanwhile) {
    LockedFile useradd(machine.host_path(accounts_lock));
    const std::string before = machine.read(passwd);
    StartedRun run = machine.start_call(take_home);
    ASSERT_TRUE(useradd.is_waited_for());
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // whoever does not wait, writes
    machine.file(passwd, before + "dora:x:1005:100::/home/dora:/bin/sh\n");
    useradd.unlock();
    EXPECT_EQ(run.wait().returned, 0);
    EXPECT_THAT(machine.read(passwd), HasSubstr(annas_new_line));
    EXPECT_THAT(machine.read(passwd), HasSubstr("dora:x:1005:100::/home/dora:/bin/sh\n"));
}

TEST_F(LockedAccounts, LetNobodyInWhilePasswdIsReplaced) {
    machine.tool(pool_tool::mv)
        .on_prefix("mv /tmp/passwd")
        .does("echo > /var/moving; while ! [ -e /var/go ]; do :; done; mv \"$1\" \"$2\"");
    StartedRun run = machine.start_call(take_home);
    ASSERT_TRUE(machine.appears("/var/moving"));
    EXPECT_THROW(LockedFile(machine.host_path(accounts_lock)), std::runtime_error);
    machine.file("/var/go", "");
    EXPECT_EQ(run.wait().returned, 0);
    EXPECT_NO_THROW(LockedFile(machine.host_path(accounts_lock)));
}

TEST_F(LockedAccounts, AreNotLockedThroughALink) {
    machine.remove(accounts_lock)
        .file("/var/elsewhere", "")
        .symlink("/var/elsewhere", accounts_lock);
    const Snapshot before = machine.snapshot();
    const Result result = operate(take_home);
    EXPECT_EQ(result.returned, -1);
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

} // namespace
} // namespace zav::test
