// SPDX-License-Identifier: MIT
// The sections of smb.conf that Samba itself gives a meaning, and a file that begins with a share.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using SambaOwnSections = ShareOperation;

TEST_F(SambaOwnSections, StayAsTheyAre) {
    has_share("samba", "anna");
    const std::string own = "[homes]\n   browseable = no\n\n[printers]\n\tpath = /var/spool\n"
                            "   guest ok = no\n";
    machine.file(smb_conf, samba_global + samba_section("pub", directory, "anna") + own);
    const auto edit = [this](int state) {
        return result_of([state] {
            share_info share = share_of("samba", "", "new");
            return edit_share(share, state, printed());
        });
    };
    EXPECT_EQ(edit(1), 0);
    EXPECT_EQ(machine.read(smb_conf),
              samba_global + own + samba_section("pub", directory, "anna", "new"));
    EXPECT_EQ(edit(0), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + own);
    EXPECT_EQ(edit(1), 0);
    EXPECT_EQ(result_of([] { return delete_share("pub", printed()); }), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + own);
}

TEST_F(SambaOwnSections, AreNotAddedForARegisteredShareOfTheName) {
    machine.shares({{.name = "homes"}}).pools({"/dev/data/pub"});
    EXPECT_EQ(result_of([] {
                  share_info share = share_of("samba", "anna");
                  return restore_share(share, "data");
              }),
              0);
    EXPECT_EQ(machine.read(smb_conf), samba_global + samba_section("pub", directory, "anna"));
}

// So it is after smb.conf was missing.
TEST_F(SambaOwnSections, AForbiddenShareGoesThoughTheFileBeginsWithIt) {
    has_share("samba");
    machine.file(smb_conf, samba_section("pub", directory) + samba_section("a", "/mnt/data/a"));
    EXPECT_EQ(result_of([] {
                  share_info share = share_of("samba");
                  return edit_share(share, 0, printed());
              }),
              0);
    EXPECT_EQ(machine.read(smb_conf), samba_section("a", "/mnt/data/a"));
}

} // namespace
} // namespace zav::test
