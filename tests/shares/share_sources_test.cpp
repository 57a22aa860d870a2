// SPDX-License-Identifier: MIT
// The readers of the share register and of the two Samba files.
#include "share_lists.h"
#include "shares/share_sources.h"

#include <gmock/gmock.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

using namespace std::literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr int malformed = -14;

// The result and the shares, described.
using Parsed = std::pair<int, std::vector<std::string>>;

Parsed parsed(int (*parse)(std::string_view, share_list&), std::string_view text) {
    share_list list;
    const int result = parse(text, list);
    return {result, described(list)};
}

Parsed read_register(std::string_view text) {
    return parsed(parse_register_sections, text);
}

Parsed read_samba(std::string_view text) {
    return parsed(parse_samba, text);
}

// Each describes "pub" when nothing else is read of it.
constexpr auto bare = "pub||||rw|0|";
constexpr auto bare_samba = "pub|samba|||rw|0|";

// What a section of the register, or of a Samba file, with these lines is read as.
Parsed registered(const std::string& lines) {
    return read_register("[pub]\nsharename = pub\n" + lines);
}

Parsed samba_share(const std::string& lines) {
    return read_samba("[pub]\n" + lines);
}

TEST(RegisterReader, ReadsASection) {
    EXPECT_THAT(read_register("[pub]\n    sharename = pub\n    path = /mnt/data/pub\n"
                              "    size = 5\n    samba = 1\n    nfs = 0\n    ftp = 0\n"
                              "    iscsi = 0\n    comment = for all\n"),
                Pair(0, ElementsAre("pub|samba|/mnt/data/pub||rw|5|for all")));
}

TEST(RegisterReader, ReadsSectionsInTheirOrder) {
    EXPECT_THAT(read_register("[x]\nsharename = b\n[x]\nsharename = a\n[x]\nsharename = b\n"),
                Pair(0, ElementsAre("b||||rw|0|", "a||||rw|0|", "b||||rw|0|")));
}

TEST(RegisterReader, AddsToTheList) {
    share_list list;
    EXPECT_EQ(parse_register_sections("[a]\nsharename = a\n", list), 0);
    EXPECT_EQ(parse_register_sections("[b]\nsharename = b\n", list), 0);
    EXPECT_EQ(list.size(), 2u);
}

TEST(RegisterReader, ReadsNothingAsAnEmptyList) {
    EXPECT_THAT(read_register(""), Pair(0, IsEmpty()));
    EXPECT_THAT(read_register("\n\n  \n"), Pair(0, IsEmpty()));
}

TEST(RegisterReader, TakesTheNameFromItsKeyOnly) {
    EXPECT_THAT(read_register("[pub]\npath = /x\n"), Pair(0, ElementsAre("||/x||rw|0|")));
    EXPECT_THAT(read_register("[pub]\nsharename = other\n"),
                Pair(0, ElementsAre("other||||rw|0|")));
}

TEST(RegisterReader, CutsANameAt32Characters) {
    const std::string name(32, 'n');
    EXPECT_THAT(read_register("[x]\nsharename = " + name + "more\n"),
                Pair(0, ElementsAre(name + "||||rw|0|")));
}

TEST(RegisterReader, ReadsEachService) {
    for (const std::string service : {"samba", "nfs", "ftp", "iscsi"}) {
        EXPECT_THAT(registered(service + " = 1\n"),
                    Pair(0, ElementsAre("pub|" + service + "|||rw|0|")));
        EXPECT_THAT(registered(service + " = 0\n"), Pair(0, ElementsAre(bare)));
    }
}

TEST(RegisterReader, FirstServiceThatIs1Counts) {
    EXPECT_THAT(registered("samba = 1\nnfs = 1\n"), Pair(0, ElementsAre("pub|samba|||rw|0|")));
    EXPECT_THAT(registered("iscsi = 1\nsamba = 1\n"), Pair(0, ElementsAre("pub|iscsi|||rw|0|")));
    EXPECT_THAT(registered("samba = 0\nftp = 1\n"), Pair(0, ElementsAre("pub|ftp|||rw|0|")));
    EXPECT_THAT(registered("nfs = 1\nnfs = 0\n"), Pair(0, ElementsAre("pub|nfs|||rw|0|")));
}

TEST(RegisterReader, ServiceIsSetByExactly1) {
    for (const char* value : {"2", "01", "1x", "1 1", "yes", "", "-1", "+1"}) {
        EXPECT_THAT(registered(std::string("samba = ") + value + "\n"), Pair(0, ElementsAre(bare)))
            << value;
    }
}

TEST(RegisterReader, KeysAreCompared) {
    EXPECT_THAT(registered("Samba = 1\nPath = /x\nCOMMENT = c\nSize = 1\n"),
                Pair(0, ElementsAre(bare)));
    EXPECT_THAT(registered("samba2 = 1\npat = /x\nusers = anna\nwrite = 0\ncifs = 1\n"),
                Pair(0, ElementsAre(bare)));
}

TEST(RegisterReader, FirstOfSeveralTextsCounts) {
    EXPECT_THAT(registered("sharename = other\npath = /a\npath = /b\ncomment = c\ncomment = d\n"),
                Pair(0, ElementsAre("pub||/a||rw|0|c")));
}

TEST(RegisterReader, EmptyTextIsFilledLater) {
    EXPECT_THAT(registered("path =\npath = /b\ncomment = \ncomment = d\n"),
                Pair(0, ElementsAre("pub||/b||rw|0|d")));
}

TEST(RegisterReader, SizeIsANumberOf32Bits) {
    const std::vector<std::pair<std::string, std::string>> sizes = {{"2147483647", "2147483647"},
                                                                    {"2147483648", "-2147483648"},
                                                                    {"3221225472", "-1073741824"},
                                                                    {"4294967296", "0"},
                                                                    {"4294967301", "5"},
                                                                    {"-7", "-7"},
                                                                    {"12GB", "12"},
                                                                    {"x", "0"},
                                                                    {"", "0"},
                                                                    {"99999999999999999999", "-1"}};
    for (const auto& [text, size] : sizes) {
        EXPECT_THAT(registered("size = " + text + "\n"),
                    Pair(0, ElementsAre("pub||||rw|" + size + "|")))
            << text;
    }
}

TEST(RegisterReader, LastSizeCounts) {
    EXPECT_THAT(registered("size = 5\nsize = 6\n"), Pair(0, ElementsAre("pub||||rw|6|")));
}

TEST(RegisterReader, TrimsLinesKeysAndValues) {
    EXPECT_THAT(read_register(" \t[x]  \n\t \tsharename  = \t pub  \r \n \tpath=/x y\r\n"),
                Pair(0, ElementsAre("pub||/x y||rw|0|")));
}

TEST(RegisterReader, LeavesATabAtAnEnd) {
    EXPECT_THAT(registered("comment = c\t\n"), Pair(0, ElementsAre("pub||||rw|0|c\t")));
    EXPECT_THAT(registered("comment\t= c\n"), Pair(0, ElementsAre(bare)));
    EXPECT_THAT(read_register("[x]\t\n"), Pair(malformed, IsEmpty()));
}

TEST(RegisterReader, PassesOverLinesUnder3Characters) {
    EXPECT_THAT(read_register("[x\n[]\n=\n==\nab\n[x]\nab\n  =  \n[\nsharename = pub\n"),
                Pair(0, ElementsAre(bare)));
    EXPECT_THAT(registered("abc\n"), Pair(malformed, ElementsAre(bare)));
    EXPECT_THAT(registered("a=b\n"), Pair(0, ElementsAre(bare)));
}

TEST(RegisterReader, HeaderWithoutItsBracketIsMalformed) {
    EXPECT_THAT(read_register("[pub\nsharename = pub\n"), Pair(malformed, IsEmpty()));
    EXPECT_THAT(registered("[abc\n[d]\n"), Pair(malformed, ElementsAre(bare)));
    EXPECT_THAT(read_register("[a]b\n"), Pair(malformed, IsEmpty()));
}

TEST(RegisterReader, SecondEqualsSignIsMalformed) {
    EXPECT_THAT(registered("comment = a=b\n[next]\n"), Pair(malformed, ElementsAre(bare)));
    EXPECT_THAT(registered("unknown == x\n"), Pair(malformed, ElementsAre(bare)));
    EXPECT_THAT(read_register("[a=b=c]\n"), Pair(malformed, IsEmpty()));
    EXPECT_THAT(read_register("[a=b]\nsharename = pub\n"), Pair(0, ElementsAre(bare)));
}

TEST(RegisterReader, LineThatIsNoKeyIsMalformed) {
    EXPECT_THAT(registered("a note\n"), Pair(malformed, ElementsAre(bare)));
    EXPECT_THAT(registered("# a note\n"), Pair(malformed, ElementsAre(bare))) << "no comments";
}

TEST(RegisterReader, PassesOverKeysBeforeTheFirstSection) {
    EXPECT_THAT(read_register("sharename = early\npath = /x\n[x]\nsharename = pub\n"),
                Pair(0, ElementsAre(bare)));
    EXPECT_THAT(read_register("sharename = early\n"), Pair(0, IsEmpty()));
}

TEST(RegisterReader, LastLineNeedsNoLineFeed) {
    EXPECT_THAT(read_register("[x]\nsharename = pub"), Pair(0, ElementsAre(bare)));
    EXPECT_THAT(read_register("[x]\nsharename = pub\n[y]"),
                Pair(0, ElementsAre(bare, "||||rw|0|")));
}

TEST(RegisterReader, NulEndsALine) {
    EXPECT_THAT(read_register("[x]\0sharename = pub\0path = /x\n"sv),
                Pair(0, ElementsAre("pub||/x||rw|0|")));
}

TEST(RegisterReader, DropsCarriageReturnsAnywhere) {
    EXPECT_THAT(read_register("[x]\r\nshare\rname = p\r\rub\r\n"), Pair(0, ElementsAre(bare)));
    EXPECT_THAT(read_register("[x]\rsharename = pub\n"), Pair(malformed, IsEmpty()));
}

TEST(RegisterReader, FormFeedAndControlZEndALineAndBelongToIt) {
    for (const std::string end : {"\f", "\x1a"}) {
        EXPECT_THAT(registered("comment = c" + end + "path = /x\n"),
                    Pair(0, ElementsAre("pub||/x||rw|0|c" + end)));
        EXPECT_THAT(registered("samba = 1" + end), Pair(0, ElementsAre(bare)));
        EXPECT_THAT(read_register("[x]" + end), Pair(malformed, IsEmpty()));
    }
}

TEST(RegisterReader, LineOf255CharactersIsWhole) {
    const std::string path(255 - 5, 'x'); // behind "path="
    EXPECT_THAT(registered("path=" + path + "\ncomment=c\n"),
                Pair(0, ElementsAre("pub||" + path.substr(0, 127) + "||rw|0|c")));
}

TEST(RegisterReader, RestOfALongLineIsALineOfItsOwn) {
    const std::string text(255 - 8, 'x'); // behind "comment="
    EXPECT_THAT(registered("comment=" + text + "path=/x\n"),
                Pair(0, ElementsAre("pub||/x||rw|0|" + text.substr(0, 128))));
    EXPECT_THAT(registered("comment=" + text + "xx\n"), Pair(0, testing::SizeIs(1)))
        << "too short to be malformed";
    EXPECT_THAT(registered("comment=" + text + "xxx\n"), Pair(malformed, testing::SizeIs(1)));
    EXPECT_THAT(registered("comment=" + text + "=\n"), Pair(0, testing::SizeIs(1)))
        << "the second equals sign stands on the next line";
}

TEST(RegisterReader, FieldsHoldSoMuch) {
    const std::string long_text(200, 'x');
    EXPECT_THAT(registered("path = " + long_text + "\ncomment = " + long_text + "\n"),
                Pair(0, ElementsAre("pub||" + long_text.substr(0, 127) + "||rw|0|" +
                                    long_text.substr(0, 128))));
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
    const std::string users(255 - 12, 'x'); // behind "valid users="
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

TEST(SambaGlobalPart, KeepsTheFirstShareOfAFileWithoutOne) {
    EXPECT_EQ(samba_global_size("[pub]\npath = /x\n[more]\n"), 16u);
}

} // namespace
} // namespace zav::test
