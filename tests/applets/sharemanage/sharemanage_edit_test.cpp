// SPDX-License-Identifier: MIT
// sharemanage --edit, --repair and --restore: each service once, and the results.
#include "fixtures/share_command.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

class ShareEdit : public ShareCommand {
  protected:
    int edit(const std::string& mode, const std::string& state, const Texts& options = {}) {
        Texts arguments = {"--edit", "-n", "pub", "-f", mode, "-b", state};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return manage(arguments);
    }
    // The commands that follow the removal of a share from both recycle files.
    const Texts leaving_recycle_files = {saved(smb_recycle), saved("/etc/exports_recy.conf")};
};

TEST_F(ShareEdit, ChangesASambaShare) {
    have_share("samba", "anna");
    edit("samba", "1", {"-s", "9", "-u", "bert,carla", "-x", "ro", "-c", "new"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "new"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global +
                  samba_section("pub", "/mnt/data/pub", "bert,carla", "new", "writable = no"));
    EXPECT_THAT(changes(run), ElementsAre(saved(share_register), saved(smb_conf)));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareEdit, ChangesAnNfsShare) {
    have_share("nfs");
    edit("nfs", "1", {"-u", "10.0.0.0/8", "-x", "ro"});
    expect_succeeded("ip:10.0.0.0 8\n");
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub 10.0.0.0/8(ro,sync,no_root_squash)\n");
    EXPECT_THAT(changes(run), ElementsAre(saved(share_register), saved(exports)));
}

TEST_F(ShareEdit, KeepsTheZeroAddress) {
    have_share("nfs");
    EXPECT_EQ(edit("nfs", "1", {"-u", "0.0.0.0"}), 0);
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub 0.0.0.0(rw,sync,no_root_squash)\n");
    EXPECT_EQ(edit("nfs", "1", {"-u", "0.0.0.0/8"}), 0);
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub 0.0.0.0/8(rw,sync,no_root_squash)\n");
}

TEST_F(ShareEdit, GivesAnFtpShareAnotherUser) {
    have_share("ftp", "anna");
    edit("ftp", "1", {"-u", "carla"});
    expect_succeeded();
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_THAT(machine.read("/etc/vsftpd/carla"), HasSubstr("local_root=/home/ftpuser/pub\n"));
    EXPECT_THAT(machine.read(passwd), HasSubstr("anna:x:1001:100:Anna:/home/anna:/bin/sh\n"));
    EXPECT_THAT(machine.read(passwd), HasSubstr("carla:x:1003:100::/home/ftpuser:/bin/sh\n"));
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined({rehoming,
                                         {ftp_list("-d", "anna")},
                                         rehoming,
                                         {ftp_list("-a", "carla"), saved("/etc/vsftpd_user.xml"),
                                          saved(share_register)}})));
}

TEST_F(ShareEdit, GivesAnFtpShareTheDefaultUserWithoutOne) {
    have_share("ftp", "anna");
    edit("ftp", "1");
    expect_succeeded();
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
    EXPECT_THAT(changes(run), ElementsAreArray(joined(
                                  {rehoming, {ftp_list("-d", "anna"), saved(share_register)}})));
}

TEST_F(ShareEdit, TreatsAnEmptyFtpUserAsTheDefaultOne) {
    have_share("ftp", "anna");
    edit("ftp", "1", {"-u", ""});
    expect_succeeded();
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
}

TEST_F(ShareEdit, ChangesAnIscsiTargetWhateverTheState) {
    for (const char* state : {"1", "0"}) {
        have_share("iscsi");
        edit("iscsi", state, {"-u", "anna"});
        expect_succeeded();
        EXPECT_EQ(machine.read(share_register),
                  register_section({.service = "iscsi", .path = "/dev/data/pub"}));
        EXPECT_EQ(machine.read(targets), target("\tIncomingUser anna annasecret\n"));
        EXPECT_THAT(changes(run), ElementsAre(saved(share_register), saved(targets)));
    }
    have_share("iscsi");
    EXPECT_EQ(edit("ISCSI", "0"), 0);
    EXPECT_EQ(machine.read(targets), target());
}

TEST_F(ShareEdit, KeepsCommentAndUsersWithoutNewOnes) {
    have_share("samba", "anna");
    machine.shares({{.comment = "old"}});
    EXPECT_EQ(edit("cifs", "1"), 0);
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "old"}));
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", "/mnt/data/pub", "anna"));
}

TEST_F(ShareEdit, ForbidsASambaShare) {
    have_share("samba", "anna");
    edit("samba", "0", {"-u", "bert", "-c", "new"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({.service = "", .comment = "new"}));
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    EXPECT_EQ(machine.read(smb_recycle),
              samba_section("pub", "/mnt/data/pub", "bert", "new", "writeable = yes"));
    EXPECT_THAT(changes(run),
                ElementsAre(saved(share_register), saved(smb_conf), saved(smb_recycle)));
}

TEST_F(ShareEdit, ForbidsAnNfsShare) {
    have_share("nfs");
    edit("nfs", "0", {"-u", "10.0.0.7"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({.service = ""}));
    EXPECT_EQ(machine.read(exports), "");
    EXPECT_EQ(machine.read(exports_recycle), "/mnt/data/pub 10.0.0.7(rw,sync,no_root_squash)\n");
}

TEST_F(ShareEdit, ForbidsAnFtpShare) {
    have_share("ftp", "anna");
    edit("ftp", "0");
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register),
              register_section({.service = "", .path = "/home/ftpuser/pub"}));
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
    EXPECT_THAT(changes(run), ElementsAreArray(joined(
                                  {{"umount /home/ftpuser/pub > /dev/null"},
                                   removing("/home/ftpuser/pub"),
                                   unregistering,
                                   {saved(share_register)},
                                   rehoming,
                                   {ftp_list("-d", "anna"), saved("/etc/vsftpd_user.xml")}})));
}

TEST_F(ShareEdit, ChangesAForbiddenShare) {
    have_forbidden_share("samba");
    edit("samba", "0", {"-u", "bert", "-c", "new"});
    expect_succeeded();
    EXPECT_EQ(machine.read(smb_recycle),
              samba_section("pub", "/mnt/data/pub", "bert", "new", "writeable = yes"));
    EXPECT_THAT(changes(run), ElementsAre(saved(share_register), saved(smb_recycle)));
}

TEST_F(ShareEdit, PutsASambaShareBackInUse) {
    have_forbidden_share("samba");
    edit("samba", "1", {"-u", "bert", "-c", "new"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "new"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", "/mnt/data/pub", "bert", "new"));
    EXPECT_EQ(machine.read(smb_recycle), "");
    EXPECT_THAT(changes(run), ElementsAreArray(joined({mounting("/mnt/data/pub"),
                                                       {saved(mdfstab)},
                                                       leaving_recycle_files,
                                                       {saved(share_register), saved(smb_conf)}})));
}

TEST_F(ShareEdit, PutsAnNfsShareBackInUse) {
    have_forbidden_share("nfs");
    machine.mounts({"/dev/data/pub /mnt/data/pub"}).directory("/mnt/data/pub");
    edit("nfs", "1", {"-u", "10.0.0.9"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({.service = "nfs"}));
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub 10.0.0.9(rw,sync,no_root_squash)\n");
    EXPECT_EQ(machine.read(exports_recycle), "");
    EXPECT_THAT(changes(run), ElementsAreArray(joined({{saved(mdfstab)},
                                                       leaving_recycle_files,
                                                       {saved(share_register), saved(exports)}})));
}

TEST_F(ShareEdit, PutsAnFtpShareBackInUse) {
    have_forbidden_share("ftp");
    edit("ftp", "1", {"-u", "anna"});
    expect_succeeded();
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line("/home/ftpuser/pub"));
    EXPECT_THAT(machine.read("/etc/vsftpd/anna"), HasSubstr("local_root=/home/ftpuser/pub\n"));
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined({removing("/mnt/data/pub"),
                                         {saved(mdfstab)},
                                         mounting("/home/ftpuser/pub"),
                                         {saved(mdfstab)},
                                         rehoming,
                                         {ftp_list("-a", "anna"), saved("/etc/vsftpd_user.xml")},
                                         leaving_recycle_files,
                                         {saved(share_register)}})));
}

// Not a failure for the front end: there is no line for it, only the status.
TEST_F(ShareEdit, OfAShareThatItsFileLacksAddsIt) {
    have_share("samba");
    machine.file(smb_conf, samba_global);
    edit("samba", "1");
    EXPECT_EQ(run.exit_status, -2067 & 0xff);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(machine.read(smb_conf), HasSubstr("[pub]\n"));
}

TEST_F(ShareEdit, NeedsAShare) {
    edit("samba", "1");
    expect_failed(-501);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(ShareEdit, ReportsWhatCannotBeUsed) {
    have_share("samba");
    machine.remove(smb_conf).directory(smb_conf);
    edit("samba", "1");
    expect_failed(-506);
    edit("samba", "0");
    expect_failed(-502);
}

class ShareRepair : public ShareCommand {
  protected:
    int repair(const std::string& mode, const std::string& group = "data") {
        return manage({"--repair", "-n", "pub", "-f", mode, group});
    }
    // The share is neither mounted nor in the register of mounts.
    void lose_mount() { machine.mounts({}).file(mdfstab, ""); }
    const std::string xfs_repair = "/usr/local/bin/xfs_repair -L /dev/data/pub > /dev/null";
};

TEST_F(ShareRepair, MountsASambaShareAgain) {
    have_share("samba", "anna");
    lose_mount();
    const std::string samba = machine.read(smb_conf);
    repair("samba");
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({}));
    EXPECT_EQ(machine.read(smb_conf), samba);
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line("/mnt/data/pub"));
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined(
                    {{xfs_repair}, mounting("/mnt/data/pub"), {saved(mdfstab), saved(smb_conf)}})));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareRepair, UnmountsAnNfsShareFirst) {
    have_share("nfs");
    // umount removes the mount from the table.
    machine.tool(pool_tool::umount).any().does("echo proc /proc proc rw 0 0 > /proc/mounts");
    repair("nfs");
    expect_succeeded();
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined({{"umount /mnt/data/pub > /dev/null", xfs_repair},
                                         mounting("/mnt/data/pub"),
                                         {saved(exports)}})));
}

TEST_F(ShareRepair, MountsAnFtpShareInTheFtpUsersHome) {
    have_share("ftp", "anna");
    lose_mount();
    repair("ftp");
    expect_succeeded();
    EXPECT_THAT(
        changes(run),
        ElementsAreArray(joined({{xfs_repair}, mounting("/home/ftpuser/pub"), {saved(mdfstab)}})));
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(ShareRepair, LeavesIscsiAlone) {
    for (const char* mode : {"iscsi", "iSCSI"}) {
        repair(mode); // whether or not there is such a share
        expect_succeeded();
        EXPECT_THAT(run.commands, IsEmpty());
    }
    repair("iscsi", "a b");
    expect_failed(-123, "repair_share_arg_check");
}

TEST_F(ShareRepair, TakesTheModeForAForbiddenShare) {
    have_forbidden_share("nfs");
    repair("nfs");
    expect_succeeded();
    EXPECT_THAT(changes(run), testing::Contains(saved(exports)));
}

TEST_F(ShareRepair, ReportsWhichStepFailed) {
    repair("samba");
    expect_failed(-501);
    have_share("samba");
    machine.tool(pool_tool::umount).any().exits(1);
    repair("samba");
    expect_failed(-602);
    machine.tool(pool_tool::umount).any();
    lose_mount();
    machine.tool(pool_tool::mount).any().exits(32);
    repair("samba");
    expect_failed(-601);
    machine.tool(pool_tool::mount).any();
    machine.remove(smb_conf).directory(smb_conf);
    repair("samba");
    expect_failed(-509);
}

class ShareRestore : public ShareCommand {
  protected:
    int restore(const std::string& mode, const Texts& options = {}) {
        Texts arguments = {"--restore", "-n", "pub", "-f", mode, "-s", "5"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.emplace_back("data");
        return manage(arguments);
    }
};

TEST_F(ShareRestore, RegistersAndMountsASambaShare) {
    restore("samba", {"-u", "anna", "-c", "all", "-x", "ro"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "all"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", "/mnt/data/pub", "anna", "all", "writable = no"));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line("/mnt/data/pub"));
    EXPECT_THAT(changes(run), ElementsAreArray(joined({{saved(share_register), saved(smb_conf)},
                                                       mounting("/mnt/data/pub"),
                                                       {saved(mdfstab)}})));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareRestore, RegistersAndMountsAnNfsShare) {
    restore("nfs", {"-u", "0.0.0.0/1"});
    expect_succeeded("ip:0.0.0.0 1\n");
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub *(rw,sync,no_root_squash)\n");
    EXPECT_THAT(changes(run), ElementsAreArray(joined({{saved(share_register), saved(exports)},
                                                       mounting("/mnt/data/pub"),
                                                       {saved(mdfstab)}})));
}

TEST_F(ShareRestore, GivesAnFtpShareToTheDefaultUser) {
    restore("ftp", {"-u", "anna"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register),
              register_section({.service = "ftp", .path = "/home/ftpuser/pub"}));
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined(
                    {{saved(share_register)}, mounting("/home/ftpuser/pub"), {saved(mdfstab)}})));
}

TEST_F(ShareRestore, RegistersAnIscsiTarget) {
    restore("iscsi");
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register),
              register_section({.service = "iscsi", .path = "/dev/data/pub"}));
    EXPECT_THAT(machine.read(targets), HasSubstr("\tLun 0 Path=/dev/data/pub,"));
    EXPECT_THAT(changes(run), ElementsAre(saved(share_register), saved(targets)));
}

TEST_F(ShareRestore, OfARegisteredShareSucceeds) {
    have_share("samba");
    restore("samba");
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({}));
}

TEST_F(ShareRestore, ReportsWhichStepFailed) {
    machine.tool(pool_tool::mount).any().exits(32);
    restore("samba");
    expect_failed(-601);
    machine.remove(smb_conf).directory(smb_conf);
    restore("samba", {"-n", "other"});
    expect_failed(-508);
}

} // namespace
} // namespace zav::test
