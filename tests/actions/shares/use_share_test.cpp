// SPDX-License-Identifier: MIT
// Putting forbidden shares back in use, with any service.
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

// Puts a forbidden share in use.
class UseShare : public ShareOperation {
  protected:
    Result use(const share_info& share) {
        return operate([=] {
            share_info used = share;
            return edit_share(used, 1, printed());
        });
    }
    // lvdisplay lists the pool in no group.
    void has_no_pool() { machine.pools({}); }
    const Texts emptying_recycle_files = {saved(smb_recycle), saved(recycle_item)};
};

using UseSambaShare = UseShare;
using UseFtpShare = UseShare;

TEST_F(UseSambaShare, MountsItAndMovesItBack) {
    has_forbidden_share(smb_recycle, recycled_pub("anna", "old"));
    const Result result = use(read_only(share_of("samba", "bert", "new")));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({mounting(directory),
                                         emptying_recycle_files,
                                         {saved(share_register), saved(smb_conf)}})));
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "new"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "bert", "new", "writable = no"));
    EXPECT_EQ(machine.read(smb_recycle), "");
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(UseSambaShare, PutsAnExportBack) {
    has_forbidden_share(exports_recycle, export_of(directory, "10.0.0.1"));
    EXPECT_EQ(use(share_of("nfs")).returned, 0);
    EXPECT_EQ(machine.read(exports), export_of(directory, "10.0.0.1"));
    EXPECT_EQ(machine.read(exports_recycle), "");
    EXPECT_EQ(machine.read(share_register), register_section({.service = "nfs"}));
}

TEST_F(UseSambaShare, KeepsItsUsersAndCommentWithoutNewOnes) {
    has_forbidden_share(smb_recycle, recycled_pub("anna", "mine"));
    EXPECT_EQ(use(share_of("samba")).returned, 0);
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "mine"));
}

TEST_F(UseSambaShare, KeepsItsUsersFromForbiddingToUse) {
    has_share("samba", "anna,bert");
    operate([] {
        share_info share = share_of("samba");
        return edit_share(share, 0, printed());
    });
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    EXPECT_EQ(use(share_of("samba")).returned, 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory, "anna,bert"));
    EXPECT_EQ(machine.read(share_register), register_section({}));
}

TEST_F(UseSambaShare, DoesNotMountWhatIsMounted) {
    has_forbidden_share(smb_recycle, recycled_pub());
    machine.mounts({"/dev/x /elsewhere/pub"});
    const Result result = use(share_of("samba"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(
        changes(result),
        ElementsAreArray(joined(
            {{saved(mdfstab)}, emptying_recycle_files, {saved(share_register), saved(smb_conf)}})));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_THAT(machine.read(smb_conf), HasSubstr("path = /mnt/data/pub\n"));
}

TEST_F(UseSambaShare, MountsWhereTheMountsCannotBeRead) {
    has_forbidden_share();
    machine.remove("/proc/mounts");
    EXPECT_THAT(changes(use(share_of("samba"))), testing::IsSupersetOf(mounting(directory)));
}

TEST_F(UseSambaShare, ComposesItsPathInsteadOfTakingTheRegisters) {
    has_forbidden_share();
    machine.shares({{.service = "", .path = "/etc;reboot"}});
    const Result result = use(share_of("samba"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("reboot"))));
    EXPECT_EQ(machine.read(share_register), register_section({}));
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
}

TEST_F(UseSambaShare, FindsTheGroupInTheBackups) {
    has_forbidden_share();
    has_no_pool();
    machine.backup("data", {"pub"});
    const Result result = use(share_of("samba"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
}

TEST_F(UseSambaShare, NeedsAGroup) {
    has_forbidden_share(smb_recycle, recycled_pub());
    has_no_pool();
    for (const char* type : {"samba", "nfs", "ftp"}) {
        const Result result = use(share_of(type, "ftpuser"));
        EXPECT_EQ(result.returned, -303) << type;
        EXPECT_THAT(changes(result), IsEmpty());
    }
    EXPECT_THAT(machine.logged(), AllOf(Contains(returned("set_to_smbnfs", -303)),
                                        Contains(returned("set_to_ftp", -303))));
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub());
}

TEST_F(UseSambaShare, StopsAtTheMount) {
    has_forbidden_share(smb_recycle, recycled_pub());
    fails(pool_tool::mount, "mount ", 32);
    const Result result = use(share_of("samba"));
    EXPECT_EQ(result.returned, -601);
    EXPECT_EQ(changes(result).back(), xfs_mount("/dev/data/pub", directory));
    EXPECT_THAT(machine.logged().back(), returned("set_to_smbnfs", -601));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub());
}

TEST_F(UseSambaShare, ContinuesWithoutAMountRegister) {
    has_forbidden_share();
    machine.remove(mdfstab).directory(mdfstab);
    EXPECT_EQ(use(share_of("samba")).returned, 0);
}

TEST_F(UseSambaShare, StopsAtLockedFiles) {
    for (const char* file : {smb_recycle, exports_recycle, share_register, smb_conf}) {
        has_forbidden_share();
        const LockedFile lock(machine.host_path(file));
        EXPECT_EQ(use(share_of("samba")).returned, -507) << file;
        EXPECT_THAT(machine.logged().back(), returned("set_to_smbnfs", -2062));
        EXPECT_EQ(machine.read(smb_conf), samba_global);
    }
}

TEST_F(UseSambaShare, KeepsItsUsersInTheRetryAfterALockedFile) {
    for (const char* file : {share_register, smb_conf, smb_recycle, exports_recycle}) {
        has_forbidden_share(smb_recycle, recycled_pub("anna,bert", "mine"));
        machine.file(smb_conf, samba_global).file(mdfstab, "");
        const Snapshot before = machine.snapshot();
        {
            const LockedFile other(machine.host_path(file));
            const Result result = use(share_of("samba"));
            EXPECT_EQ(result.returned, -507) << file;
            EXPECT_THAT(changes(result), IsEmpty()) << "nothing is mounted either";
        }
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty()) << file;
        EXPECT_EQ(use(share_of("samba")).returned, 0) << file;
        EXPECT_EQ(machine.read(smb_conf),
                  samba_global + samba_section("pub", directory, "anna,bert", "mine"));
        EXPECT_EQ(machine.read(smb_recycle), "");
    }
}

TEST_F(UseSambaShare, MountsThereForEveryServiceButExactlyFtp) {
    for (const char* type : {"FTP", "iscsi"}) {
        has_forbidden_share();
        machine.file(mdfstab, "");
        const Result result = use(share_of(type, "ftpuser"));
        EXPECT_EQ(result.returned, 0) << type;
        EXPECT_THAT(changes(result), testing::IsSupersetOf(mounting(directory))) << type;
        EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
        EXPECT_THAT(machine.read(share_register), HasSubstr("path = /mnt/data/pub\n"));
    }
    EXPECT_THAT(machine.read(targets), HasSubstr("Path=/mnt/data/pub,")) << "never what is mounted";
    EXPECT_THAT(machine.logged(),
                ElementsAre("share 'pub' has a file system: its target cannot be used"));
}

TEST_F(UseFtpShare, MovesTheMountAndBindsItsUser) {
    has_forbidden_share(smb_recycle, recycled_pub("bert"));
    machine.mounts({"/dev/data/pub /mnt/data/pub"}).file(mdfstab, mdfstab_line(directory));
    const Result result = use(share_of("ftp", "anna", "new"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(
                    joined({{unmounting(directory)},
                            removing_directory(directory),
                            {"mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null", saved(mdfstab)},
                            mounting(ftp_directory),
                            rewriting_home(),
                            setting_user("anna"),
                            emptying_recycle_files,
                            {saved(share_register)}})));
    EXPECT_EQ(machine.read(share_register),
              register_section({"pub", "ftp", ftp_directory, "5", "new"}));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(ftp_directory));
    EXPECT_EQ(machine.read(smb_recycle), "");
    EXPECT_THAT(machine.read("/etc/vsftpd/anna"), HasSubstr("local_root=/home/ftpuser/pub\n"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(UseFtpShare, NeedsNoMountToMove) {
    has_forbidden_share();
    const Result result = use(share_of("ftp", "ftpuser"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAreArray(joined({removing_directory(directory),
                                                          {saved(mdfstab)},
                                                          mounting(ftp_directory),
                                                          emptying_recycle_files,
                                                          {saved(share_register)}})))
        << "and the default user is left alone";
}

TEST_F(UseFtpShare, TakesNoPathFromTheRegister) {
    has_forbidden_share();
    machine.shares({{.service = "", .path = "/etc;reboot"}});
    const Result result = use(share_of("ftp", "ftpuser"));
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("reboot"))));
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "ftp", ftp_directory}));
}

TEST_F(UseFtpShare, StopsAtWhatStaysMounted) {
    has_forbidden_share();
    machine.mounts({"/dev/data/pub /mnt/data/pub"});
    fails(pool_tool::umount, "umount ");
    const Result result = use(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, -602);
    EXPECT_THAT(changes(result), ElementsAre(unmounting(directory)));
    EXPECT_THAT(machine.logged(), Contains(testing::MatchesRegex("set_to_ftp.*")));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
}

// The pool would be mounted twice at the next start.
TEST_F(UseFtpShare, StopsWhereTheOldMountStaysRegistered) {
    has_forbidden_share(smb_recycle, recycled_pub());
    machine.file(mdfstab, mdfstab_line(directory));
    fails(pool_tool::mv, "mv /tmp/mdfstab");
    const Result result = use(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, -507);
    EXPECT_EQ(changes(result).back(), replacing_mdfstab);
    EXPECT_THAT(machine.logged().back(), returned("set_to_ftp", -11000));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
    machine.shares({{.service = "", .path = "/srv/pub"}});
    machine.file(mdfstab, mdfstab_line("/srv/pub"));
    EXPECT_EQ(use(share_of("ftp", "anna")).returned, -507) << "where it was registered before";
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line("/srv/pub"));
    machine.remove(mdfstab);
    EXPECT_EQ(use(share_of("ftp", "anna")).returned, 0) << "nothing stands there";
}

TEST_F(UseFtpShare, StopsAtTheMount) {
    has_forbidden_share();
    fails(pool_tool::mount, "mount ", 32);
    const Result result = use(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, -601);
    EXPECT_EQ(changes(result).back(), xfs_mount("/dev/data/pub", ftp_directory));
    EXPECT_THAT(machine.logged().back(), returned("set_to_ftp", -601));
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(UseFtpShare, StopsWhereTheHomeCannotBeRewritten) {
    has_forbidden_share(smb_recycle, recycled_pub());
    fails(pool_tool::mv, "mv /tmp/passwd");
    const Result result = use(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, -507);
    EXPECT_THAT(machine.logged().back(), returned("set_to_ftp", -11000));
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna")) << "its file comes second";
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub());
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(ftp_directory)) << "nothing is taken back";
}

TEST_F(UseFtpShare, StopsWhereTheUsersFileCannotBeMade) {
    has_forbidden_share();
    machine.remove(ftp_template);
    const Snapshot before = machine.snapshot();
    const Result result = use(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, -507);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(UseFtpShare, StopsAtLockedFiles) {
    for (const char* file : {smb_recycle, exports_recycle, share_register}) {
        has_forbidden_share();
        const LockedFile lock(machine.host_path(file));
        EXPECT_EQ(use(share_of("ftp", "ftpuser")).returned, -507) << file;
        EXPECT_THAT(machine.logged().back(), returned("set_to_ftp", -2062));
        EXPECT_EQ(machine.read(share_register), forbidden_section());
    }
}

} // namespace
} // namespace zav::test
