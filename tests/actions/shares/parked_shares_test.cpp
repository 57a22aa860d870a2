// SPDX-License-Identifier: MIT
// What the recycle files still have of an older share of the same name: it never comes back in the
// place of the newer one.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

class ParkedShares : public ShareOperation {
  protected:
    ParkedShares() {
        machine.directory("/etc/lvm/backup");
        machine.file(smb_recycle, recycled_pub() + recycled("a", "anna"));
        machine.file(exports_recycle, export_of(directory) + export_of("/mnt/data/a"));
    }
    void expect_cleared() {
        EXPECT_EQ(machine.read(smb_recycle), recycled("a", "anna"));
        EXPECT_EQ(machine.read(exports_recycle), export_of("/mnt/data/a"));
    }
    int restore(const share_info& share) {
        return result_of([share] {
            share_info restored = share;
            return restore_share(restored, "data");
        });
    }
    int edit(const share_info& share, int state) {
        return result_of([=] {
            share_info edited = share;
            return edit_share(edited, state, printed());
        });
    }
};

TEST_F(ParkedShares, APrivateShareComesBackPrivate) {
    has_share("samba", "bert");
    EXPECT_EQ(edit(share_of("samba"), 0), 0);
    EXPECT_EQ(edit(share_of("samba"), 1), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory, "bert"));
    has_share("nfs", "10.0.0.1");
    machine.file(exports_recycle, export_of(directory));
    EXPECT_EQ(edit(share_of("nfs"), 0), 0);
    EXPECT_EQ(edit(share_of("nfs"), 1), 0);
    EXPECT_EQ(machine.read(exports), export_of(directory, "10.0.0.1"));
}

TEST_F(ParkedShares, ANewShareClearsThem) {
    for (const char* type : {"samba", "nfs", "ftp", "iscsi"}) {
        machine.file(share_register, "").file(smb_conf, samba_global).file(exports, "");
        machine.file(smb_recycle, recycled_pub() + recycled("a", "anna"));
        machine.file(exports_recycle, export_of(directory) + export_of("/mnt/data/a"));
        const share_info share = share_of(type, std::string(type) == "ftp" ? "ftpuser" : "");
        const Result result = operate([share] { return create_share(share, "data", printed()); });
        EXPECT_EQ(result.returned, 0) << type;
        expect_cleared();
        EXPECT_THAT(changes(result), testing::Contains(saved(smb_recycle))) << type;
    }
}

TEST_F(ParkedShares, ANewShareTakesNothingFromThem) {
    machine.file(smb_recycle, recycled_pub("anna", "old", "no"));
    EXPECT_EQ(result_of([] { return create_share(share_of("samba"), "data", printed()); }), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
}

TEST_F(ParkedShares, ARestoredShareClearsThem) {
    machine.pools({"/dev/data/pub"});
    EXPECT_EQ(restore(share_of("samba", "bert")), 0);
    expect_cleared();
}

TEST_F(ParkedShares, ALostShareGetsItsOwnBack) {
    machine.pools({"/dev/data/pub"});
    machine.file(smb_recycle, recycled_pub("anna", "mine", "no"));
    EXPECT_EQ(restore(share_of("samba")), 0);
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "mine", "writable = no"));
    EXPECT_EQ(machine.read(smb_recycle), "");
    EXPECT_THAT(machine.logged(), testing::IsEmpty());
    machine.mounts({"/dev/data/pub /mnt/data/pub"}).file(share_register, "").file(exports, "");
    machine.file(exports_recycle, export_of(directory, "10.0.0.1"));
    EXPECT_EQ(restore(share_of("nfs")), 0);
    EXPECT_EQ(machine.read(exports), export_of(directory, "10.0.0.1"));
}

TEST_F(ParkedShares, ALostShareThatNothingTellsTheUsersOfIsOpenWhichIsLogged) {
    machine.pools({"/dev/data/pub"}).file(smb_recycle, "");
    EXPECT_EQ(restore(share_of("samba")), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory));
    EXPECT_THAT(machine.logged(), testing::ElementsAre("nothing tells the users of share 'pub': it "
                                                       "is open to everybody"));
}

TEST_F(ParkedShares, AReadOnlyShareIsNoMoreWhenItsServiceStillHasTheName) {
    machine.pools({"/dev/data/pub"});
    machine.file(smb_conf, samba_global + samba_section("pub", directory, "anna"));
    EXPECT_EQ(restore(read_only(share_of("samba"))), 0);
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + samba_section("pub", directory, "anna", "", "writable = no"));
}

TEST_F(ParkedShares, ADeletedShareClearsThem) {
    for (const char* type : {"samba", "nfs", "ftp", "iscsi"}) {
        has_share(type);
        machine.file(smb_recycle, recycled_pub() + recycled("a", "anna"));
        machine.file(exports_recycle, export_of(directory) + export_of("/mnt/data/a"));
        EXPECT_EQ(result_of([] { return delete_share("pub", printed()); }), 0) << type;
        expect_cleared();
    }
}

TEST_F(ParkedShares, AForbiddenShareThatIsRestoredKeepsItsOwn) {
    has_forbidden_share(smb_recycle, recycled_pub("anna"));
    EXPECT_EQ(restore(share_of("samba")), 0);
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
}

} // namespace
} // namespace zav::test
