// SPDX-License-Identifier: MIT
// Deleting shares in use and forbidden ones, with their pools.
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
using testing::StartsWith;

// What is removed first: the mount, its registration, its directory, the pool.
Texts removing(const std::string& path) {
    return joined({{unmounting(path), replacing_mdfstab, saved(mdfstab)},
                   removing_directory(path),
                   {removing_pool}});
}

class DeleteShare : public ShareOperation {
  protected:
    Result remove(const char* name = "pub") {
        return operate([name] { return delete_share(name, printed()); });
    }
    int code() { return remove().returned; }
    // The pool is found, and found again when it is removed; what comes next is the caller's.
    Rule lists_the_pool_twice() {
        const std::string pool = "  /dev/data/pub:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
        Rule rule = machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c");
        rule.prints(pool).then().prints(pool);
        return rule;
    }
    // What is left if the last steps of a deletion fail.
    void expect_kept() {
        EXPECT_EQ(machine.read(share_register), register_section({}));
        EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
    }
};

using DeleteForbiddenShare = DeleteShare;
using DeleteIscsiShare = DeleteShare;

TEST_F(DeleteShare, RemovesASambaShareAndItsPool) {
    has_share("samba", "anna");
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(
        changes(result),
        ElementsAreArray(joined({removing(directory), {saved(share_register), saved(smb_conf)}})))
        << "no service is started anew";
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    EXPECT_EQ(machine.read(mdfstab), "");
}

TEST_F(DeleteShare, RemovesAnExport) {
    has_share("nfs");
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(
        changes(result),
        ElementsAreArray(joined({removing(directory), {saved(share_register), saved(exports)}})));
    EXPECT_EQ(machine.read(exports), "");
}

TEST_F(DeleteShare, FreesTheUserOfAnFtpShare) {
    has_share("ftp", "anna");
    machine.file(passwd, "anna:x:1001:100:Anna:/home/ftpuser:/bin/sh\n");
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({removing(ftp_directory),
                                         unbinding("anna"),
                                         {saved("/etc/vsftpd_user.xml"), saved(share_register)}})));
    EXPECT_EQ(machine.read(passwd), "anna:x:1001:100:Anna:/home/anna:/bin/sh\n");
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
    EXPECT_EQ(machine.read(share_register), "");
}

TEST_F(DeleteShare, LeavesTheDefaultFtpUserAlone) {
    has_share("ftp");
    const std::string users = machine.read(passwd);
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({removing(ftp_directory), {saved(share_register)}})));
    EXPECT_EQ(machine.read(passwd), users);
    EXPECT_TRUE(machine.exists(ftp_template));
}

TEST_F(DeleteShare, RemovesAnFtpShareWhoseUserIsNotKnown) {
    has_share("ftp");
    machine.remove("/home/ftpuser/pub");
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_THAT(changes(result), Not(Contains(HasSubstr("passwd"))));
}

TEST_F(DeleteShare, KeepsWhatOthersWriteIntoAFileThatItMade) {
    has_share("nfs");
    machine.remove(exports);
    machine.tool(pool_tool::umount).any().does("echo '/srv *(ro)' >> /etc/exports; exit 1");
    EXPECT_EQ(code(), -602);
    EXPECT_EQ(machine.read(exports), "/srv *(ro)\n");
    machine.remove(exports);
    machine.tool(pool_tool::umount)
        .any()
        .does("echo '/srv *(ro)' > /etc/new; "
              "mv /etc/new /etc/exports; exit 1");
    EXPECT_EQ(code(), -602);
    EXPECT_EQ(machine.read(exports), "/srv *(ro)\n");
    machine.remove(exports);
    machine.tool(pool_tool::umount).any().exits(1);
    EXPECT_EQ(code(), -602);
    EXPECT_FALSE(machine.exists(exports));
}

TEST_F(DeleteShare, ReportsAnUnknownShare) {
    has_share("samba");
    const Result result = remove("other");
    EXPECT_EQ(result.returned, -501);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(returned("delete_share", -501)));
    machine.remove(targets);
    EXPECT_EQ(code(), -505);
    EXPECT_THAT(machine.logged().back(), returned("delete_share", -505));
}

TEST_F(DeleteShare, StopsAtAGroupThatCannotBeRestored) {
    has_share("samba");
    // A volume that has moved to another device.
    machine.file(
        "/etc/lvm/backup/data",
        "data {\nphysical_volumes {\npv0 {\nid = \"AAAAAA-0000-0000-0000-0000-0000-000000\""
        "\ndevice = \"/dev/sdz\"\n}\n}\nlogical_volumes {\npub {\nid = \"0\"\n}\n}\n}\n");
    const Result result = remove();
    EXPECT_EQ(result.returned, -421);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged().back(), returned("delete_share", -421));
    expect_kept();
}

TEST_F(DeleteShare, TakesTheGroupOfTheBackupWhenTheShareIsRegisteredThere) {
    has_share("samba");
    machine.shares({{.path = "/mnt/more/pub"}});
    machine.backup("more", {"pub"});
    const Result result = remove();
    EXPECT_EQ(result.out, "vg restore: no\n");
    EXPECT_EQ(result.returned, -2052) << "the pool is in another group";
    EXPECT_THAT(changes(result), ElementsAreArray(joined({{unmounting(directory), saved(mdfstab)},
                                                          removing_directory("/mnt/more/pub")})));
}

TEST_F(DeleteShare, StopsWhereThePoolsCannotBeRead) {
    has_share("samba");
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").does("rm -f /tmp/lvdisplay.*");
    const Result result = remove();
    EXPECT_EQ(result.returned, -1050);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged().back(), returned("delete_share", -1050));
    expect_kept();
}

TEST_F(DeleteShare, ReadsPoolsFromAToolThatFailed) {
    has_share("samba");
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints("  /dev/data/pub:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n")
        .exits(5);
    EXPECT_EQ(code(), 0);
}

TEST_F(DeleteShare, LeavesTheMountPointOfAnUnknownGroup) {
    has_share("samba");
    machine.pools({});
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAre(unmounting(directory), saved(share_register), saved(smb_conf)));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_THAT(machine.logged(), Contains(HasSubstr("'pub'"))) << "which is logged";
}

TEST_F(DeleteShare, TakesNoPathFromTheRegister) {
    for (const std::string& service : {std::string("samba"), std::string("")}) {
        machine.pools({"/dev/data/pub"}).mounts({}).file(mdfstab, "");
        machine.shares({{"pub", service, "/etc;reboot"}});
        const Result result = remove();
        EXPECT_EQ(result.returned, 0);
        EXPECT_THAT(result.commands, Not(Contains(HasSubstr("reboot"))));
        EXPECT_THAT(changes(result), Contains("rm -rf /mnt/data/pub > /dev/null"));
    }
}

TEST_F(DeleteShare, UnmountsEveryMountOfItsName) {
    has_share("samba");
    machine.mounts({"/dev/x /elsewhere/pub", "/dev/y /mnt/data/pub2", "/dev/z /mnt/data/pub"});
    const Texts commands = changes(remove());
    EXPECT_EQ(commands.at(0), unmounting("/elsewhere/pub"));
    EXPECT_EQ(commands.at(1), unmounting("/mnt/data/pub"));
    EXPECT_EQ(commands.at(2), replacing_mdfstab);
}

TEST_F(DeleteShare, StopsAtTheFirstMountThatStays) {
    has_share("samba");
    machine.mounts({"/dev/x /elsewhere/pub", "/dev/z /mnt/data/pub"});
    fails(pool_tool::umount, "umount ");
    const Result result = remove();
    EXPECT_EQ(result.returned, -602);
    EXPECT_THAT(changes(result), ElementsAre(unmounting("/elsewhere/pub")));
    EXPECT_THAT(machine.logged(), AllOf(Contains(returned("check_umount", -11000)),
                                        Contains(testing::MatchesRegex("del_snf_share.*")),
                                        Contains(returned("del_use_share", -602))));
    expect_kept();
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
}

TEST_F(DeleteShare, StopsWhereTheMountsCannotBeRead) {
    has_share("samba");
    machine.remove("/proc/mounts");
    const Result result = remove();
    EXPECT_EQ(result.returned, -602);
    EXPECT_THAT(result.out, HasSubstr("setmntent '/proc/mounts' fail\n"));
    EXPECT_THAT(changes(result), IsEmpty());
    expect_kept();
}

TEST_F(DeleteShare, ContinuesWhereItsMountPointStays) {
    has_share("samba");
    fails(pool_tool::chattr, "chattr ");
    fails(pool_tool::rm, "rm ");
    EXPECT_EQ(code(), 0);
    EXPECT_EQ(machine.read(share_register), "");
    has_share("samba");
    machine.remove(mdfstab);
    EXPECT_EQ(code(), 0) << "no register of mounts has it";
    EXPECT_EQ(machine.read(share_register), "");
}

// A pool of that name that is made later would be mounted there.
TEST_F(DeleteShare, KeepsThePoolWhenItsMountStaysRegistered) {
    const Texts begun = {unmounting(directory), replacing_mdfstab};
    for (const bool is_forbidden : {false, true}) {
        if (is_forbidden) {
            has_forbidden_share();
            machine.mounts({"/dev/data/pub " + directory}).file(mdfstab, mdfstab_line(directory));
        } else {
            has_share("samba");
        }
        const std::string registered = machine.read(share_register);
        fails(pool_tool::mv, "mv /tmp/mdfstab.");
        const Result result = remove();
        EXPECT_EQ(result.returned, -504);
        EXPECT_THAT(changes(result), ElementsAreArray(begun));
        EXPECT_EQ(machine.read(share_register), registered);
        EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
        machine.tool(pool_tool::mv).on_prefix("mv /tmp/mdfstab.").does("mv \"$1\" \"$2\"");
        const Result again = remove();
        EXPECT_EQ(again.returned, 0) << "the same again does all of it";
        EXPECT_THAT(changes(again), Contains(removing_pool));
        EXPECT_EQ(machine.read(share_register), "");
        EXPECT_EQ(machine.read(mdfstab), "");
    }
}

TEST_F(DeleteShare, SucceedsWhereThePoolIsGone) {
    has_share("samba");
    // Only the first list, in which the group is looked up, has the pool.
    const std::string pool = "  /dev/data/pub:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").prints(pool).then();
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), Not(Contains(removing_pool)));
    EXPECT_EQ(machine.read(share_register), "");
}

TEST_F(DeleteShare, SucceedsWhereTheToolFailedButThePoolIsGone) {
    has_share("samba");
    const std::string pool = "  /dev/data/pub:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints(pool)
        .then()
        .prints(pool)
        .then();
    fails(pool_tool::lvremove, "/sbin/lvremove", 5);
    EXPECT_EQ(code(), 0);
    EXPECT_EQ(machine.read(share_register), "");
}

TEST_F(DeleteShare, StopsWhereThePoolStays) {
    has_share("samba");
    fails(pool_tool::lvremove, "/sbin/lvremove", 5);
    const Result result = remove();
    EXPECT_EQ(result.returned, -324);
    EXPECT_EQ(changes(result).back(), removing_pool);
    EXPECT_THAT(machine.logged(), AllOf(Contains(returned("del_snf_share", -324)),
                                        Contains(returned("del_use_share", -324))));
    expect_kept();
    EXPECT_EQ(machine.read(mdfstab), "") << "nothing is taken back";
}

TEST_F(DeleteShare, StopsWhenItIsUnknownWhetherThePoolIsGone) {
    has_share("samba");
    lists_the_pool_twice().then().does("rm -f /tmp/lvdisplay.*");
    fails(pool_tool::lvremove, "/sbin/lvremove", 5);
    EXPECT_EQ(code(), -324);
}

// Without LVM no pool is listed.
TEST_F(DeleteShare, StopsWhenTheToolThatListsThePoolsFailsAfterwards) {
    for (const char* service : {"samba", "iscsi"}) {
        has_share(service);
        lists_the_pool_twice().then().exits(5);
        fails(pool_tool::lvremove, "/sbin/lvremove", 5);
        EXPECT_EQ(code(), -324) << service;
    }
}

// What is not known to be gone is not forgotten.
TEST_F(DeleteShare, StopsWithoutLvm) {
    const std::string pool = "  /dev/data/pub:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
    for (const char* service : {"samba", "iscsi"}) {
        has_share(service);
        machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").exits(5);
        const Result result = remove();
        EXPECT_EQ(result.returned, -1051) << service;
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_NE(machine.read(share_register), "");
        // From then on: the pool is in no list, but not known to be gone.
        machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").prints(pool).then().exits(5);
        EXPECT_EQ(remove().returned, -324) << service;
    }
}

TEST_F(DeleteShare, StopsWhereTheFtpUserCannotBeFreed) {
    has_share("ftp", "anna");
    fails(pool_tool::mv, "mv /tmp/passwd");
    const Result result = remove();
    EXPECT_EQ(result.returned, -504);
    EXPECT_EQ(changes(result).back(), "mv /tmp/passwd.XXXXXX /etc/passwd > /dev/null");
    EXPECT_THAT(machine.logged(), Contains(returned("del_use_share", -504)));
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(DeleteShare, ChangesNothingWhenAFileIsLocked) {
    for (const char* file : {share_register, smb_conf}) {
        has_share("samba");
        const Snapshot before = machine.snapshot();
        {
            const LockedFile lock(machine.host_path(file));
            const Result result = remove();
            EXPECT_EQ(result.returned, -504) << file;
            EXPECT_THAT(changes(result), IsEmpty());
        }
        EXPECT_THAT(machine.logged().back(), returned("delete_share", -2062));
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
    EXPECT_EQ(code(), 0) << "a retry does the whole work";
}

TEST_F(DeleteShare, TakesAShareOffEachOfItsServices) {
    has_share("nfs");
    machine.file(smb_conf, samba_global + samba_section("pub", directory));
    std::string both = register_section({.service = "nfs"});
    both.replace(both.find("samba = 0"), 9, "samba = 1");
    machine.file(share_register, both);
    EXPECT_EQ(code(), 0);
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_EQ(machine.read(smb_conf), samba_global);
    EXPECT_EQ(machine.read(exports), "");
}

TEST_F(DeleteShare, StopsAtABrokenFile) {
    has_share("nfs");
    machine.file(exports, export_of(directory) + "/mnt/a b(rw) c(rw)\n");
    EXPECT_EQ(code(), -504);
    EXPECT_EQ(machine.read(share_register), register_section({.service = "nfs"}));
}

TEST_F(DeleteShare, SucceedsWhereTheServiceDoesNotHaveIt) {
    has_share("samba");
    machine.file(smb_conf, samba_global);
    EXPECT_EQ(code(), 0);
    EXPECT_EQ(machine.read(share_register), "");
}

TEST_F(DeleteIscsiShare, TakesTheTargetAwayBeforeThePool) {
    has_share("iscsi");
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAreArray(joined({{saved(share_register), saved(targets)},
                                                          restarting("iscsi-target"),
                                                          {removing_pool}})));
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_EQ(machine.read(targets), "");
    EXPECT_EQ(machine.read(mdfstab), "");
}

TEST_F(DeleteIscsiShare, KeepsThePoolOfAnUnknownGroup) {
    has_share("iscsi");
    machine.pools({});
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(changes(result).back(), restarting("iscsi-target").back());
}

TEST_F(DeleteIscsiShare, StopsWhereThePoolStays) {
    has_share("iscsi");
    fails(pool_tool::lvremove, "/sbin/lvremove", 5);
    EXPECT_EQ(code(), -324);
    EXPECT_THAT(machine.logged(), Contains(returned("del_iscsi_share", -324)));
    EXPECT_EQ(machine.read(targets), "") << "nothing is taken back";
}

TEST_F(DeleteIscsiShare, StopsAtALockedFile) {
    has_share("iscsi");
    const LockedFile lock(machine.host_path(targets));
    const Result result = remove();
    EXPECT_EQ(result.returned, -504);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(returned("delete_share", -2062)));
}

TEST_F(DeleteIscsiShare, SucceedsWithoutAServiceOrATarget) {
    has_share("iscsi");
    machine.shares({}).remove("/etc/init.d/iscsi-target");
    machine.file("/proc/net/iet/volume", "tid:1 name:iqn:pub.2024\n");
    EXPECT_EQ(code(), 0);
    EXPECT_EQ(machine.read(targets), "");
}

TEST_F(DeleteForbiddenShare, TakesItOutOfTheRegisterAndBothRecycleFiles) {
    has_forbidden_share(smb_recycle, samba_section("pub", directory, "", "", "writeable = yes"));
    machine.file(exports_recycle, export_of(directory)).file(mdfstab, mdfstab_line(directory));
    machine.mounts({"/dev/data/pub /mnt/data/pub"});
    const Result result = remove();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAreArray(joined({removing(directory),
                                                          {saved(smb_recycle), saved(recycle_item),
                                                           saved(share_register)}})));
    for (const char* file : {share_register, smb_recycle, exports_recycle, mdfstab}) {
        EXPECT_EQ(machine.read(file), "") << file;
    }
}

TEST_F(DeleteForbiddenShare, SucceedsInNoRecycleFile) {
    has_forbidden_share();
    EXPECT_EQ(code(), 0);
    EXPECT_EQ(machine.read(share_register), "");
}

TEST_F(DeleteForbiddenShare, StopsAtItsMount) {
    has_forbidden_share();
    machine.mounts({"/dev/data/pub /mnt/data/pub"});
    fails(pool_tool::umount, "umount ");
    EXPECT_EQ(code(), -602);
    EXPECT_EQ(machine.read(share_register), forbidden_section());
    EXPECT_THAT(machine.logged(), Contains(testing::MatchesRegex("del_forbid_share.*")));
}

TEST_F(DeleteForbiddenShare, StopsAtItsPool) {
    has_forbidden_share();
    fails(pool_tool::lvremove, "/sbin/lvremove", 5);
    EXPECT_EQ(code(), -324);
    EXPECT_THAT(machine.logged(), Contains(returned("del_forbid_share", -324)));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
}

TEST_F(DeleteForbiddenShare, StopsAtLockedFiles) {
    for (const char* file : {share_register, smb_recycle, exports_recycle}) {
        has_forbidden_share(smb_recycle, "");
        const LockedFile lock(machine.host_path(file));
        EXPECT_EQ(code(), -504) << file;
        EXPECT_THAT(machine.logged(), Contains(returned("delete_share", -2062)));
        EXPECT_EQ(machine.read(share_register), forbidden_section());
    }
}

} // namespace
} // namespace zav::test
