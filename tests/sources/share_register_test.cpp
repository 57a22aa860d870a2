// SPDX-License-Identifier: MIT
// The share register: parsed for changes, parsed for listings, written.
#include "base/codes.h"
#include "fixtures/library.h"
#include "fixtures/share_lists.h"
#include "fixtures/share_machine.h"
#include "sources/share_register.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;

// The services as the register has them.
constexpr RegisterService services[] = {
    {"samba", "samba"}, {"nfs", "nfs"}, {"ftp", "ftp"}, {"iscsi", "iSCSI"}};

// The only share of a register.
share_info only(const std::string& text) {
    share_list list;
    scan_register(text, services, list);
    EXPECT_THAT(names(list), testing::SizeIs(1));
    return *list.begin();
}

TEST(RegisterScan, TakesEveryField) {
    const share_info share = only(register_section({"pub", "nfs", "/mnt/data/pub", "5", "all"}));
    EXPECT_EQ(share.name, "pub");
    EXPECT_EQ(share.type, "nfs");
    EXPECT_EQ(share.path, "/mnt/data/pub");
    EXPECT_EQ(share.comment, "all");
    EXPECT_EQ(share.device, "N.A.");
    EXPECT_EQ(share.users, "");
    EXPECT_EQ(share.write, 1);
    EXPECT_EQ(share.size.count, 5);
    EXPECT_EQ(share.usedsize.count, 0);
}

TEST(RegisterScan, FindsNothingInAnEmptyRegister) {
    share_list list;
    scan_register("", services, list);
    scan_register("sharename = pub\n", services, list);
    EXPECT_TRUE(list.empty());
}

TEST(RegisterScan, SpellsIscsiInItsOwnWay) {
    EXPECT_EQ(only(register_section({"disk1", "iscsi"})).type, "iSCSI");
    EXPECT_EQ(only(register_section({"pub", "samba"})).type, "samba");
    EXPECT_EQ(only(register_section({"pub", "ftp"})).type, "ftp");
    EXPECT_EQ(only(register_section({"pub", ""})).type, "");
}

TEST(RegisterScan, JoinsSeveralServicesInTheirOrder) {
    EXPECT_EQ(only("[a]\nnfs = 1\nsamba = 1\n").type, "samba,nfs");
    EXPECT_EQ(only("[a]\niscsi=1\nftp=1\nnfs=1\nsamba=1\n").type, "samba,nfs,ftp,iSCSI");
}

TEST(RegisterScan, CountsAServiceOnlyWhenItsValueIsExactlyOne) {
    EXPECT_EQ(only("[a]\nsamba = 10\nnfs = yes\nftp = 01\niscsi = \n").type, "");
}

TEST(RegisterScan, LooksKeysUpUnderTheSectionsName) {
    const share_info share = only("[section]\n    sharename = other\n    path = /x\n");
    EXPECT_EQ(share.name, "other");
    EXPECT_EQ(share.path, "/x");
    EXPECT_EQ(only("[section]\n    path = /x\n").name, "") << "the key alone gives the name";
}

TEST(RegisterScan, GivesTwoSectionsOfOneNameTheFirstOnesKeys) {
    share_list list;
    scan_register("[a]\nsharename = one\n[a]\nsharename = two\n", services, list);
    EXPECT_THAT(names(list), ElementsAre("one", "one"));
}

TEST(RegisterScan, KeepsTheOrderOfTheSections) {
    share_list list;
    add(list, "before", "ftp");
    scan_register(register_section({"b"}) + register_section({"a"}), services, list);
    EXPECT_THAT(names(list), ElementsAre("before", "b", "a"));
}

TEST(RegisterScan, TakesASizeBeyond32Bits) {
    EXPECT_EQ(only("[a]\nsize = 3221225472\n").size.count, 3221225472);
    EXPECT_EQ(only("[a]\nsize = 5x\n").size.count, 5);
    EXPECT_EQ(only("[a]\nsize = x\n").size.count, 0);
    EXPECT_EQ(only("[a]\n").size.count, 0);
}

TEST(RegisterScan, CutsWhatNoFieldHolds) {
    const std::string text(200, 'x');
    const share_info share =
        only("[a]\nsharename = " + text + "\ncomment = " + text + "\npath = " + text + "\n");
    EXPECT_EQ(share.name, std::string(32, 'x'));
    EXPECT_EQ(share.comment, std::string(128, 'x'));
    EXPECT_EQ(share.path, std::string(127, 'x'));
}

TEST(RegisterScan, ReadsASectionsKeysUpToAMalformedLine) {
    const share_info share = only("[a]\nsharename = pub\nnonsense\npath = /x\nsamba = 1\n");
    EXPECT_EQ(share.name, "pub");
    EXPECT_EQ(share.path, "");
    EXPECT_EQ(share.type, "");
}

using namespace std::literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

Parsed read_register(std::string_view text) {
    return parsed([](std::string_view file,
                     share_list& list) { return parse_register_sections(file, services, list); },
                  text);
}

// Each is the description of "pub" when only this is read.
constexpr auto bare = "pub||||rw|0|";
// The result of parsing a section with these lines, in the register or in a Samba file.
Parsed registered(const std::string& lines) {
    return read_register("[pub]\nsharename = pub\n" + lines);
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
    EXPECT_EQ(parse_register_sections("[a]\nsharename = a\n", services, list), 0);
    EXPECT_EQ(parse_register_sections("[b]\nsharename = b\n", services, list), 0);
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
    const std::string path(255 - 5, 'x'); // after "path="
    EXPECT_THAT(registered("path=" + path + "\ncomment=c\n"),
                Pair(0, ElementsAre("pub||" + path.substr(0, 127) + "||rw|0|c")));
}

TEST(RegisterReader, RestOfALongLineIsALineOfItsOwn) {
    const std::string text(255 - 8, 'x'); // after "comment="
    EXPECT_THAT(registered("comment=" + text + "path=/x\n"),
                Pair(0, ElementsAre("pub||/x||rw|0|" + text.substr(0, 128))));
    EXPECT_THAT(registered("comment=" + text + "xx\n"), Pair(0, testing::SizeIs(1)))
        << "too short to be malformed";
    EXPECT_THAT(registered("comment=" + text + "xxx\n"), Pair(malformed, testing::SizeIs(1)));
    EXPECT_THAT(registered("comment=" + text + "=\n"), Pair(0, testing::SizeIs(1)))
        << "the second equals sign stands on the next line";
}

TEST(RegisterReader, FieldsHaveTheirSizes) {
    const std::string long_text(200, 'x');
    EXPECT_THAT(registered("path = " + long_text + "\ncomment = " + long_text + "\n"),
                Pair(0, ElementsAre("pub||" + long_text.substr(0, 127) + "||rw|0|" +
                                    long_text.substr(0, 128))));
}

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

TEST(RegisterSection, HasNineLines) {
    EXPECT_THAT(register_lines(full_share("samba"), services),
                ElementsAre("[pub]\n", "    sharename = pub\n", "    path = /mnt/vg1/pub\n",
                            "    size = 5\n", "    samba = 1\n", "    nfs = 0\n", "    ftp = 0\n",
                            "    iscsi = 0\n", "    comment = for all\n"));
}

TEST(RegisterSection, HasOneServiceOrNone) {
    const auto keys_of = [](const char* type) {
        const std::string text = joined(register_lines(full_share(type), services));
        const std::size_t start = text.find("    samba");
        return text.substr(start, text.find("    comment") - start);
    };
    EXPECT_EQ(keys_of("nfs"), "    samba = 0\n    nfs = 1\n    ftp = 0\n    iscsi = 0\n");
    EXPECT_EQ(keys_of("ftp"), "    samba = 0\n    nfs = 0\n    ftp = 1\n    iscsi = 0\n");
    EXPECT_EQ(keys_of("iscsi"), "    samba = 0\n    nfs = 0\n    ftp = 0\n    iscsi = 1\n");
    EXPECT_EQ(keys_of("SAMBA"), "    samba = 1\n    nfs = 0\n    ftp = 0\n    iscsi = 0\n");
    EXPECT_EQ(keys_of(""), "    samba = 0\n    nfs = 0\n    ftp = 0\n    iscsi = 0\n");
}

TEST(RegisterSection, OfAnEmptyShareHasAllItsLines) {
    EXPECT_EQ(joined(register_lines(share_info(), services)),
              "[]\n    sharename = \n    path = \n    size = 0\n    samba = 0\n    nfs = 0\n"
              "    ftp = 0\n    iscsi = 0\n    comment = \n");
}

TEST(RegisterSection, HoldsTheWholeSize) {
    share_info share = full_share("nfs");
    share.size = {9223372036854775807};
    EXPECT_EQ(register_lines(share, services).at(3), "    size = 9223372036854775807\n");
    share.size = {-1};
    EXPECT_EQ(register_lines(share, services).at(3), "    size = -1\n");
}

} // namespace
} // namespace zav::test
