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
    static Function edit(int state) {
        return [state] {
            share_info share = share_of("ftp", "carla");
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

} // namespace
} // namespace zav::test
