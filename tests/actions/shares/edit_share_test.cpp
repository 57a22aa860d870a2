// SPDX-License-Identifier: MIT
// Editing shares that stay in use, that become forbidden, and that are forbidden.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class EditShare : public ShareOperation {
  protected:
    Result edit(const share_info& share, int state) {
        return operate([=] {
            share_info edited = share;
            return edit_share(edited, state, printed());
        });
    }
};

using EditUsedShare = EditShare;
using ForbidShare = EditShare;
using EditForbiddenShare = EditShare;

TEST_F(EditShare, ReportsAnUnknownShare) {
    for (const int state : {0, 1}) {
        const Result result = edit(share_of("samba"), state);
        EXPECT_EQ(result.returned, -501);
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_THAT(machine.logged().back(), returned("edit_share", -501));
    }
    machine.remove(targets);
    EXPECT_EQ(edit(share_of("samba"), 1).returned, -505);
    EXPECT_THAT(machine.logged().back(), returned("edit_share", -505));
}

TEST_F(EditShare, GivesTheRecordTheCurrentSizeAndPath) {
    has_share("samba");
    operate([] {
        share_info share = share_of("samba");
        share.size = {99};
        share.path = "/given";
        EXPECT_EQ(edit_share(share, 1, printed()), 0);
        EXPECT_EQ(share.size.count, 5);
        EXPECT_EQ(share.path, "/mnt/data/pub");
        return 0;
    });
}

TEST_F(EditUsedShare, ChangesRegisterAndServiceFileAndRestartsNothing) {
    has_share("samba", "anna");
    const Result result = edit(read_only(share_of("samba", "bert", "new")), 1);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "new"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "bert", "new", "writable = no"));
    EXPECT_THAT(changes(result), ElementsAre(saved(share_register), saved(smb_conf)));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(EditUsedShare, KeepsUsersAndCommentThatAreNotGiven) {
    has_share("samba", "anna");
    machine.shares({{.comment = "mine"}}).mounts({});
    EXPECT_EQ(edit(share_of("samba"), 1).returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "mine"}))
        << "not that it is not mounted";
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory, "anna"));
}

TEST_F(EditUsedShare, ChangesTheUsersOfATarget) {
    has_share("iscsi");
    EXPECT_EQ(edit(share_of("iscsi", "anna"), 1).returned, 0);
    EXPECT_EQ(machine.read(targets),
              target_of("pub.20240502140305", "/dev/data/pub", "\tIncomingUser anna annasecret\n"));
}

TEST_F(EditUsedShare, PutsAShareBackThatItsServiceLost) {
    has_share("nfs");
    machine.file(exports, "");
    EXPECT_EQ(edit(share_of("nfs", "10.0.0.1"), 1).returned, -2067) << "which is told";
    EXPECT_EQ(machine.read(exports), export_of(directory, "10.0.0.1"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(EditUsedShare, PutsAShareBackWithTheUsersThatItsRecycleFileKnows) {
    has_share("samba");
    machine.file(smb_conf, samba_global).file(smb_recycle, recycled_pub("anna", "", "no"));
    EXPECT_EQ(edit(share_of("samba"), 1).returned, -2067) << "which is told";
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "", "writable = no"))
        << "no more open than it was";
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(EditUsedShare, WarnsOfAShareThatItPutsBackForEverybody) {
    has_share("samba");
    machine.file(smb_conf, samba_global);
    EXPECT_EQ(edit(share_of("samba"), 1).returned, -2067) << "which is told";
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
    EXPECT_THAT(machine.logged(), ElementsAre("nothing tells the users of share 'pub': it is open "
                                              "to everybody"));
}

TEST_F(EditUsedShare, RefusesAnotherServiceThanItsOwn) {
    has_share("samba", "anna");
    for (const int state : {0, 1}) {
        const Snapshot before = machine.snapshot();
        const Result result = edit(share_of("nfs", "10.0.0.1"), state);
        EXPECT_EQ(result.returned, -1);
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
        EXPECT_THAT(machine.logged().back(), returned("edit_share", -1));
    }
}

TEST_F(EditUsedShare, BindsAnotherFtpUser) {
    has_share("ftp", "anna");
    const Result result = edit(share_of("ftp", "carla"), 1);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAreArray(joined({unbinding("anna"),
                                                          rewriting_home(),
                                                          setting_user("carla"),
                                                          {saved(share_register)}})));
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("carla", "ftpuser"));
    EXPECT_THAT(machine.read("/etc/vsftpd/carla"), HasSubstr("local_root=/home/ftpuser/pub\n"));
}

TEST_F(EditUsedShare, FreesTheFtpUserForTheDefaultOne) {
    has_share("ftp", "anna");
    const Result result = edit(share_of("ftp", "ftpuser"), 1);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({unbinding("anna"), {saved(share_register)}})));
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
}

TEST_F(EditUsedShare, BindsAnFtpUserInsteadOfTheDefaultOne) {
    has_share("ftp");
    const Result result = edit(read_only(share_of("ftp", "anna")), 1);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(
                    joined({rewriting_home(), setting_user("anna"), {saved(share_register)}})));
    EXPECT_THAT(machine.read("/etc/vsftpd/anna"), HasSubstr("write_enable=NO\n"));
}

TEST_F(EditUsedShare, StopsWhereTheFtpUserCannotBeBound) {
    has_share("ftp");
    fails(pool_tool::mv, "mv /tmp/passwd");
    const Result result = edit(share_of("ftp", "anna", "new"), 1);
    EXPECT_EQ(result.returned, -507);
    EXPECT_THAT(machine.logged().back(), returned("edit_share", -507));
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "ftp", ftp_directory}));
}

TEST_F(EditUsedShare, StopsAtLockedFiles) {
    for (const char* file : {share_register, smb_conf}) {
        has_share("samba");
        const LockedFile lock(machine.host_path(file));
        EXPECT_EQ(edit(share_of("samba", "anna"), 1).returned, -506) << file;
        EXPECT_THAT(machine.logged().back(), returned("mod_use_share", -2062));
        EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
    }
}

TEST_F(ForbidShare, MovesASambaShareAndLeavesItsMount) {
    has_share("samba", "anna");
    const Result result = edit(share_of("samba"), 0);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAre(saved(share_register), saved(smb_conf), saved(smb_recycle)));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
}

TEST_F(ForbidShare, MovesAnExport) {
    has_share("nfs", "10.0.0.1");
    const Result result = edit(read_only(share_of("nfs")), 0);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(exports), "");
    EXPECT_EQ(machine.read(exports_recycle), export_of(directory, "10.0.0.1", "ro"));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
}

TEST_F(ForbidShare, SucceedsWhereItWasForbiddenHalfway) {
    has_share("samba");
    machine.file(smb_conf, samba_global).file(smb_recycle, recycled_pub());
    EXPECT_EQ(edit(share_of("samba"), 0).returned, 0);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ForbidShare, SucceedsWhereItIsRecycledAlready) {
    has_share("samba");
    machine.file(smb_recycle, recycled_pub("anna"));
    EXPECT_EQ(edit(share_of("samba"), 0).returned, 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
}

TEST_F(ForbidShare, UnmountsAnFtpShareAndFreesItsUser) {
    has_share("ftp", "anna");
    const Result result = edit(share_of("ftp", "ftpuser"), 0);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({{unmounting(ftp_directory)},
                                         removing_directory(ftp_directory),
                                         {replacing_mdfstab, saved(mdfstab), saved(share_register)},
                                         unbinding("anna"),
                                         {saved("/etc/vsftpd_user.xml")}})));
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "", ftp_directory}));
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
}

TEST_F(ForbidShare, StopsWhereAnFtpShareWouldBeMountedAtTheNextStart) {
    has_share("ftp", "anna");
    fails(pool_tool::mv, "mv /tmp/mdfstab.");
    EXPECT_EQ(edit(share_of("ftp"), 0).returned, -502);
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "ftp", ftp_directory}));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(ftp_directory));
    machine.tool(pool_tool::mv).on_prefix("mv /tmp/mdfstab.").does("mv \"$1\" \"$2\"");
    EXPECT_EQ(edit(share_of("ftp"), 0).returned, 0) << "the same again does all of it";
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "", ftp_directory}));
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(ForbidShare, NeedsNoRegisterOfMounts) {
    has_share("ftp");
    machine.remove(mdfstab);
    EXPECT_EQ(edit(share_of("ftp"), 0).returned, 0);
}

TEST_F(ForbidShare, FreesTheUserThatAFailureHasLeft) {
    has_share("ftp", "anna");
    fails(pool_tool::mv, "mv /tmp/passwd.");
    EXPECT_EQ(edit(share_of("ftp"), 0).returned, -502);
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_EQ(edit(share_of("ftp"), 0).returned, -507) << "as long as it fails";
    machine.tool(pool_tool::mv).on_prefix("mv /tmp/passwd.").does("mv \"$1\" \"$2\"");
    EXPECT_EQ(edit(share_of("ftp"), 0).returned, 0);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(ForbidShare, LeavesTheDefaultFtpUserAlone) {
    has_share("ftp");
    const Result result = edit(share_of("ftp", "anna"), 0);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(changes(result).back(), saved(share_register));
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
}

TEST_F(ForbidShare, FreesNoUserWhereTheFtpUserIsNotKnown) {
    has_share("ftp");
    machine.remove("/home/ftpuser/pub");
    const Result result = edit(share_of("ftp", "anna"), 0);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(changes(result).back(), saved(share_register));
}

TEST_F(ForbidShare, TakesNoPathFromTheRegister) {
    has_share("ftp");
    machine.shares({{"pub", "ftp", "/etc;reboot"}});
    machine.mounts({});
    const Result result = edit(share_of("FTP"), 0);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("reboot"))));
    EXPECT_EQ(changes(result).front(), unmounting(ftp_directory));
}

TEST_F(ForbidShare, StopsAtAnFtpShareThatStaysMounted) {
    has_share("ftp", "anna");
    fails(pool_tool::umount, "umount ");
    const Result result = edit(share_of("ftp"), 0);
    EXPECT_EQ(result.returned, -502);
    EXPECT_THAT(changes(result), ElementsAre(unmounting(ftp_directory)));
    EXPECT_THAT(machine.logged().back(), returned("forbid_use_share", -11000));
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(ForbidShare, StopsWhereTheFtpUserCannotBeFreed) {
    has_share("ftp", "anna");
    fails(pool_tool::mv, "mv /tmp/passwd");
    EXPECT_EQ(edit(share_of("ftp"), 0).returned, -502);
    EXPECT_THAT(machine.logged().back(), returned("forbid_use_share", -513));
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "", ftp_directory}))
        << "nothing is taken back";
}

TEST_F(ForbidShare, StopsAtLockedFiles) {
    for (const char* file : {share_register, smb_conf, smb_recycle}) {
        has_share("samba");
        const LockedFile lock(machine.host_path(file));
        EXPECT_EQ(edit(share_of("samba"), 0).returned, -502) << file;
        EXPECT_THAT(machine.logged().back(), returned("forbid_use_share", -2062));
        EXPECT_EQ(machine.read(share_register), register_section({})) << "in use, to be forbidden";
    }
    EXPECT_EQ(machine.read(smb_recycle), "");
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
    EXPECT_EQ(edit(share_of("samba"), 0).returned, 0) << "a retry does the whole work";
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    has_share("ftp");
    const LockedFile lock(machine.host_path(share_register));
    EXPECT_EQ(edit(share_of("ftp"), 0).returned, -502);
}

TEST_F(ForbidShare, KeepsItsUsersInTheRetryAfterALockedFile) {
    for (const char* file : {share_register, smb_conf, smb_recycle}) {
        has_share("samba", "anna,bert");
        machine.file(smb_recycle, "");
        const Snapshot before = machine.snapshot();
        {
            const LockedFile listing(machine.host_path(file), 0, 0, F_RDLCK);
            EXPECT_EQ(edit(share_of("samba"), 0).returned, -502) << file;
        }
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty()) << file;
        EXPECT_EQ(edit(share_of("samba"), 0).returned, 0) << file;
        EXPECT_EQ(machine.read(share_register), forbidden_section());
        EXPECT_EQ(machine.read(smb_conf), samba_global);
        EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna,bert"));
    }
}

TEST_F(EditForbiddenShare, ChangesRegisterAndRecycleFile) {
    has_forbidden_share(smb_recycle, recycled_pub("anna", "old"));
    const Result result = edit(read_only(share_of("samba", "bert", "new")), 0);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAre(saved(share_register), saved(smb_recycle)));
    EXPECT_EQ(machine.read(share_register), register_section({.service = "", .comment = "new"}));
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub("bert", "new", "no"));
}

TEST_F(EditForbiddenShare, AddsItToTheRecycleFileWithTheCurrentPath) {
    has_forbidden_share();
    share_info share = share_of("nfs", "10.0.0.1");
    share.path = "/given";
    EXPECT_EQ(edit(share, 0).returned, -2067) << "which is told";
    EXPECT_EQ(machine.read(exports_recycle), export_of(directory, "10.0.0.1"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ForbidShare, FreesTheFtpUserWhenItIsGivenAgain) {
    has_share("ftp", "anna");
    machine.tool(pool_tool::mv).on_prefix("mv /tmp/passwd").exits(1).times(2);
    EXPECT_EQ(edit(share_of("ftp", "ftpuser"), 0).returned, -502);
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_EQ(edit(share_of("ftp", "ftpuser"), 0).returned, -507);
    machine.mounts({}).remove("/home/ftpuser/pub");
    EXPECT_EQ(edit(share_of("ftp", "ftpuser"), 0).returned, 0);
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_THAT(machine.read(passwd), HasSubstr("anna:x:1001:100:Anna:/home/anna:/bin/sh\n"));
}

TEST_F(EditForbiddenShare, OnlyChangesTheRegisterForFtp) {
    has_forbidden_share();
    const Result result = edit(share_of("ftp", "anna", "new"), 0);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAre(saved(share_register)));
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
}

TEST_F(EditForbiddenShare, StopsAtLockedFiles) {
    for (const char* file : {share_register, smb_recycle}) {
        has_forbidden_share();
        const LockedFile lock(machine.host_path(file));
        EXPECT_EQ(edit(share_of("samba", "anna"), 0).returned, -507) << file;
        EXPECT_THAT(machine.logged().back(), returned("mod_forbiden_share", -2062));
        EXPECT_EQ(machine.read(smb_recycle), "");
    }
}

TEST_F(EditForbiddenShare, OnlyChangesTheRegisterForIscsi) {
    has_forbidden_share();
    EXPECT_EQ(edit(share_of("iscsi", "", "new"), 0).returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "", .comment = "new"}));
}

} // namespace
} // namespace zav::test
