// SPDX-License-Identifier: MIT
// Several entries with a share's name in its service's file: all that are the share's go, and none
// of somebody else's.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

class ShareNamesakes : public ShareOperation {
  protected:
    int forbid(const char* type) {
        return result_of([type] {
            share_info share = share_of(type);
            return edit_share(share, 0, printed());
        });
    }
    int edit(const share_info& share) {
        return result_of([share] {
            share_info edited = share;
            return edit_share(edited, 1, printed());
        });
    }
    int remove() {
        return result_of([] { return delete_share("pub", printed()); });
    }
    void has_two_sections() {
        has_share("samba");
        machine.file(smb_conf, samba_global + samba_section("pub", directory, "anna") +
                                   samba_section("a", "/mnt/data/a", "bert") +
                                   samba_section("pub", directory, "carla"));
    }
    void has_two_exports() {
        has_share("nfs");
        machine.file(exports, export_of(directory, "10.0.0.1") + export_of(directory, "10.0.0.2"));
    }
    void has_a_strangers_export() {
        has_share("nfs");
        machine.file(exports, stranger + export_of(directory, "10.0.0.1"));
    }
    const std::string stranger = export_of("/srv/pub", "10.9.9.9");
    const std::string others_section = samba_section("a", "/mnt/data/a", "bert");
};

TEST_F(ShareNamesakes, AllGoWhenTheShareIsForbidden) {
    has_two_sections();
    EXPECT_EQ(forbid("samba"), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + others_section);
    EXPECT_EQ(machine.read(smb_recycle), recycled_pub("anna"));
    has_two_exports();
    EXPECT_EQ(forbid("nfs"), 0);
    EXPECT_EQ(machine.read(exports), "");
    EXPECT_EQ(machine.read(exports_recycle), export_of(directory, "10.0.0.1"));
}

TEST_F(ShareNamesakes, AllGoWhenTheShareIsDeleted) {
    has_two_sections();
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + others_section);
    has_two_exports();
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(machine.read(exports), "");
    has_share("iscsi");
    machine.file(targets, target_of("pub.20240502140305", "/dev/data/pub") +
                              target_of("pub.20250101000000", "/dev/data/pub"));
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(machine.read(targets), "");
}

TEST_F(ShareNamesakes, AllAreEdited) {
    has_two_sections();
    EXPECT_EQ(edit(read_only(share_of("samba", "bert"))), 0);
    const std::string section = samba_section("pub", directory, "bert", "", "writable = no");
    EXPECT_EQ(machine.read(smb_conf), samba_global + section + others_section + section);
}

TEST_F(ShareNamesakes, AStrangersExportStays) {
    has_a_strangers_export();
    EXPECT_EQ(forbid("nfs"), 0);
    EXPECT_EQ(machine.read(exports), stranger);
    EXPECT_EQ(machine.read(exports_recycle), export_of(directory, "10.0.0.1"));
    has_a_strangers_export();
    EXPECT_EQ(edit(share_of("nfs", "10.0.0.3")), 0);
    EXPECT_EQ(machine.read(exports), stranger + export_of(directory, "10.0.0.3"));
    has_a_strangers_export();
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(machine.read(exports), stranger);
}

TEST_F(ShareNamesakes, AStrangersExportDoesNotBecomeTheShares) {
    has_a_strangers_export();
    EXPECT_EQ(result_of([] {
                  share_info share = share_of("nfs");
                  return restore_share(share, "data");
              }),
              0);
    EXPECT_EQ(machine.read(exports), stranger + export_of(directory, "10.0.0.1"));
}

TEST_F(ShareNamesakes, OfSeveralStrangersNoneIsTheShare) {
    has_share("nfs");
    const std::string strangers = stranger + export_of("/opt/pub");
    machine.file(exports, strangers);
    EXPECT_EQ(forbid("nfs"), 0);
    EXPECT_EQ(machine.read(exports), strangers);
}

TEST_F(ShareNamesakes, TheOnlyPathOfTheNameIsTheShare) {
    has_share("nfs");
    machine.file(exports, stranger);
    EXPECT_EQ(forbid("nfs"), 0);
    EXPECT_EQ(machine.read(exports), "");
}

} // namespace
} // namespace zav::test
