// SPDX-License-Identifier: MIT
// Samba's files: parsed for changes, parsed for listings, written.
#include "base/codes.h"
#include "fixtures/library.h"
#include "fixtures/share_lists.h"
#include "fixtures/share_machine.h"
#include "sources/smb_conf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;

class SambaScan : public testing::Test {
  protected:
    // The access and users of the share "pub" of that type after parsing smb.conf.
    const share_info& scanned(const std::string& text, const char* type = "samba") {
        list.clear();
        share_info& share = add(list, "pub", type);
        share.users = "before";
        scan_samba(text, list);
        return share;
    }
    share_list list;
};

TEST_F(SambaScan, TakesAccessAndUsers) {
    const std::string global = samba_global;
    const auto& read_only =
        scanned(global + samba_section("pub", "/mnt", "anna,bert", "", "writable = no"));
    EXPECT_EQ(read_only.write, 0);
    EXPECT_EQ(read_only.users, "anna,bert");
    EXPECT_EQ(scanned(global + samba_section("pub", "/mnt")).write, 1);
    EXPECT_EQ(list.begin()->users, "") << "nobody in particular";
}

TEST_F(SambaScan, HonoursExactlyNo) {
    for (const char* value : {"NO", "No", "0", "false", "no way", ""}) {
        EXPECT_EQ(scanned(std::string("[pub]\nwritable = ") + value + "\n").write, 1) << value;
    }
}

TEST_F(SambaScan, TakesTheOtherSpellingWhereTheFirstIsMissing) {
    EXPECT_EQ(scanned("[pub]\nwriteable = no\n").write, 0);
    EXPECT_EQ(scanned("[pub]\nwriteable = no\nwritable = yes\n").write, 1);
    EXPECT_EQ(scanned("[pub]\nwriteable = yes\nwritable = no\n").write, 0);
}

TEST_F(SambaScan, LeavesWhatTheFileDoesNotSay) {
    EXPECT_EQ(scanned("[pub]\nwritable = no\n").users, "before");
    EXPECT_EQ(scanned("[other]\nvalid users = anna\nwritable = no\n").users, "before");
    EXPECT_EQ(list.begin()->write, 1);
}

TEST_F(SambaScan, RefreshesSharesOfExactlySambaOnly) {
    for (const char* type : {"samba,nfs", "nfs", "SAMBA", ""}) {
        const auto& share = scanned("[pub]\nwritable = no\nvalid users = anna\n", type);
        EXPECT_EQ(share.write, 1) << type;
        EXPECT_EQ(share.users, "before") << type;
    }
}

TEST_F(SambaScan, CutsUsersAt255Characters) {
    EXPECT_EQ(scanned("[pub]\nvalid users = " + std::string(300, 'u') + "\n").users,
              std::string(255, 'u'));
}

using namespace std::literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

Parsed read_samba(std::string_view text) {
    return parsed(parse_samba, text);
}

constexpr auto bare_samba = "pub|samba|||rw|0|";

Parsed samba_share(const std::string& lines) {
    return read_samba("[pub]\n" + lines);
}

TEST(SambaReader, ReadsASection) {
    EXPECT_THAT(read_samba("[pub]\n    comment = for all\n    path = /mnt/data/pub\n"
                           "    public = yes\n    writable = no\n    printable = no\n"
                           "    create mask = 0777\n    valid users = anna,bert\n"),
                Pair(0, ElementsAre("pub|samba|/mnt/data/pub|anna,bert|ro|0|for all")));
}

TEST(SambaReader, ReadsSectionsInTheirOrder) {
    EXPECT_THAT(read_samba("[b]\npath = /b\n[a]\npath = /a\n[b]\n"),
                Pair(0, ElementsAre("b|samba|/b||rw|0|", "a|samba|/a||rw|0|", "b|samba|||rw|0|")));
    EXPECT_THAT(read_samba(""), Pair(0, IsEmpty()));
}

TEST(SambaReader, PassesOverTheGlobalSection) {
    EXPECT_THAT(read_samba("[global]\ncomment = x\nwritable = no\nnot a key\na = b = c\n"
                           "[pub]\n[global]\npath = /x\n"),
                Pair(0, ElementsAre(bare_samba)));
}

TEST(SambaReader, OnlyGlobalItselfIsGlobal) {
    EXPECT_THAT(read_samba("[Global]\n[globals]\n[ global]\n[global ]\n"),
                Pair(0, ElementsAre("Global|samba|||rw|0|", "globals|samba|||rw|0|",
                                    " global|samba|||rw|0|", "global |samba|||rw|0|")));
}

TEST(SambaReader, PassesOverWhatStandsBeforeTheFirstSection) {
    EXPECT_THAT(read_samba("path = /x\nnot a key\na = b = c\n[pub]\n"),
                Pair(0, ElementsAre(bare_samba)));
}

TEST(SambaReader, PassesOverCommentsAndShortLines) {
    EXPECT_THAT(read_samba("# [x\n[pub]\n  # a = b = c\n#path = /x\nab\n[]\n[x\n==\n"),
                Pair(0, ElementsAre(bare_samba)));
    EXPECT_THAT(samba_share("; a note\n"), Pair(malformed, ElementsAre(bare_samba)))
        << "a semicolon begins no comment";
}

TEST(SambaReader, AccessIsWrittenBothWaysAndTheLastCounts) {
    const auto access = [](const std::string& lines) {
        const Parsed result = samba_share(lines);
        return result.second.at(0).find("|rw|") != std::string::npos ? "rw" : "ro";
    };
    EXPECT_STREQ(access("writable = yes\n"), "rw");
    EXPECT_STREQ(access("writeable = yes\n"), "rw");
    EXPECT_STREQ(access("writable = no\n"), "ro");
    EXPECT_STREQ(access("writeable = no\n"), "ro");
    EXPECT_STREQ(access("writable = no\nwriteable = yes\n"), "rw");
    EXPECT_STREQ(access("writeable = yes\nwritable = no\n"), "ro");
    EXPECT_STREQ(access("writable = no\nwritable = yes\n"), "rw");
}

TEST(SambaReader, AccessIsGivenByExactlyYes) {
    for (const char* value : {"Yes", "YES", "true", "1", "", "yes x", "yess"}) {
        EXPECT_THAT(samba_share(std::string("writable = ") + value + "\n"),
                    Pair(0, ElementsAre("pub|samba|||ro|0|")))
            << value;
    }
}

TEST(SambaReader, FirstOfSeveralTextsCounts) {
    EXPECT_THAT(samba_share("comment = a\ncomment = b\npath = /a\npath = /b\n"
                            "valid users = anna\nvalid users = bert\n"),
                Pair(0, ElementsAre("pub|samba|/a|anna|rw|0|a")));
    EXPECT_THAT(samba_share("comment =\ncomment = b\npath =\npath = /b\n"
                            "valid users =\nvalid users = bert\n"),
                Pair(0, ElementsAre("pub|samba|/b|bert|rw|0|b")));
}

TEST(SambaReader, KeysAreCompared) {
    EXPECT_THAT(samba_share("Path = /x\nvalid  users = anna\nusers = anna\nread only = yes\n"
                            "Writable = no\npublic = no\nCOMMENT = c\n"),
                Pair(0, ElementsAre(bare_samba)));
}

TEST(SambaReader, TakesTheNameFromTheHeader) {
    EXPECT_THAT(read_samba("[a b=c]\n[x]y]\n"),
                Pair(0, ElementsAre("a b=c|samba|||rw|0|", "x]y|samba|||rw|0|")));
    const std::string name(32, 'n');
    EXPECT_THAT(read_samba("[" + name + "more]\n"), Pair(0, ElementsAre(name + "|samba|||rw|0|")));
}

TEST(SambaReader, HeaderWithoutItsBracketIsMalformed) {
    EXPECT_THAT(read_samba("[pub\n[next]\n"), Pair(malformed, IsEmpty()));
    EXPECT_THAT(samba_share("[next\n"), Pair(malformed, ElementsAre(bare_samba)));
    EXPECT_THAT(read_samba("[global]\n[next\n"), Pair(malformed, IsEmpty()));
    EXPECT_THAT(read_samba("[global]\n[a] # b\n"), Pair(malformed, IsEmpty()));
}

TEST(SambaReader, LineThatIsNoKeyIsMalformed) {
    EXPECT_THAT(samba_share("not a key\n[next]\n"), Pair(malformed, ElementsAre(bare_samba)));
    EXPECT_THAT(samba_share("comment = a = b\n"), Pair(malformed, ElementsAre(bare_samba)));
    EXPECT_THAT(samba_share("other == x\n"), Pair(malformed, ElementsAre(bare_samba)));
    EXPECT_THAT(samba_share("= x\n"), Pair(0, ElementsAre(bare_samba))) << "an empty key";
}

TEST(SambaReader, LinesEndAsInTheRegister) {
    EXPECT_THAT(read_samba("[pub]\0path = /x\r\ncomment = c\fvalid users = u"sv),
                Pair(0, ElementsAre("pub|samba|/x|u|rw|0|c\f")));
    const std::string users(255 - 12, 'x'); // after "valid users="
    EXPECT_THAT(samba_share("valid users=" + users + "path=/x\n"),
                Pair(0, ElementsAre("pub|samba|/x|" + users + "|rw|0|")));
    EXPECT_THAT(samba_share("valid users=" + users + "xyz\n"), Pair(malformed, testing::SizeIs(1)));
}

TEST(SambaGlobalPart, EndsAtTheSecondBracket) {
    EXPECT_EQ(samba_global_size("[global]\nx = y\n[pub]\n[more]\n"), 15u);
    EXPECT_EQ(samba_global_size("# head\n[global]\n[pub]\n"), 16u);
}

TEST(SambaGlobalPart, EndsAtASecondBracketAnywhere) {
    EXPECT_EQ(samba_global_size("[global]\n# see [x]\n[pub]\n"), 15u);
    EXPECT_EQ(samba_global_size("# [note]\n[global]\n[pub]\n"), 9u);
    EXPECT_EQ(samba_global_size("[["), 1u);
}

TEST(SambaGlobalPart, WithoutASecondBracketIsAll) {
    EXPECT_EQ(samba_global_size("[global]\nx = y\n"), 15u);
    EXPECT_EQ(samba_global_size("x = y\n"), 6u);
    EXPECT_EQ(samba_global_size(""), 0u);
    EXPECT_EQ(samba_global_size("["), 1u);
}

TEST(SambaReader, PassesOverSambasOwnSections) {
    EXPECT_THAT(read_samba("[homes]\npath = /x\n[pub]\n[Printers]\nnot a key\n[homes2]\n"),
                Pair(0, ElementsAre(bare_samba, "homes2|samba|||rw|0|")));
}

TEST(SambaKept, IsTheGlobalPartAndSambasOwnSections) {
    EXPECT_EQ(samba_kept("[global]\nx = y\n[pub]\npath = /x\n[more]\n"), "[global]\nx = y\n");
    EXPECT_EQ(samba_kept("[global]\n[pub]\n  [homes]\r\n  a=b = c\n\n[more]\n[PRINTERS]\n# p"),
              "[global]\n  [homes]\r\n  a=b = c\n\n[PRINTERS]\n# p\n");
    EXPECT_EQ(samba_kept("[global]\n  [homes]\na = b\n[pub]\n"), "[global]\n  [homes]\na = b\n");
    EXPECT_EQ(samba_kept("[homes]\na = b\n[global]\nx = y\n[pub]\n"),
              "[homes]\na = b\n[global]\nx = y\n");
    EXPECT_EQ(samba_kept("# [note]\n[global]\nx = y\n[pub]\n"), "# [note]\n[global]\nx = y\n");
}

TEST(SambaKept, IsCutAtASecondBracket) {
    EXPECT_EQ(samba_kept("[global]\n# see [x]\ny = z\n[pub]\n"), "[global]\n# see ");
    EXPECT_EQ(samba_kept("[global]\n# see [x]\n[homes]\na = b\n"),
              "[global]\n# see \n[homes]\na = b\n");
}

TEST(SambaKept, EndsWithItsLine) {
    EXPECT_EQ(samba_kept("[global]\nx = y"), "[global]\nx = y\n");
    EXPECT_EQ(samba_kept(""), "");
}

TEST(SambaKept, HasNoShareAtTheStartOfTheFile) {
    EXPECT_EQ(samba_kept("[pub]\npath = /x\n[more]\n"), "");
    EXPECT_EQ(samba_kept("# head\n[pub]\npath = /x\n[homes]\na = b\n"), "# head\n[homes]\na = b\n");
}

TEST(SambaSection, HasEightLines) {
    EXPECT_THAT(samba_lines(full_share("samba"), "writable"),
                ElementsAre("[pub]\n", "    comment = for all\n", "    path = /mnt/vg1/pub\n",
                            "    public = yes\n", "    writable = yes\n", "    printable = no\n",
                            "    create mask = 0777\n", "    valid users = anna\n"));
}

TEST(SambaSection, TakesTheKeyOfItsFile) {
    share_info share = full_share("samba");
    EXPECT_EQ(samba_lines(share, "writeable").at(4), "    writeable = yes\n");
    share.write = 0;
    EXPECT_EQ(samba_lines(share, "writeable").at(4), "    writeable = no\n");
    EXPECT_EQ(samba_lines(share, "writable").at(4), "    writable = no\n");
}

TEST(SambaSection, WithoutUsersEndsInABlank) {
    share_info share = full_share("samba");
    share.users.clear();
    EXPECT_EQ(samba_lines(share, "writable").back(), "    valid users = \n");
}

} // namespace
} // namespace zav::test
