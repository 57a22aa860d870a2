// SPDX-License-Identifier: MIT
// A disk without room for the share files is found before anything that cannot be taken back.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class FullDisk : public ShareOperation {
  protected:
    FullDisk() { machine.directory("/etc/lvm/backup"); }

    // Without room the operation changes nothing, with it it does the whole work.
    void expect_refused(int code, const Function& operation, rlim_t largest_file = 150) {
        const Snapshot before = machine.snapshot();
        const Result result = operate(operation, with_largest_file(largest_file));
        EXPECT_EQ(result.returned, code);
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
        EXPECT_EQ(result_of(operation), 0);
        EXPECT_THAT(machine.list("/etc"), Each(Not(HasSubstr(".room"))));
    }
};

TEST_F(FullDisk, KeepsThePoolOfAShareToDelete) {
    const Function remove = [] { return delete_share("pub", printed()); };
    for (const char* type : {"samba", "nfs", "ftp", "iscsi"}) {
        SCOPED_TRACE(type);
        has_share(type);
        const rlim_t size_of_targets = 250; // they are copied for the list of shares
        expect_refused(-504, remove, std::string(type) == "iscsi" ? size_of_targets : 150);
        EXPECT_EQ(machine.read(share_register), "");
    }
    has_forbidden_share(smb_recycle, recycled_pub("anna"));
    expect_refused(-504, remove);
    EXPECT_EQ(machine.read(share_register), "");
}

TEST_F(FullDisk, KeepsTheMountOfAnFtpShareToForbid) {
    has_share("ftp");
    expect_refused(-502, [] {
        share_info share = share_of("ftp", "ftpuser");
        return edit_share(share, 0, printed());
    });
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "", ftp_directory}));
}

TEST_F(FullDisk, LeavesNothingWhenTheDeletionEndsEarly) {
    has_share("samba");
    fails(pool_tool::umount, "umount ");
    const Snapshot before = machine.snapshot();
    EXPECT_EQ(result_of([] { return delete_share("pub", printed()); }), -602);
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(FullDisk, WhatAKilledDeletionLeftIsRemovedByTheNextChange) {
    has_share("samba");
    machine.file("/etc/.sharefolder.conf.zav.room", "half a journal");
    EXPECT_EQ(result_of([] {
                  share_info share = share_of("samba");
                  return edit_share(share, 1, printed());
              }),
              0);
    EXPECT_FALSE(machine.exists("/etc/.sharefolder.conf.zav.room"));
}

} // namespace
} // namespace zav::test
