// SPDX-License-Identifier: MIT
// Creating a share: the steps in order, and the code and the remains of each that fails.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::Not;

const std::string creating_pool = "/sbin/lvcreate -L 5G -n pub data > /dev/null";
// Pools in the output of lvdisplay -c.
const std::string own_pool = "  /dev/data/pub:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
const std::string other_pool = "  /dev/data/other:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
const std::string making_fs = "/sbin/mkfs.xfs -f -ssize=4k /dev/data/pub > /dev/null";

class CreateShare : public ShareOperation {
  protected:
    Result create(const share_info& share) {
        return operate([&] { return create_share(share, "data", printed()); });
    }
    // What a failed creation leaves in the files.
    void expect_registered(const std::string& service = "samba") {
        EXPECT_EQ(machine.read(share_register), register_section({.service = service}));
        EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
    }
};

TEST_F(CreateShare, KeepsThePoolsNameUntilItsFileSystemIsMade) {
    machine.tool(pool_tool::mkfs_xfs).any().does("ls /run/zavbox > /var/locks");
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(machine.read("/var/locks"), testing::HasSubstr("pool-data-pub\n"));
    EXPECT_FALSE(machine.exists("/run/zavbox"));
}

TEST_F(CreateShare, MakesASambaShare) {
    const Result result = create(read_only(share_of("samba", "anna", "all")));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(
        changes(result),
        ElementsAreArray(joined({{saved(share_register), saved(smb_conf), creating_pool, making_fs},
                                 mounting(directory),
                                 restarting("samba")})));
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "all"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "all", "writable = no"));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(CreateShare, MakesAnNfsShare) {
    const Result result = create(share_of("NFS", "10.0.0.1"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(
        changes(result),
        ElementsAreArray(joined({{saved(share_register), saved(exports), creating_pool, making_fs},
                                 mounting(directory),
                                 restarting("nfs")})));
    EXPECT_EQ(machine.read(exports), export_of(directory, "10.0.0.1"));
}

TEST_F(CreateShare, MakesAnIscsiShareWithoutAFileSystem) {
    const Result result = create(share_of("iscsi"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({{saved(share_register), saved(targets), creating_pool},
                                         restarting("iscsi-target")})));
    EXPECT_EQ(machine.read(mdfstab), "");
}

TEST_F(CreateShare, MakesAnFtpShareOfItsUserWhoseFileComesFirst) {
    const Result result = create(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAreArray(joined({{saved(share_register), creating_pool},
                                                          setting_user("anna"),
                                                          rewriting_home(),
                                                          {making_fs},
                                                          mounting(ftp_directory),
                                                          restarting("vsftpd")})));
    EXPECT_EQ(machine.read("/etc/vsftpd/anna"),
              "local_umask=000\nwrite_enable=YES\nidle_session_timeout=60\n"
              "local_root=/home/ftpuser/pub\n");
    EXPECT_THAT(machine.read(passwd),
                testing::HasSubstr("anna:x:1001:100:Anna:/home/ftpuser:/bin/sh\n"));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(ftp_directory));
}

TEST_F(CreateShare, LeavesTheDefaultFtpUserAlone) {
    const std::string users = machine.read(passwd);
    for (const char* type : {"ftp", "FTP"}) {
        machine.file(share_register, "").file(mdfstab, "");
        const Result result = create(share_of(type, "ftpuser"));
        EXPECT_EQ(result.returned, 0);
        EXPECT_THAT(changes(result),
                    ElementsAreArray(joined({{saved(share_register), creating_pool, making_fs},
                                             mounting(ftp_directory),
                                             restarting("vsftpd")})));
    }
    EXPECT_EQ(machine.read(passwd), users);
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
}

TEST_F(CreateShare, MakesReiserfsWhereTheModelUsesIt) {
    ShareMachine other("VEL7205E");
    const Result result =
        other.operation([] { return create_share(share_of("samba"), "data", printed()); });
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                IsSupersetOf({"mkfs.reiserfs -f /dev/data/pub > /dev/null",
                              "mount -t reiserfs /dev/data/pub /mnt/data/pub > /dev/null"}));
    EXPECT_EQ(other.read(mdfstab), "/dev/data/pub\t/mnt/data/pub\treiserfs\tdefaults\t0 0\n");
}

TEST_F(CreateShare, ComposesTheMountPointFromGroupAndName) {
    share_info share = share_of("samba");
    share.path = "/etc;reboot";
    const Result result = create(share);
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), IsSupersetOf(mounting(directory)));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
}

TEST_F(CreateShare, RefusesATakenName) {
    machine.shares({{}});
    const Result result = create(share_of("nfs"));
    EXPECT_EQ(result.returned, -514);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(returned("create_share", -514)));
}

TEST_F(CreateShare, NeedsTheListOfShares) {
    machine.remove(targets);
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, -505);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged().back(), returned("create_share", -505));
}

TEST_F(CreateShare, ReportsANameThatIsOnlyInTheRegister) {
    // The list of shares looks both sections up as "a" and finds "x" twice.
    machine.file(share_register, "[a]\n    sharename = x\n[a]\n    sharename = pub\n");
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, -2066);
    EXPECT_THAT(changes(result), ElementsAre(saved(smb_conf))) << "the file is rewritten";
    EXPECT_THAT(machine.logged(), ElementsAre(returned("create_share", -2066)));
}

TEST_F(CreateShare, StopsAtARegisterOrFileThatIsLockedOrBroken) {
    const auto expect_failure = [this](const std::string& service, int code) {
        const Result result = create(share_of(service.c_str()));
        EXPECT_EQ(result.returned, -503);
        EXPECT_THAT(changes(result), Not(testing::Contains(creating_pool)));
        EXPECT_THAT(machine.logged().back(), returned("create_share", code));
    };
    {
        const LockedFile lock(machine.host_path(share_register));
        expect_failure("samba", -2062);
        EXPECT_EQ(machine.read(share_register), "");
    }
    {
        const LockedFile lock(machine.host_path(exports));
        expect_failure("nfs", -2062);
        EXPECT_EQ(machine.read(share_register), "") << "a retry creates it";
    }
    machine.shares({}).file(smb_conf, "[broken\n");
    expect_failure("samba", -2063);
    machine.shares({}).remove(smb_conf).directory(smb_conf);
    expect_failure("samba", -2061);
    machine.remove(share_register).directory(share_register);
    expect_failure("samba", -2060);
}

TEST_F(CreateShare, PassesOnThatThereIsNoSpaceOrGroup) {
    machine.pools({"/dev/data/pub"});
    EXPECT_EQ(create(share_of("samba")).returned, -2051) << "the pool is there already";
    EXPECT_THAT(machine.logged().back(), returned("create_share", -2051));
    machine.shares({}).pools({});
    share_info large = share_of("samba");
    large.size = {101};
    EXPECT_EQ(create(large).returned, -2053);
    EXPECT_EQ(machine.read(share_register), register_section({.size = "101"}))
        << "nothing is taken back";
    machine.shares({});
    EXPECT_EQ(result_of([] { return create_share(share_of("samba"), "none", printed()); }), -2052);
}

TEST_F(CreateShare, TakesAPoolThatIsThereAlthoughTheToolFailed) {
    machine.tool(pool_tool::lvcreate).any().exits(5);
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints(other_pool)
        .then()
        .prints(other_pool + own_pool);
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), IsSupersetOf(mounting(directory)));
    EXPECT_THAT(machine.logged(), ElementsAre(failed(creating_pool, "normal with exit(5)")));
}

// The list is empty, for whatever reason, and there is a pool of that name.
TEST_F(CreateShare, MakesNoFileSystemOnAPoolThatNoListToldToBeNew) {
    for (const char* service : {"samba", "iscsi"}) {
        machine.shares({}).file(smb_conf, samba_global).file(targets, "");
        machine.tool(pool_tool::lvcreate).any().exits(5);
        machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").then().prints(own_pool);
        const Result result = create(share_of(service));
        EXPECT_EQ(result.returned, -325);
        EXPECT_EQ(changes(result).back(), creating_pool);
        EXPECT_THAT(machine.logged(),
                    testing::Contains("'pub' is not known to be new: it gets no file system"));
    }
}

TEST_F(CreateShare, MakesNoPoolWhoseNameMayBeUsed) {
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").exits(5).then().prints(own_pool);
    Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, -2051);
    EXPECT_THAT(changes(result), testing::Not(testing::Contains(creating_pool)));
    machine.shares({}).pools({}).symlink("../dm-1", "/dev/data/pub");
    result = create(share_of("samba"));
    EXPECT_EQ(result.returned, -2051) << "it has a device";
    EXPECT_THAT(changes(result), testing::Not(testing::Contains(creating_pool)));
}

TEST_F(CreateShare, StopsWithoutAPool) {
    const auto expect_no_pool = [this] {
        machine.shares({}).file(smb_conf, samba_global);
        const Result result = create(share_of("samba"));
        EXPECT_EQ(result.returned, -325);
        EXPECT_THAT(changes(result),
                    ElementsAre(saved(share_register), saved(smb_conf), creating_pool));
        EXPECT_THAT(machine.logged().back(), returned("create_share", -325));
        expect_registered();
    };
    machine.tool(pool_tool::lvcreate).any().exits(5);
    expect_no_pool();
    machine.tool(pool_tool::lvcreate).any().killed_by(SIGKILL);
    expect_no_pool();
    EXPECT_THAT(machine.logged(),
                testing::Contains(failed(creating_pool, "unnormal with exit(0)")));
}

TEST_F(CreateShare, StopsWhenItIsUnknownWhetherThePoolExists) {
    machine.tool(pool_tool::lvcreate).any().exits(5);
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints(other_pool)
        .then()
        .does("rm -f /tmp/lvdisplay.*");
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, -325);
    EXPECT_THAT(result.out, MatchesRegex("cannot open /tmp/lvdisplay.*\nfor errno '-326'\n"));
}

TEST_F(CreateShare, StopsWhereTheFtpUserCannotBeSet) {
    machine.remove(ftp_template);
    const Snapshot before = machine.snapshot();
    const Result result = create(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, -503);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(returned("create_share", -1)));
}

TEST_F(CreateShare, StopsWhereTheHomeCannotBeRewritten) {
    fails(pool_tool::mv, "mv /tmp/passwd");
    const Result result = create(share_of("ftp", "anna"));
    EXPECT_EQ(result.returned, -503);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({{saved(share_register), creating_pool},
                                         setting_user("anna"),
                                         {"mv /tmp/passwd.XXXXXX /etc/passwd > /dev/null"}})));
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna")) << "nothing is taken back";
    EXPECT_THAT(machine.logged().back(), returned("create_share", -11000));
}

TEST_F(CreateShare, StopsWithoutAFileSystem) {
    fails(pool_tool::mkfs_xfs, "/sbin/mkfs.xfs");
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, -503);
    EXPECT_EQ(changes(result).back(), making_fs);
    EXPECT_THAT(machine.logged(), ElementsAre(failed(making_fs, "normal with exit(1)"),
                                              returned("create_share", -11000)));
    expect_registered();
    EXPECT_EQ(machine.read(mdfstab), "");
}

TEST_F(CreateShare, ContinuesWithoutItsMountPoint) {
    fails(pool_tool::mkdir, "mkdir ");
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(changes(result).back(), restarting("samba").back());
}

TEST_F(CreateShare, StopsAtTheMount) {
    for (const auto& [tool, command] :
         {std::pair(pool_tool::mount, xfs_mount("/dev/data/pub", directory)),
          std::pair(pool_tool::chmod, "chmod 0777 " + directory + " > /dev/null")}) {
        machine.shares({}).file(smb_conf, samba_global);
        machine.tool(tool).any().exits(32).once();
        const Result result = create(share_of("samba"));
        EXPECT_EQ(result.returned, -601);
        EXPECT_EQ(changes(result).back(), command);
        EXPECT_THAT(machine.logged().back(), returned("create_share", -601));
        expect_registered();
        EXPECT_EQ(machine.read(mdfstab), "");
    }
}

TEST_F(CreateShare, ReportsAnUnregisteredMountAfterTheRestart) {
    machine.remove(mdfstab).directory(mdfstab);
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, -1066);
    EXPECT_EQ(changes(result).back(), restarting("samba").back());
    EXPECT_THAT(machine.logged().back(), returned("create_share", -1066));
}

TEST_F(CreateShare, SucceedsWhereTheMountPointIsRegisteredAlready) {
    machine.file(mdfstab, "/dev/data/old /mnt/data/pub xfs defaults 0 0\n");
    EXPECT_EQ(create(share_of("samba")).returned, 0);
    EXPECT_EQ(machine.read(mdfstab), "/dev/data/old /mnt/data/pub xfs defaults 0 0\n");
}

TEST_F(CreateShare, SucceedsWithAServiceThatDoesNotStart) {
    machine.tool("/etc/init.d/samba").any().exits(1);
    const Result result = create(share_of("samba"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed(restarting("samba").front(), "normal with exit(1)"),
                            failed(restarting("samba").back(), "normal with exit(1)")));
    machine.remove("/etc/init.d/nfs");
    EXPECT_EQ(
        result_of([] { return create_share(share_of("nfs", "", "", "b"), "data", printed()); }), 0);
}

// The free space of the group "data" of 100 GiB when a share is restored.
TEST_F(ShareOperation, AcceptsSizesUpToTheGroupsFreeSpace) {
    const auto check = [this](const char* group, std::uint64_t size) {
        return result_of([=] { return share_space_check(group, Gib{size}, printed()); });
    };
    EXPECT_EQ(check("data", 0), 0) << "other than when a share is made";
    EXPECT_EQ(check("data", 100), 0);
    EXPECT_EQ(check("data", 101), -2053);
    EXPECT_EQ(check("data", std::uint64_t{1} << 32), -2053) << "all 64 bits are compared";
    EXPECT_EQ(check("data", UINT64_MAX), -2053);
    EXPECT_THAT(machine.logged(), IsEmpty());
    EXPECT_EQ(check("none", 1), -2052);
    EXPECT_THAT(machine.logged(), ElementsAre("Cannot find vg 'none'!"));
}

} // namespace
} // namespace zav::test
