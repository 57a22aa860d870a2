// SPDX-License-Identifier: MIT
// sharemanage --create: a share of each service, and the result when a step fails.
#include "fixtures/library.h"
#include "fixtures/share_command.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::MatchesRegex;

const std::string lvcreate_5 = "/sbin/lvcreate -L 5G -n pub data > /dev/null";
const std::string mkfs = "/sbin/mkfs.xfs -f -ssize=4k /dev/data/pub > /dev/null";

class ShareCreate : public ShareCommand {
  protected:
    // A share "pub" of 5 GiB in group "data".
    int create(const std::string& mode, const Texts& options = {}) {
        Texts arguments = {"-C", "-n", "pub", "-f", mode, "-s", "5"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.emplace_back("data");
        return manage(arguments);
    }
};

TEST_F(ShareCreate, MakesASambaShare) {
    manage({"--create", "-n", "pub", "-f", "samba", "-s", "5", "-u", "anna", "-c", "all", "data"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "all"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", "/mnt/data/pub", "anna", "all"));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line("/mnt/data/pub"));
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined(
                    {{saved(share_register), saved(smb_conf), lvcreate_5, mkfs},
                     mounting("/mnt/data/pub"),
                     {saved(mdfstab), service("samba", "stop"), service("samba", "start")}})));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareCreate, MakesAnNfsShare) {
    manage(
        {"--create", "-n", "pub", "-f", "nfs", "-s", "5", "-u", "10.1.0.0/16", "-x", "ro", "data"});
    expect_succeeded("ip:10.1.0.0 16\n");
    EXPECT_EQ(machine.read(share_register), register_section({.service = "nfs"}));
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub 10.1.0.0/16(ro,sync,no_root_squash)\n");
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line("/mnt/data/pub"));
    EXPECT_THAT(changes(run),
                ElementsAreArray(
                    joined({{saved(share_register), saved(exports), lvcreate_5, mkfs},
                            mounting("/mnt/data/pub"),
                            {saved(mdfstab), service("nfs", "stop"), service("nfs", "start")}})));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareCreate, MakesAnFtpShareOfAUser) {
    manage({"--create", "-n", "pub", "-f", "ftp", "-s", "5", "-u", "anna", "-x", "ro", "data"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register),
              register_section({.service = "ftp", .path = "/home/ftpuser/pub"}));
    EXPECT_EQ(machine.read("/etc/vsftpd/anna"), "local_umask=000\nwrite_enable=NO\n"
                                                "idle_session_timeout=60\n"
                                                "local_root=/home/ftpuser/pub\n");
    EXPECT_THAT(machine.read(passwd),
                testing::HasSubstr("anna:x:1001:100:Anna:/home/ftpuser:/bin/sh\n"));
    EXPECT_THAT(changes(run),
                ElementsAreArray(joined(
                    {{saved(share_register), lvcreate_5, ftp_list("-a", "anna"),
                      saved("/etc/vsftpd_user.xml")},
                     rehoming,
                     {mkfs},
                     mounting("/home/ftpuser/pub"),
                     {saved(mdfstab), service("vsftpd", "stop"), service("vsftpd", "start")}})));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareCreate, MakesAnFtpShareOfTheDefaultUserWithoutOne) {
    const std::string users = machine.read(passwd);
    create("ftp");
    expect_succeeded();
    EXPECT_THAT(changes(run), ElementsAreArray(joined({{saved(share_register), lvcreate_5, mkfs},
                                                       mounting("/home/ftpuser/pub"),
                                                       {saved(mdfstab), service("vsftpd", "stop"),
                                                        service("vsftpd", "start")}})));
    EXPECT_EQ(machine.read(passwd), users);
    EXPECT_THAT(machine.list("/etc/vsftpd"), testing::ElementsAre("ftpuser"));
}

TEST_F(ShareCreate, TreatsAnEmptyFtpUserAsTheDefaultOne) {
    create("ftp", {"-u", ""});
    expect_succeeded();
    EXPECT_THAT(machine.list("/etc/vsftpd"), testing::ElementsAre("ftpuser"));
}

TEST_F(ShareCreate, MakesAnIscsiTarget) {
    manage({"--create", "-n", "pub", "-f", "iscsi", "-s", "5", "-u", "anna,bert", "data"});
    expect_succeeded();
    EXPECT_EQ(machine.read(share_register),
              register_section({.service = "iscsi", .path = "/dev/data/pub"}));
    EXPECT_THAT(machine.read(targets),
                MatchesRegex("Target iqn.2006-05.com.nas:pub\\.[0-9]{14}\n"
                             "\tIncomingUser anna annasecret\n\tIncomingUser bert \n"
                             "\tLun 0 Path=/dev/data/pub,Type=fileio,IOMode=wb\n"
                             "\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n"
                             "\tWthreads\t16\n"));
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_THAT(changes(run), ElementsAreArray({saved(share_register), saved(targets), lvcreate_5,
                                                service("iscsi-target", "stop"),
                                                service("iscsi-target", "start")}));
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(ShareCreate, TreatsCifsAsSamba) {
    EXPECT_EQ(create("CIFS"), 0);
    EXPECT_EQ(machine.read(share_register), register_section({}));
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", "/mnt/data/pub"));
}

TEST_F(ShareCreate, TakesTheModeInAnyCase) {
    EXPECT_EQ(create("Nfs"), 0);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "nfs"}));
    EXPECT_EQ(create("ISCSI", {"-n", "disk"}), 0);
    EXPECT_THAT(machine.read(share_register), testing::HasSubstr("iscsi = 1\n    comment = \n"));
    EXPECT_THAT(machine.read(targets), testing::HasSubstr("Path=/dev/data/disk,"));
}

TEST_F(ShareCreate, MakesAReadOnlySambaShareOnlyWithRo) {
    EXPECT_EQ(create("samba", {"-x", "ro"}), 0);
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", "/mnt/data/pub", "", "", "writable = no"));
    machine.file(share_register, "").file(smb_conf, samba_global);
    EXPECT_EQ(create("samba", {"-x", "rw"}), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", "/mnt/data/pub"));
}

TEST_F(ShareCreate, OpensNfsToEveryoneForTheZeroAddress) {
    for (const char* host : {"0.0.0.0", "0.0.0.0/8", "0.0.0.0/32"}) {
        machine.file(share_register, "").file(exports, "");
        EXPECT_EQ(create("nfs", {"-u", host}), 0);
        EXPECT_EQ(machine.read(exports), "/mnt/data/pub *(rw,sync,no_root_squash)\n") << host;
    }
    machine.file(share_register, "").file(exports, "");
    EXPECT_EQ(create("nfs", {"-u", "10.0.0.0"}), 0);
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub 10.0.0.0(rw,sync,no_root_squash)\n");
}

TEST_F(ShareCreate, TreatsNoUserOfOtherServicesAsTheZeroAddress) {
    machine.file(user_file, "0.0.0.0|1|\n");
    EXPECT_EQ(create("samba", {"-u", "0.0.0.0"}), 0);
    EXPECT_THAT(machine.read(smb_conf), testing::HasSubstr("valid users = 0.0.0.0\n"));
}

TEST_F(ShareCreate, OpensNfsToEveryoneWithoutAHost) {
    EXPECT_EQ(create("nfs"), 0);
    EXPECT_EQ(machine.read(exports), "/mnt/data/pub *(rw,sync,no_root_squash)\n");
}

TEST_F(ShareCreate, MayFillItsGroup) {
    EXPECT_EQ(manage({"-C", "-n", "pub", "-f", "iscsi", "-s", "10", "more"}), 0);
    EXPECT_THAT(changes(run), Contains("/sbin/lvcreate -L 10G -n pub more > /dev/null"));
}

TEST_F(ShareCreate, WritesALongCommentAndUserListWhole) {
    machine.file(user_file, "x|1|\n");
    std::string users = "x";
    while (users.size() < 237) {
        users += ",x";
    }
    const std::string comment(128, 'c');
    EXPECT_EQ(create("samba", {"-u", users, "-c", comment}), 0);
    EXPECT_EQ(machine.read(share_register), register_section({.comment = comment}));
    // The next create reads both files and writes them again.
    EXPECT_EQ(create("samba", {"-n", "next"}), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global +
                                          samba_section("pub", "/mnt/data/pub", users, comment) +
                                          samba_section("next", "/mnt/data/next"));
}

TEST_F(ShareCreate, RefusesANameThatAShareHas) {
    have_share("samba");
    const Snapshot before = machine.snapshot();
    create("nfs");
    expect_failed(-514);
    EXPECT_THAT(machine.logged(), testing::ElementsAre(returned("create_share", -514),
                                                       returned("sharemanage_main", -514)));
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(ShareCreate, ReportsANameThatIsOnlyInTheRegister) {
    // Of two sections with the same name the list shows only the first.
    machine.shares({{.name = "twin"}});
    machine.file(share_register,
                 machine.read(share_register) + "[twin]\n    sharename = pub\n    samba = 1\n");
    create("samba");
    expect_failed(-2066);
    EXPECT_EQ(run.exit_status, 238);
    EXPECT_THAT(changes(run), ElementsAreArray({saved(smb_conf)}));
}

TEST_F(ShareCreate, ReportsAShareListThatCannotBeMade) {
    machine.remove(targets);
    create("samba");
    expect_failed(-505);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(ShareCreate, ReportsWhichStepFailed) {
    machine.tool(pool_tool::lvcreate).any().exits(5);
    create("samba");
    expect_failed(-325);
    machine.file(share_register, "").file(smb_conf, samba_global);
    machine.tool(pool_tool::lvcreate).any();
    machine.tool(pool_tool::mkfs_xfs).any().exits(1);
    create("samba");
    expect_failed(-503);
    machine.file(share_register, "").file(smb_conf, samba_global);
    machine.tool(pool_tool::mkfs_xfs).any();
    machine.tool(pool_tool::mount).any().exits(32);
    create("samba");
    expect_failed(-601);
}

} // namespace
} // namespace zav::test
