// SPDX-License-Identifier: MIT
// Shares whose pools exist: registered and mounted again, and repaired.
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

Texts making_directory(const std::string& path) {
    return {"mkdir -m 0444 -p " + path + " > /dev/null", "chattr  +i " + path + " > /dev/null"};
}

class RestoreShare : public ShareOperation {
  protected:
    Result restore(const share_info& share) {
        return operate([=] {
            share_info restored = share;
            return restore_share(restored, "data");
        });
    }
};

TEST_F(RestoreShare, RegistersMountsAndRestartsNothing) {
    const Result result = restore(read_only(share_of("samba", "anna", "all")));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAreArray(joined({{saved(share_register), saved(smb_conf)},
                                                          mounting(directory)})));
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "all"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "all", "writable = no"));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(RestoreShare, OnlyRegistersATarget) {
    const Result result = restore(share_of("ISCSI"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAre(saved(share_register), saved(targets)));
}

TEST_F(RestoreShare, GivesAnFtpShareToTheDefaultUser) {
    const Result result = operate([] {
        share_info share = share_of("ftp", "anna");
        const auto code = restore_share(share, "data");
        EXPECT_EQ(share.users, "ftpuser");
        return code;
    });
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({{saved(share_register)}, mounting(ftp_directory)})));
    EXPECT_THAT(machine.list("/etc/vsftpd"), ElementsAre("ftpuser"));
}

TEST_F(RestoreShare, SucceedsForARegisteredShare) {
    machine.shares({{.comment = "mine"}});
    machine.file(smb_conf, samba_global + samba_section("pub", directory, "anna"));
    const Result result = restore(share_of("samba", "bert", "new"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({{saved(smb_conf)}, mounting(directory)})));
    EXPECT_EQ(machine.read(share_register), register_section({.comment = "mine"}));
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "mine"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

// The register has no users: those that the service's file has lost come from the command.
TEST_F(RestoreShare, GivesARegisteredShareThatItsFileLostItsUsers) {
    has_share("samba", "anna");
    machine.file(smb_conf, samba_global);
    const Result result = restore(read_only(share_of("samba", "anna")));
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "", "writable = no"));
}

TEST_F(RestoreShare, DoesNotMountWhatIsMounted) {
    machine.mounts({"/dev/x /elsewhere/pub"});
    const Result result = restore(share_of("nfs"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAreArray(joined({{saved(share_register), saved(exports)},
                                                          making_directory(directory),
                                                          {saved(mdfstab)}})));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
}

TEST_F(RestoreShare, LeavesAMountPointInUseAlone) {
    machine.mounts({"/dev/data/pub " + directory});
    const Result result = restore(share_of("nfs"));
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), ElementsAre(saved(share_register), saved(exports), saved(mdfstab)))
        << "nothing is mounted, made or protected";
}

TEST_F(RestoreShare, StopsAtTheMount) {
    fails(pool_tool::mount, "mount ", 32);
    const Result result = restore(share_of("samba"));
    EXPECT_EQ(result.returned, -601);
    EXPECT_THAT(machine.logged().back(), returned("restore_share", -601));
    EXPECT_EQ(machine.read(share_register), register_section({})) << "nothing is taken back";
    EXPECT_EQ(machine.read(mdfstab), "");
}

TEST_F(RestoreShare, ContinuesWithoutAMountRegister) {
    machine.remove(mdfstab).directory(mdfstab);
    EXPECT_EQ(restore(share_of("samba", "anna")).returned, 0);
    EXPECT_THAT(machine.logged(), ElementsAre(HasSubstr("cannot open /etc/mdfstab for ")));
}

TEST_F(RestoreShare, StopsAtLockedFiles) {
    for (const char* file : {share_register, smb_conf}) {
        const LockedFile lock(machine.host_path(file));
        const Result result = restore(share_of("samba"));
        EXPECT_EQ(result.returned, -508) << file;
        EXPECT_THAT(machine.logged().back(), returned("restore_share", -2062));
        EXPECT_THAT(changes(result), Not(Contains(HasSubstr("mount"))));
    }
}

TEST_F(RestoreShare, ComposesTheMountPointFromGroupAndName) {
    share_info share = share_of("samba");
    share.path = "/etc;reboot";
    const Result result = restore(share);
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("reboot"))));
    EXPECT_THAT(changes(result), testing::IsSupersetOf(mounting(directory)));
}

class RepairShare : public ShareOperation {
  protected:
    Result repair(const char* type = "samba") {
        return operate([=] { return repair_share("pub", type, "data", printed()); });
    }
    const std::string repairing = "/usr/local/bin/xfs_repair -L /dev/data/pub > /dev/null";
};

TEST_F(RepairShare, UnmountsRepairsMountsAndRegisters) {
    has_share("samba", "anna");
    machine.file(mdfstab, "");
    const Result result = repair();
    EXPECT_EQ(result.returned, 0);
    std::vector<std::string> expected = {unmounting(directory), repairing};
    for (const std::string& command : mounting(directory)) {
        expected.push_back(command);
    }
    expected.push_back(saved(smb_conf));
    EXPECT_THAT(changes(result), testing::ElementsAreArray(expected));
    EXPECT_EQ(machine.read(mdfstab), mdfstab_line(directory));
    EXPECT_EQ(machine.read(share_register), register_section({}));
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory, "anna"));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

// The contents of the device belong to the initiator and are not repaired.
TEST_F(RepairShare, LeavesATargetAloneWhateverTheGivenService) {
    has_share("iscsi");
    const Result result = repair("samba");
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_EQ(machine.read(smb_conf), samba_global);
}

TEST_F(RepairShare, MountsWhatIsNotMounted) {
    has_share("samba");
    machine.mounts({}).file(mdfstab, "");
    EXPECT_THAT(changes(repair()),
                ElementsAreArray(joined({{repairing}, mounting(directory), {saved(smb_conf)}})));
}

TEST_F(RepairShare, RunsTheToolOfTheModel) {
    const auto tool_of = [](const std::string& model) {
        ShareMachine other(model);
        other.pools({"/dev/data/pub"});
        other.shares({{}});
        const Result run =
            other.operation([] { return repair_share("pub", "samba", "data", printed()); });
        EXPECT_EQ(run.returned, 0);
        return changes(run).front();
    };
    const std::string local =
        "/usr/local/bin/reiserfsck  --fix-fixable -y /dev/data/pub > /dev/null";
    const std::string system = "/sbin/reiserfsck  --fix-fixable -y /dev/data/pub > /dev/null";
    EXPECT_EQ(tool_of("VEL7205E"), local);
    EXPECT_EQ(tool_of("VEL7205P"), local);
    EXPECT_EQ(tool_of("VEL7206P"), system);
    EXPECT_EQ(tool_of("KOR7206LB"), system);
    EXPECT_EQ(tool_of("VEL7206X"), repairing);
    EXPECT_EQ(tool_of(""), repairing);
}

TEST_F(RepairShare, ContinuesWhereTheToolFails) {
    has_share("samba");
    machine.mounts({});
    for (const auto& end : {"normal with exit(4)", "unnormal with exit(0)"}) {
        auto rule = machine.tool("/usr/local/bin/xfs_repair").any();
        if (end[0] == 'n') {
            rule.exits(4);
        } else {
            rule.killed_by(SIGSEGV);
        }
        EXPECT_EQ(repair().returned, 0);
        EXPECT_THAT(machine.logged().back(), failed(repairing, end));
    }
}

// The comment that a repaired share is registered with. Its name in the register spans two lines,
// which the list of shares joins and the register's reader does not: it is registered again.
class RepairedComment : public RepairShare {
  protected:
    std::string of(const std::string& comment) {
        machine.pools({"/dev/data/pub"}).mounts({"/dev/data/pub /mnt/data/pub"});
        machine.file(smb_conf, samba_global);
        machine.file(share_register,
                     "[x]\n    sharename = pu+\nb\n    samba = 1\n    comment = " + comment + "\n");
        EXPECT_EQ(repair().returned, 0);
        const std::string text = machine.read(share_register);
        const std::string added = text.substr(text.find("[pub]"));
        return added.substr(added.find("comment = "));
    }
};

TEST_F(RepairedComment, IsClearedWhenItSaysThatTheShareIsNotMounted) {
    EXPECT_EQ(of("Filesystem umounted"), "comment = \n");
    EXPECT_EQ(of("filesystem UMOUNTED"), "comment = \n");
}

TEST_F(RepairedComment, StaysOtherwise) {
    EXPECT_EQ(of("Filesystem umounted."), "comment = Filesystem umounted.\n");
    EXPECT_EQ(of("mine"), "comment = mine\n");
}

TEST_F(RepairShare, GivesAShareWithoutAServiceTheGivenOne) {
    has_forbidden_share(exports_recycle, export_of(directory));
    const Result result = repair("nfs");
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result),
                ElementsAreArray(joined({{repairing}, mounting(directory), {saved(exports)}})));
    EXPECT_EQ(machine.read(share_register), forbidden_section()) << "it stays forbidden";
    EXPECT_EQ(machine.read(exports), "");
}

TEST_F(RepairShare, KeepsTheServiceThatAShareHas) {
    has_share("nfs");
    machine.mounts({});
    const Result result = repair("ftp");
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), testing::IsSupersetOf({saved(exports)}));
    EXPECT_THAT(changes(result), Contains(xfs_mount("/dev/data/pub", directory)));
}

TEST_F(RepairShare, MountsAnFtpShareAtItsOwnPlace) {
    has_share("ftp", "anna");
    machine.mounts({});
    const Result result = repair("samba");
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(changes(result), Contains(xfs_mount("/dev/data/pub", ftp_directory)));
    EXPECT_TRUE(machine.exists("/etc/vsftpd/anna")) << "its user stays bound";
}

TEST_F(RepairShare, TakesNoPathFromTheRegister) {
    has_share("samba");
    machine.shares({{.path = "/etc;reboot"}}).mounts({});
    const Result result = repair();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands, Not(Contains(HasSubstr("reboot"))));
}

TEST_F(RepairShare, ReportsAnUnknownShare) {
    const Result result = repair();
    EXPECT_EQ(result.returned, -501);
    EXPECT_THAT(changes(result), IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(returned("repair_share", -501)));
    machine.remove(targets);
    EXPECT_EQ(repair().returned, -505);
}

TEST_F(RepairShare, StopsAtWhatStaysMounted) {
    has_share("samba");
    fails(pool_tool::umount, "umount ");
    const Result result = repair();
    EXPECT_EQ(result.returned, -602);
    EXPECT_THAT(changes(result), ElementsAre(unmounting(directory)));
    EXPECT_THAT(machine.logged(), Contains(testing::MatchesRegex("repair_share.*")));
}

TEST_F(RepairShare, StopsWhereTheMountsCannotBeRead) {
    has_share("samba");
    machine.remove("/proc/mounts");
    const Result result = repair();
    EXPECT_EQ(result.returned, -602);
    EXPECT_THAT(result.out, HasSubstr("setmntent '/proc/mounts' fail\n"));
    EXPECT_THAT(changes(result), IsEmpty()) << "nothing mounted may be repaired";
}

TEST_F(RepairShare, StopsAtTheMount) {
    has_share("samba");
    machine.mounts({});
    fails(pool_tool::mount, "mount ", 32);
    EXPECT_EQ(repair().returned, -601);
    EXPECT_THAT(machine.logged().back(), returned("repair_share", -601));
}

TEST_F(RepairShare, StopsAtLockedFilesBeforeItUnmounts) {
    for (const char* file : {share_register, smb_conf}) {
        has_share("samba");
        machine.mounts({}).file(mdfstab, "");
        const LockedFile lock(machine.host_path(file));
        const Result result = repair();
        EXPECT_EQ(result.returned, -509) << file;
        EXPECT_THAT(changes(result), IsEmpty());
        EXPECT_THAT(machine.logged().back(), returned("repair_share", -2062));
        EXPECT_EQ(machine.read(mdfstab), "");
    }
}

} // namespace
} // namespace zav::test
