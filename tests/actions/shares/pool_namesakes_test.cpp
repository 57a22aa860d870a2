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
                        Contains(HasSubstr("the pool 'pub' of 'data' is gone: that of 'archive'")));
            EXPECT_THAT(machine.read(share_register), Not(HasSubstr("pub"))) << service;
        }
    }
}

TEST_F(PoolNamesakes, OfAnFtpShareIsKeptWhenItsOwnPoolIsGone) {
    has_share("ftp");
    machine.mounts({}).pools({"/dev/archive/pub"});
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("archive/pub"))));
}

// Its line has gone in the first attempt, which ended with -504 behind lvremove.
TEST_F(PoolNamesakes, OfAnFtpShareIsKeptWhereTheRegisterOfMountsHasItElsewhere) {
    has_share("ftp", "anna");
    machine.mounts({}).pools({"/dev/archive/pub"});
    machine.file(mdfstab, "/dev/archive/pub\t/mnt/archive/pub\txfs\tdefaults\t0 0\n");
    Result result = remove();
    EXPECT_EQ(result.returned, -303);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged(), Contains("'/dev/archive/pub' is mounted on '/mnt/archive/pub', "
                                           "which is not the share's"));
    machine.backup("archive", {"pub"});
    result = remove();
    EXPECT_EQ(result.returned, -303) << "also when the backups know it";
    EXPECT_THAT(changes(result), IsEmpty());
}

TEST_F(PoolNamesakes, AListThatFailsLeavesNoOtherGroupToABackup) {
    has_share("ftp");
    machine.backup("archive", {"pub"});
    has_namesake();
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .does("if [ -e /first ]; then "
              "echo '  /dev/archive/pub:archive:3:1:-1:0:4194304:512:-1:0:-1:254:0'; "
              "echo '  /dev/data/pub:data:3:1:-1:0:4194304:512:-1:0:-1:254:0'; "
              "else : >/first; exit 5; fi");
    const Result result = remove();
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("lvremove -f archive"))));
    has_share("ftp");
    machine.file(mdfstab, "").remove("/first");
    EXPECT_THAT(changes(remove()), IsEmpty()) << "nothing else tells";
}

TEST_F(PoolNamesakes, SeveralAreKeptWhenTheShareIsRegisteredElsewhere) {
    has_share("samba");
    machine.mounts({}).pools({"/dev/archive/pub", "/dev/more/pub"});
    machine.file(mdfstab, "/dev/archive/pub\t/home/ftpuser/pub\txfs\tdefaults\t0 0\n");
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("lvremove"))));
}

TEST_F(PoolNamesakes, AListThatFailedHalfWayDoesNotSayThatTheOwnIsGone) {
    has_share("samba");
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints("  /dev/archive/pub:archive:3:1:-1:0:4194304:512:-1:0:-1:254:0\n")
        .exits(5);
    const Result result = remove();
    EXPECT_NE(result.returned, 0);
    EXPECT_THAT(changes(result), IsEmpty());
}

TEST_F(PoolNamesakes, NoneIsDeletedWhenNothingTells) {
    has_share("ftp");
    machine.file(mdfstab, "/dev/archive/pub\t/mnt/archive/pub\txfs\tdefaults\t0 0\n");
    has_namesake();
    expect_refused(remove(), "delete_share");
    has_forbidden_share();
    machine.shares({{.service = "", .path = "/srv/pub"}});
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

TEST_F(PoolNamesakes, OneAloneIsNotMountedForAPoolThatIsGone) {
    for (const bool is_listed : {true, false}) {
        for (const char* type : {"samba", "nfs", "ftp"}) {
            has_forbidden_share();
            machine.mounts({}).file(mdfstab, "");
            machine.backup("archive", {"pub"});
            machine.pools({"/dev/archive/pub"});
            if (!is_listed) {
                machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").exits(5);
            }
            const Result result = use(type, type == std::string("ftp") ? "ftpuser" : "");
            EXPECT_EQ(result.returned, -303) << type;
            EXPECT_THAT(changes(result), IsEmpty()) << type;
        }
    }
}

TEST_F(PoolNamesakes, MountLendsNoPathToAShareThatItsFileHasLost) {
    for (const char* service : {"samba", "nfs"}) {
        has_share(service);
        machine.file(smb_conf, samba_global).file(exports, "");
        machine.mounts({"/dev/data/pub /mnt/data/pub", "/dev/archive/pub /mnt/archive/pub"});
        EXPECT_EQ(use(service).returned, -2067) << service;
        const std::string served = machine.read(smb_conf) + machine.read(exports);
        EXPECT_THAT(served, HasSubstr("/mnt/data/pub")) << service;
        EXPECT_THAT(served, Not(HasSubstr("/mnt/archive/pub"))) << service;
    }
}

TEST_F(PoolNamesakes, IsNotRepairedOrMountedForTheShare) {
    has_share("samba", "anna");
    has_namesake();
    const Result repaired =
        operate([] { return repair_share("pub", "samba", "archive", printed()); });
    EXPECT_EQ(repaired.returned, -509);
    EXPECT_THAT(changes(repaired), IsEmpty());
    const Result restored = operate([] {
        share_info share = share_of("samba");
        return restore_share(share, "archive");
    });
    EXPECT_EQ(restored.returned, -508);
    EXPECT_THAT(changes(restored), IsEmpty());
    EXPECT_THAT(machine.logged(),
                Contains("share 'pub' is at '/mnt/data/pub', not in group 'archive'"));
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
