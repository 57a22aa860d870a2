// SPDX-License-Identifier: MIT
// Several groups with a pool of the share's name: the share's own is taken, or none.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class PoolNamesakes : public ShareOperation {
  protected:
    PoolNamesakes() { machine.backup("other", {"else"}); }
    Result remove() {
        return operate([] { return delete_share("pub", printed()); });
    }
    Result use(const std::string& type, const std::string& users = "") {
        return operate([=] {
            share_info share = share_of(type.c_str(), users.c_str());
            return edit_share(share, 1, printed());
        });
    }
    void has_namesake() { machine.pools({"/dev/archive/pub", "/dev/data/pub"}); }
    // Nothing is done, and the log names the groups.
    void expect_refused(const Result& result, const std::string& operation) {
        EXPECT_EQ(result.returned, -303);
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_THAT(machine.logged(), Contains(HasSubstr("'archive', 'data'")));
        EXPECT_THAT(machine.logged(), Contains(returned(operation, -303)));
    }
};

TEST_F(PoolNamesakes, TheRegisteredPathTellsWhichOneIsDeleted) {
    for (const char* service : {"samba", "nfs", "iscsi"}) {
        has_share(service);
        has_namesake();
        const Result result = remove();
        EXPECT_EQ(result.returned, 0) << service;
        EXPECT_THAT(changes(result), Contains(removing_pool)) << service;
        EXPECT_THAT(result.commands, Not(Contains(HasSubstr("archive/pub")))) << service;
        EXPECT_EQ(machine.read(mdfstab), "");
    }
}

TEST_F(PoolNamesakes, AnFtpShareIsToldByItsMountPoint) {
    has_share("ftp");
    machine.file(mdfstab, "/dev/archive/pub\t/mnt/archive/pub\txfs\tdefaults\t0 0\n" +
                              mdfstab_line(ftp_directory));
    has_namesake();
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), Contains(removing_pool));
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("archive/pub"))));
}

TEST_F(PoolNamesakes, ABackupOfAnotherGroupIsNotTaken) {
    has_share("samba");
    machine.backup("archive", {"pub"});
    machine.backup("data", {"pub"});
    has_namesake();
    EXPECT_THAT(changes(remove()), Contains(removing_pool));
    has_share("samba");
    has_namesake();
    machine.remove("/etc/lvm/backup/data");
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), Contains(removing_pool));
}

TEST_F(PoolNamesakes, ABackupOfItsOwnGroupIsRestored) {
    has_share("samba");
    machine.backup("archive", {"pub"});
    machine.backup("data", {"pub"});
    machine.pools({"/dev/archive/pub"}); // data is lost
    const Result result = remove();
    EXPECT_THAT(result.out, HasSubstr("vg restore: "));
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("lvremove -f archive"))));
}

// As after a kill behind lvremove.
TEST_F(PoolNamesakes, OneAloneIsNotDeletedForAPoolThatIsGone) {
    for (const char* service : {"samba", "nfs", "iscsi"}) {
        for (const bool is_in_backup : {false, true}) {
            has_share(service);
            machine.pools({"/dev/archive/pub"});
            machine.remove("/etc/lvm/backup/archive");
            if (is_in_backup) {
                machine.backup("archive", {"pub"});
            }
            const Result result = remove();
            EXPECT_EQ(result.returned, 0) << service;
            EXPECT_THAT(result.commands, Not(Contains(HasSubstr("lvremove")))) << service;
            EXPECT_THAT(machine.logged(),
                        Contains(HasSubstr("the pool 'pub' of group 'archive' is not that")));
            EXPECT_THAT(machine.read(share_register), Not(HasSubstr("pub"))) << service;
        }
    }
}

TEST_F(PoolNamesakes, NoneIsDeletedWhenNothingTells) {
    has_share("ftp");
    machine.file(mdfstab, "/dev/archive/pub\t/mnt/archive/pub\txfs\tdefaults\t0 0\n");
    has_namesake();
    expect_refused(remove(), "delete_share");
    has_forbidden_share();
    machine.shares({{.service = "", .path = "/mnt/more/pub"}});
    has_namesake();
    expect_refused(remove(), "delete_share");
    machine.backup("archive", {"pub"});
    machine.backup("data", {"pub"});
    expect_refused(remove(), "delete_share");
    EXPECT_NE(machine.read(share_register), "");
}

TEST_F(PoolNamesakes, TheRegisteredPathTellsWhichOneIsMounted) {
    for (const char* type : {"samba", "nfs", "ftp"}) {
        has_forbidden_share();
        machine.file(mdfstab, "");
        has_namesake();
        const Result result = use(type, type == std::string("ftp") ? "ftpuser" : "");
        EXPECT_EQ(result.returned, 0) << type;
        EXPECT_THAT(machine.read(mdfstab), testing::StartsWith("/dev/data/pub\t")) << type;
        EXPECT_THAT(changes(result), Not(Contains(HasSubstr("archive")))) << type;
    }
}

TEST_F(PoolNamesakes, NoneIsMountedWhenNothingTells) {
    has_forbidden_share(smb_recycle, recycled_pub("anna"));
    machine.shares({{.service = "", .path = "/home/ftpuser/pub"}});
    has_namesake();
    expect_refused(use("samba"), "set_to_smbnfs");
    expect_refused(use("ftp", "ftpuser"), "set_to_ftp");
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
}

TEST_F(PoolNamesakes, ABackupCountsBesideTheList) {
    has_forbidden_share();
    machine.shares({{.service = "", .path = "/home/ftpuser/pub"}});
    machine.backup("archive", {"pub"});
    expect_refused(use("samba"), "set_to_smbnfs");
    machine.shares({{.service = ""}});
    EXPECT_EQ(use("samba").returned, 0);
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
}

} // namespace
} // namespace zav::test
