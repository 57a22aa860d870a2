// SPDX-License-Identifier: MIT
// What an FTP user's binding needs is looked at before the first change.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::IsEmpty;

class FtpChecks : public ShareOperation {
  protected:
    FtpChecks() { machine.directory("/etc/lvm/backup"); }

    void expect_refused(int code, const Function& operation) {
        const Snapshot before = machine.snapshot();
        const Result result = operate(operation);
        EXPECT_EQ(result.returned, code);
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
    // Each of what a binding needs, one after the other.
    void expect_each_needed(int code, const Function& operation) {
        const auto without = [&](const std::string& path) {
            SCOPED_TRACE(path);
            const std::string text = machine.exists(path) ? machine.read(path) : "";
            machine.remove(path).directory(path);
            expect_refused(code, operation);
            machine.remove(path);
            if (!text.empty()) {
                machine.file(path, text);
            }
        };
        without("/etc/.pwd.lock");
        without(ftp_template);
        without(passwd);
        without("/etc/vsftpd/carla");
        EXPECT_EQ(result_of(operation), 0) << "a retry does the whole work";
    }
    static Function edit(int state, const char* user = "carla") {
        return [=] {
            share_info share = share_of("ftp", user);
            return edit_share(share, state, printed());
        };
    }
};

TEST_F(FtpChecks, ComeBeforeACreation) {
    expect_each_needed(-503,
                       [] { return create_share(share_of("ftp", "carla"), "data", printed()); });
}

TEST_F(FtpChecks, ComeBeforeAForbiddenShareIsMoved) {
    has_forbidden_share();
    machine.mounts({"/dev/data/pub /mnt/data/pub"}).file(mdfstab, mdfstab_line(directory));
    expect_each_needed(-507, edit(1));
}

TEST_F(FtpChecks, ComeBeforeAnotherUserIsBound) {
    has_share("ftp", "anna");
    expect_each_needed(-507, edit(1));
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

// A user that is left out would keep the share.
TEST_F(FtpChecks, AreNotPassedWhenTheUserOfTheShareCannotBeRead) {
    const Function remove = [] { return delete_share("pub", printed()); };
    has_share("ftp", "anna");
    machine.bind("/proc/self/mem", "/etc/vsftpd/dora", true); // its beginning cannot be read
    expect_refused(-502, edit(0));
    expect_refused(-507, edit(1));
    expect_refused(-507, edit(1, "ftpuser"));
    expect_refused(-504, remove);
    machine.shares({{"pub", "", ftp_directory}});
    expect_refused(-507, edit(0)); // its user may still have it
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(FtpChecks, ComeBeforeAShareIsForbiddenOrDeleted) {
    const Function remove = [] { return delete_share("pub", printed()); };
    has_share("ftp", "anna");
    const std::string users = machine.read(passwd);
    {
        const LockedFile other(machine.host_path(passwd));
        expect_refused(-502, edit(0));
        expect_refused(-504, remove);
    }
    machine.remove(passwd).directory(passwd);
    expect_refused(-502, edit(0));
    expect_refused(-504, remove);
    machine.remove(passwd).file(passwd, users);
    EXPECT_EQ(result_of(edit(0)), 0) << "a retry does the whole work";
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

// The server would go on taking its user to the share.
TEST_F(FtpChecks, AUsersFileThatStaysIsAFailure) {
    machine.file("/var/users", "local_root=/home/ftpuser/pub\n");
    const auto has_busy_user = [this] {
        has_share("ftp", "anna");
        machine.bind(machine.host_path("/var/users"), "/etc/vsftpd/anna");
    };
    has_busy_user();
    EXPECT_EQ(result_of(edit(1)), -507);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/carla"));
    EXPECT_EQ(result_of(edit(0)), -502);
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "", ftp_directory}));
    EXPECT_EQ(result_of(edit(0)), -507) << "as long as it is there";
    has_busy_user();
    EXPECT_EQ(result_of([] { return delete_share("pub", printed()); }), -504);
    EXPECT_THAT(machine.logged(), testing::Contains(testing::HasSubstr("-512")));
}

} // namespace
} // namespace zav::test
