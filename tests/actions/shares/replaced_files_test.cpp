// SPDX-License-Identifier: MIT
// Files that somebody puts another in the place of, as an editor or "sed -i" does, while a share is
// changed: what would be written into the old one is lost.
#include "fixtures/library.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::Contains;

class ReplacedShareFiles : public ShareOperation {
  protected:
    // The next command of that tool finds that an editor has added a line to the file.
    void is_edited_at(const char* tool, const std::string& path, const std::string& line) {
        const std::string next = path + ".tmp";
        machine.tool(tool).any().does("{ cat " + path + "; echo '" + line + "'; } > " + next +
                                      "; mv " + next + " " + path + "; true");
    }
    int remove() {
        return result_of([] { return delete_share("pub", printed()); });
    }
    int forbid() {
        return result_of([] {
            share_info share = share_of("ftp");
            return edit_share(share, 0, printed());
        });
    }
};

TEST_F(ReplacedShareFiles, ADeletedShareDoesNotStayExported) {
    has_share("nfs");
    is_edited_at(pool_tool::lvremove, exports, "# edited");
    EXPECT_EQ(remove(), -504);
    EXPECT_THAT(machine.logged(), Contains(returned("del_snf_share", -2062)));
    EXPECT_EQ(machine.read(share_register), register_section({.service = "nfs"}));
    EXPECT_EQ(machine.read(exports), export_of(directory) + "# edited\n");
    machine.pools({});
    EXPECT_EQ(remove(), 0) << "the same again does what is left";
    EXPECT_EQ(machine.read(share_register), "");
    EXPECT_THAT(machine.read(exports), testing::Not(testing::HasSubstr(directory)));
}

TEST_F(ReplacedShareFiles, TheRegisterIsOneOfThem) {
    has_share("ftp");
    is_edited_at(pool_tool::umount, share_register, "");
    EXPECT_EQ(forbid(), -502);
    EXPECT_THAT(machine.logged(), Contains(returned("forbid_use_share", -2062)));
    EXPECT_EQ(machine.read(share_register), register_section({"pub", "ftp", ftp_directory}) + "\n");
    machine.tool(pool_tool::umount).any().exits(0);
    EXPECT_EQ(forbid(), 0);
    EXPECT_THAT(machine.read(share_register), testing::HasSubstr("ftp = 0\n"));
}

// Its lock is what keeps the others from the journal.
TEST_F(ReplacedShareFiles, TheRegisterIsTheOneThatIsLocked) {
    has_share("nfs");
    EXPECT_EQ(result_of([] {
                  ShareFiles files;
                  EXPECT_EQ(files.open({&share_register_file(), live_file("nfs")}), 0);
                  ::rename(exports_recycle, share_register);
                  return files.write({live_file("nfs")});
              }),
              -2062);
}

} // namespace
} // namespace zav::test
