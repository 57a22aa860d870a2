// SPDX-License-Identifier: MIT
// What a failed attempt has left of a forbidden share below the home of the FTP users: it does not
// stay within their reach, and is not brought back there.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ForbiddenFtpShare : public ShareOperation {
  protected:
    Result forbid(const std::string& type = "ftp") {
        return operate([type] {
            share_info share = share_of(type.c_str());
            return edit_share(share, 0, printed());
        });
    }
    Result use(const std::string& type) {
        return operate([type] {
            share_info share = share_of(type.c_str());
            return edit_share(share, 1, printed());
        });
    }
    // An attempt to put it in use ended behind the mount.
    void is_mounted_there() {
        has_forbidden_share();
        machine.directory(ftp_directory);
        machine.mounts({"/dev/data/pub " + ftp_directory});
        machine.file(mdfstab, mdfstab_line(ftp_directory));
    }
    void expect_unreachable(const Result& result) {
        EXPECT_THAT(result.commands, Not(Contains(HasSubstr("mount -t xfs /dev/data/pub /home"))));
        EXPECT_THAT(machine.read(mdfstab), Not(HasSubstr("/home/")));
    }
};

TEST_F(ForbiddenFtpShare, IsUnmountedWhenItIsEdited) {
    for (const char* type : {"ftp", "samba"}) {
        is_mounted_there();
        machine.file(smb_recycle, recycled_pub());
        const Result result = forbid(type);
        EXPECT_EQ(result.returned, 0) << type;
        Texts expected = joined({{unmounting(ftp_directory)},
                                 removing_directory(ftp_directory),
                                 {replacing_mdfstab, saved(mdfstab), saved(share_register)}});
        if (type == std::string("samba")) {
            expected.push_back(saved(smb_recycle));
        }
        EXPECT_THAT(changes(result), ElementsAreArray(expected));
        EXPECT_EQ(machine.read(mdfstab), "") << type;
    }
}

TEST_F(ForbiddenFtpShare, IsUnregisteredWhereItIsNotMounted) {
    is_mounted_there();
    machine.mounts({});
    const Result result = forbid();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(
        changes(result),
        ElementsAreArray(joined({removing_directory(ftp_directory),
                                 {replacing_mdfstab, saved(mdfstab), saved(share_register)}})));
}

TEST_F(ForbiddenFtpShare, ThatStaysMountedIsToldAndKeptAsItIs) {
    is_mounted_there();
    fails(pool_tool::umount, "umount ");
    const Result result = forbid();
    EXPECT_EQ(result.returned, -507);
    EXPECT_THAT(changes(result), ElementsAre(unmounting(ftp_directory)));
    EXPECT_THAT(machine.logged(), Contains(returned("mod_forbiden_share", -11000)));
    machine.tool(pool_tool::umount).any().exits(0);
    fails(pool_tool::mv, "mv /tmp/mdfstab.");
    EXPECT_EQ(forbid().returned, -507) << "or registered";
    EXPECT_THAT(machine.logged().back(), returned("mod_forbiden_share", -11000));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(ftp_directory));
}

TEST_F(ForbiddenFtpShare, IsKeptWhenNothingTellsWhereItIsMounted) {
    is_mounted_there();
    machine.remove("/proc/mounts");
    const Result result = forbid();
    EXPECT_EQ(result.returned, -507);
    EXPECT_THAT(changes(result), IsEmpty());
    has_forbidden_share();
    machine.mounts({}).remove(mdfstab).directory(mdfstab);
    EXPECT_EQ(forbid().returned, -507) << "or registered";
}

TEST_F(ForbiddenFtpShare, KeepsItsMountWhenItCannotBeChanged) {
    is_mounted_there();
    const LockedFile lock(machine.host_path(share_register));
    const Result result = forbid();
    EXPECT_EQ(result.returned, -507);
    EXPECT_THAT(changes(result), IsEmpty());
}

// A share that another service is to serve leaves the users' home, and its own mount point is used.
TEST_F(ForbiddenFtpShare, IsTakenFromTheUsersBeforeAnotherServiceHasIt) {
    for (const char* type : {"samba", "nfs"}) {
        is_mounted_there();
        machine.file("/etc/vsftpd/anna", "local_root=/home/ftpuser/pub\n");
        machine.tool(pool_tool::umount).any().does(": >/proc/mounts");
        const Result result = use(type);
        EXPECT_EQ(result.returned, 0) << type;
        EXPECT_THAT(changes(result), Contains(unmounting(ftp_directory))) << type;
        EXPECT_THAT(changes(result), Contains(unbinding("anna").back())) << type;
        EXPECT_THAT(changes(result), Contains(xfs_mount("/dev/data/pub", directory))) << type;
        EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory)) << type;
        is_mounted_there();
        machine.mounts({});
        EXPECT_EQ(use(type).returned, 0) << type;
        EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory)) << type << ", or only registered";
    }
}

TEST_F(ForbiddenFtpShare, IsNotServedWhileTheUsersReachIt) {
    is_mounted_there();
    machine.file(mdfstab, "");
    fails(pool_tool::umount, "umount ");
    const Result result = use("samba");
    EXPECT_EQ(result.returned, -507);
    EXPECT_THAT(changes(result), ElementsAre(unmounting(ftp_directory)));
    EXPECT_EQ(machine.read(smb_conf), samba_global);
}

TEST_F(ForbiddenFtpShare, NeedsNoRegisterOfMounts) {
    has_forbidden_share();
    machine.remove(mdfstab);
    EXPECT_EQ(forbid().returned, 0);
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ForbiddenFtpShare, IsRepairedWhereItsGroupIs) {
    has_forbidden_share();
    const auto repair = [] { return repair_share("pub", "ftp", "data", printed()); };
    Result result = operate(repair);
    EXPECT_EQ(result.returned, 0);
    expect_unreachable(result);
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
    is_mounted_there();
    result = operate(repair);
    EXPECT_EQ(result.returned, 0);
    expect_unreachable(result);
    is_mounted_there();
    fails(pool_tool::mv, "mv /tmp/mdfstab.");
    EXPECT_EQ(operate(repair).returned, -509) << "users would reach it after a restart";
}

TEST_F(ForbiddenFtpShare, IsRestoredWhereItsGroupIs) {
    has_forbidden_share(smb_recycle, recycled_pub("anna"));
    const auto restore = [] {
        share_info share = share_of("ftp");
        return restore_share(share, "data");
    };
    Result result = operate(restore);
    EXPECT_EQ(result.returned, 0);
    expect_unreachable(result);
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_EQ(machine.read(share_register), forbidden_section());
    is_mounted_there();
    fails(pool_tool::umount, "umount ");
    result = operate(restore);
    EXPECT_EQ(result.returned, -508);
    EXPECT_THAT(changes(result), ElementsAre(unmounting(ftp_directory)));
}

TEST_F(ForbiddenFtpShare, LeavesNoMountPointRegisteredWhenItIsDeleted) {
    is_mounted_there();
    EXPECT_EQ(result_of([] { return delete_share("pub", printed()); }), 0);
    EXPECT_EQ(machine.read(mdfstab), "");
    EXPECT_EQ(machine.read(share_register), "");
}

} // namespace
} // namespace zav::test
