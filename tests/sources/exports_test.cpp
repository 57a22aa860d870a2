// SPDX-License-Identifier: MIT
// The exports of the NFS server: parsed for changes, parsed for listings, written.
#include "base/codes.h"
#include "fixtures/library.h"
#include "fixtures/share_lists.h"
#include "fixtures/share_machine.h"
#include "sources/exports.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;

class ExportsScan : public testing::Test {
  protected:
    const share_info& scanned(const std::string& text, const char* type = "nfs") {
        list.clear();
        share_info& share = add(list, "pub", type, "/mnt/data/pub");
        scan_exports(text, list);
        return share;
    }
    share_list list;
};

TEST_F(ExportsScan, TakesHostsAndAccess) {
    const auto& share = scanned("/mnt/data/pub 10.0.0.0/8(ro,sync,no_root_squash)\n");
    EXPECT_EQ(share.users, "10.0.0.0/8");
    EXPECT_EQ(share.write, 0);
    EXPECT_EQ(scanned("/mnt/data/pub *(rw,sync,no_root_squash)\n").users, "*");
    EXPECT_EQ(list.begin()->write, 1);
}

TEST_F(ExportsScan, TreatsTheWholeTextUpToTheBracketAsHosts) {
    EXPECT_EQ(scanned("  /mnt/data/pub \t one two (rw)\n").users, "one two");
    EXPECT_EQ(scanned("/mnt/data/pub\tone(rw) two(ro)\n").users, "one");
    EXPECT_EQ(list.begin()->write, 1) << "the options of the first host";
}

TEST_F(ExportsScan, FindsReadOnlyAnywhereInTheOptions) {
    EXPECT_EQ(scanned("/mnt/data/pub *(sync,no_root_squash,ro)\n").write, 0);
    EXPECT_EQ(scanned("/mnt/data/pub *(root,sync,nro,ro_x)\n").write, 1);
    EXPECT_EQ(scanned("/mnt/data/pub *(RO)\n").write, 1);
    EXPECT_EQ(scanned("/mnt/data/pub ro(rw)\n").write, 1);
    EXPECT_EQ(scanned("/mnt/data/pub *(rw) ro\n").write, 1);
}

TEST_F(ExportsScan, NeverMakesAShareWritable) {
    share_info& share = add(list, "a", "nfs", "/a");
    share.write = 0;
    scan_exports("/a *(rw)\n", list);
    EXPECT_EQ(share.write, 0);
}

TEST_F(ExportsScan, PassesOverCommentsAndOtherPaths) {
    EXPECT_EQ(scanned("\n  \n# /mnt/data/pub a(ro)\n#/mnt/data/pub a(ro)\n").users, "");
    EXPECT_EQ(scanned("/mnt/data/pub2 a(ro)\n/mnt/data/ a(ro)\n").users, "");
    EXPECT_EQ(list.begin()->write, 1);
    const share_info& odd = add(list, "odd", "nfs", "#odd");
    scan_exports("#odd a(ro)\n", list);
    EXPECT_EQ(odd.users, "");
}

TEST_F(ExportsScan, OnlyAffectsNfsShares) {
    EXPECT_EQ(scanned("/mnt/data/pub a(ro)\n", "NFS").users, "a");
    EXPECT_EQ(scanned("/mnt/data/pub a(ro)\n", "samba").users, "");
    EXPECT_EQ(scanned("/mnt/data/pub a(ro)\n", "samba,nfs").users, "");
}

TEST_F(ExportsScan, AffectsTheFirstShareOfAPath) {
    add(list, "samba", "samba", "/a");
    add(list, "one", "nfs", "/a");
    add(list, "two", "nfs", "/a");
    scan_exports("/a host(rw)\n", list);
    EXPECT_THAT(users(list), ElementsAre("", "host", ""));
}

using namespace std::literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

Parsed read_exports(std::string_view text) {
    return parsed(parse_exports, text);
}

TEST(ExportsReader, ReadsALine) {
    EXPECT_THAT(read_exports("/mnt/vg1/pub 10.0.0.0/8(rw,sync,no_root_squash)\n"),
                Pair(0, ElementsAre("pub|nfs|/mnt/vg1/pub|10.0.0.0/8|rw|0|")));
}

TEST(ExportsReader, ReadsLinesInTheirOrder) {
    EXPECT_THAT(read_exports("/mnt/v/b *(rw,sync)\n/mnt/v/a x(rw)\n/mnt/w/b *(rw)"),
                Pair(0, ElementsAre("b|nfs|/mnt/v/b|*|rw|0|", "a|nfs|/mnt/v/a|x|rw|0|",
                                    "b|nfs|/mnt/w/b|*|rw|0|")));
    EXPECT_THAT(read_exports(""), Pair(0, IsEmpty()));
}

TEST(ExportsReader, PassesOverLinesOf10Characters) {
    EXPECT_THAT(read_exports("/a *(rw,x)\n"), Pair(0, IsEmpty()));
    EXPECT_THAT(read_exports("/ab *(rw,x)\n"), Pair(0, ElementsAre("ab|nfs|/ab|*|rw|0|")));
    EXPECT_THAT(read_exports("  \t/a *(rw,x)   \n"), Pair(0, IsEmpty()))
        << "blanks around do not count";
    EXPECT_THAT(read_exports("/a (((((()\n"), Pair(0, IsEmpty())) << "and nothing is malformed";
}

TEST(ExportsReader, NeverFindsAReadOnlyShare) {
    for (const char* options : {"ro,sync", "ro", "RW", "rw,ro", "sync,ro"}) {
        EXPECT_THAT(read_exports(std::string("/mnt/v/p host(") + options + ")\n"),
                    Pair(0, ElementsAre("p|nfs|/mnt/v/p|host|rw|0|")))
            << options;
    }
}

TEST(ExportsReader, SecondOpeningBracketIsMalformed) {
    EXPECT_THAT(read_exports("/mnt/v/a *(rw)\n/mnt/v/b x(rw) y(ro)\n/mnt/v/c *(rw)\n"),
                Pair(malformed, SizeIs(1)));
    EXPECT_THAT(read_exports("no path at all ((\n"), Pair(malformed, IsEmpty()));
    EXPECT_THAT(read_exports("#/mnt/v/b x(rw) y(ro)\n"), Pair(0, IsEmpty())) << "but in a comment";
}

TEST(ExportsReader, PassesOverWhatIsNoExport) {
    EXPECT_THAT(read_exports("# /mnt/v/a *(rw)\n   # a comment (x)\nmnt/v/abcd *(rw)\n"
                             "/mnt/v/a *(rw) x\n/mnt/v/a host\n\n"),
                Pair(0, IsEmpty()));
}

TEST(ExportsReader, NameIsTheLastPartOfThePath) {
    EXPECT_THAT(read_exports("/mnt/v/dir/ *(rw)\n"),
                Pair(0, ElementsAre("|nfs|/mnt/v/dir/|*|rw|0|")));
    EXPECT_THAT(read_exports("/publicshare *(rw)\n"),
                Pair(0, ElementsAre("publicshare|nfs|/publicshare|*|rw|0|")));
    const std::string name(32, 'n');
    EXPECT_THAT(read_exports("/mnt/" + name + "more *(rw)\n"),
                Pair(0, ElementsAre(name + "|nfs|/mnt/" + name + "more|*|rw|0|")));
}

TEST(ExportsReader, HostsAreAllUpToTheBracket) {
    EXPECT_THAT(read_exports("/mnt/v/p a b  c (rw,sync)\n/mnt/v/q    *   (rw)\n/mnt/v/r (rw)\n"),
                Pair(0, ElementsAre("p|nfs|/mnt/v/p|a b  c|rw|0|", "q|nfs|/mnt/v/q|*|rw|0|",
                                    "r|nfs|/mnt/v/r||rw|0|")));
}

TEST(ExportsReader, FieldsHaveTheirSizes) {
    const std::string path = "/mnt/" + std::string(150, 'p');
    EXPECT_THAT(
        read_exports(path + " *(rw)\n"),
        Pair(0, ElementsAre(std::string(32, 'p') + "|nfs|" + path.substr(0, 127) + "|*|rw|0|")));
}

TEST(ExportsReader, LinesEndAsInTheRegister) {
    EXPECT_THAT(read_exports("/mnt/v/a *(rw)\0/mnt/v/b *(rw)\r\n"sv), Pair(0, SizeIs(2)));
    EXPECT_THAT(read_exports("/mnt/v/a *(rw)\f/mnt/v/b *(rw)\x1a/mnt/v/c *(rw)"),
                Pair(0, ElementsAre("c|nfs|/mnt/v/c|*|rw|0|")))
        << "a line that keeps its end has no bracket there";
    const std::string hosts(255 - 13, 'h'); // between "/mnt/v/a " and "(rw)"
    EXPECT_THAT(read_exports("/mnt/v/a " + hosts + "(rw)\n"),
                Pair(0, ElementsAre("a|nfs|/mnt/v/a|" + hosts + "|rw|0|")));
    EXPECT_THAT(read_exports("/mnt/v/a " + hosts + "h(rw)\n"), Pair(0, IsEmpty()))
        << "its bracket stands on the next line";
}

TEST(ExportLine, IsPathHostsAndOptions) {
    EXPECT_THAT(export_line(full_share("nfs")),
                ElementsAre("/mnt/vg1/pub anna(rw,sync,no_root_squash)\n"));
}

TEST(ExportLine, OfAReadOnlyShareSaysSo) {
    share_info share = full_share("nfs");
    share.write = 0;
    EXPECT_THAT(export_line(share), ElementsAre("/mnt/vg1/pub anna(ro,sync,no_root_squash)\n"));
}

TEST(ExportLine, WithoutHostsIsForAll) {
    share_info share = full_share("nfs");
    share.users.clear();
    EXPECT_THAT(export_line(share), ElementsAre("/mnt/vg1/pub *(rw,sync,no_root_squash)\n"));
}

TEST(ExportLine, KeepsBlanksInItsHosts) {
    share_info share = full_share("nfs");
    share.users = "a  b";
    EXPECT_THAT(export_line(share), ElementsAre("/mnt/vg1/pub a  b(rw,sync,no_root_squash)\n"));
}

} // namespace
} // namespace zav::test
