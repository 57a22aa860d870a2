// SPDX-License-Identifier: MIT
// What users and tools name: links in the home of FTP users, groups whose names lead elsewhere,
// directories of the mount table that no file can hold.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class HostileNames : public ShareOperation {
  protected:
    Result edit(const share_info& share, int state) {
        return operate([=] {
            share_info edited = share;
            return edit_share(edited, state, printed());
        });
    }
    // The operation stops at the link where the FTP share is to be mounted.
    void expect_not_mounted(const Function& mount) {
        const Result result = operate(mount);
        EXPECT_EQ(result.returned, -601);
        EXPECT_THAT(result.commands, Not(Contains(HasSubstr("mount -t"))));
        EXPECT_THAT(machine.logged(),
                    Contains(EndsWith("was not run: '" + ftp_directory + "' is a link")));
        EXPECT_THAT(machine.read(mdfstab), Not(HasSubstr(ftp_directory)));
    }
};

using LinkInTheUsersHome = HostileNames;
using DirectoryThatNoFileHolds = HostileNames;

TEST_F(LinkInTheUsersHome, KeepsAForbiddenShareFromItsMount) {
    has_forbidden_share();
    machine.symlink("/etc", ftp_directory);
    expect_not_mounted([] {
        share_info share = share_of("ftp", "anna");
        return edit_share(share, 1, printed());
    });
    EXPECT_EQ(machine.read(share_register), forbidden_section());
    EXPECT_FALSE(machine.exists("/etc/vsftpd/anna"));
}

TEST_F(LinkInTheUsersHome, KeepsANewShareFromItsMount) {
    machine.symlink("/etc", ftp_directory);
    expect_not_mounted([] { return create_share(share_of("ftp", "ftpuser"), "data", printed()); });
}

TEST_F(LinkInTheUsersHome, KeepsARestoredShareFromItsMount) {
    machine.symlink("/etc", ftp_directory);
    expect_not_mounted([] {
        share_info share = share_of("ftp");
        return restore_share(share, "data");
    });
}

TEST_F(LinkInTheUsersHome, KeepsARepairedShareFromItsMount) {
    machine.shares({{"pub", "ftp", ftp_directory}}).symlink("/etc", ftp_directory);
    expect_not_mounted([] { return repair_share("pub", "ftp", "data", printed()); });
}

TEST_F(LinkInTheUsersHome, KeepsAShareFromItsMountWhenItComesMeanwhile) {
    has_forbidden_share();
    machine.tool(pool_tool::mkdir).any().does("ln -s /etc " + ftp_directory);
    expect_not_mounted([] {
        share_info share = share_of("ftp", "anna");
        return edit_share(share, 1, printed());
    });
}

TEST_F(LinkInTheUsersHome, MayDangle) {
    has_forbidden_share();
    machine.symlink("/nowhere", ftp_directory);
    expect_not_mounted([] {
        share_info share = share_of("ftp", "anna");
        return edit_share(share, 1, printed());
    });
}

class GroupThatLeadsElsewhere : public HostileNames {
  protected:
    // LVM knows the share's pool in a group "..".
    void has_group() {
        machine.pools({"/dev/../pub"});
        machine.group_lines("  ..:r/w:772:-1:0:0:0:-1:0:1:1:104857600:4096:25600:0:25600:uuid\n",
                            "  /dev/md0:..:209715200:-1:8:8:-1:4096:25600:25600:0:uuid\n");
    }
};

// As the tools print it; nothing is removed, mounted or protected beside /mnt then.
TEST_F(GroupThatLeadsElsewhere, ReachesNoCommandOfADeletion) {
    for (const char* service : {"samba", "nfs", "ftp", "iscsi", ""}) {
        has_share(service);
        has_group();
        const Result result = operate([] { return delete_share("pub", printed()); });
        EXPECT_EQ(result.returned, 0) << service;
        EXPECT_THAT(changes(result), Each(Not(HasSubstr("..")))) << service;
        EXPECT_THAT(machine.logged(), Contains("no command takes the group '..' of pool 'pub'"));
        machine.remove("/var/log/log.libzav");
    }
}

TEST_F(GroupThatLeadsElsewhere, ReachesNoCommandWhenAShareIsPutInUse) {
    for (const char* service : {"samba", "nfs", "ftp"}) {
        has_forbidden_share(smb_recycle, recycled_pub("anna"));
        has_group();
        const Snapshot before = machine.snapshot();
        const Result result = edit(share_of(service, "ftpuser"), 1);
        EXPECT_EQ(result.returned, -303) << service;
        EXPECT_THAT(changes(result), IsEmpty()) << service;
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty()) << service;
        EXPECT_THAT(machine.logged(), Contains("no command takes the group '..' of share 'pub'"));
        machine.remove("/var/log/log.libzav");
    }
}

// What the mount table has in place of the characters: a line feed would make a section of its own
// of what follows, a blank would export a directory to everybody.
TEST_F(DirectoryThatNoFileHolds, ReachesNoFileWhenALostShareIsPutBack) {
    for (const char* mounted : {"/mnt/x\\012[evil]\\012path/pub", "/mnt/x\\011y/pub",
                                "/mnt/x\\134/pub", "/mnt/x\\134012/pub"}) {
        for (const char* service : {"samba", "nfs"}) {
            machine.shares({{.service = service}}).file(smb_conf, samba_global).file(exports, "");
            machine.mounts({std::string("/dev/data/pub ") + mounted});
            EXPECT_EQ(edit(share_of(service), 1).returned, -2067) << "which is told";
            EXPECT_EQ(machine.read(share_register), register_section({.service = service}));
            EXPECT_EQ(machine.read(smb_conf) + machine.read(exports),
                      service == std::string("samba")
                          ? samba_global + samba_section("pub", directory)
                          : samba_global + export_of(directory))
                << mounted;
        }
    }
}

TEST_F(DirectoryThatNoFileHolds, ExportsNothingElseToEverybody) {
    machine.shares({{.service = "nfs"}}).mounts({"/dev/data/pub /mnt/x\\040y/pub"});
    EXPECT_EQ(edit(share_of("nfs", "10.0.0.1"), 1).returned, -2067) << "which is told";
    EXPECT_EQ(machine.read(exports), export_of(directory, "10.0.0.1"));
}

} // namespace
} // namespace zav::test
