// SPDX-License-Identifier: MIT
// The readers of exports, of iSCSI targets and of the files of users.
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
using testing::SizeIs;

constexpr int malformed = -14;

using Parsed = std::pair<int, std::vector<std::string>>;

Parsed read_exports(std::string_view text) {
    share_list list;
    const int result = parse_exports(text, list);
    return {result, described(list)};
}

Parsed read_targets(std::string_view text) {
    share_list list;
    const int result = parse_targets(text, list);
    return {result, described(list)};
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

TEST(ExportsReader, FieldsHoldSoMuch) {
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

constexpr auto target_block =
    "Target iqn.2006-05.com.nas:disk1.20240502140305\n\tIncomingUser anna secret\n"
    "\tIncomingUser bert \n\tLun 0 Path=/dev/vg1/disk1,Type=fileio,IOMode=wb\n"
    "\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n\tWthreads\t16\n";

TEST(TargetReader, ReadsABlock) {
    EXPECT_THAT(read_targets(target_block),
                Pair(0, ElementsAre("disk1.20240502140305|iscsi|/dev/vg1/disk1|anna,bert|rw|0|")));
}

TEST(TargetReader, ReadsBlocksInTheirOrder) {
    EXPECT_THAT(read_targets("Target iqn:b\nLun 0 Path=/b\nTarget iqn:a\nTarget iqn:c\n"),
                Pair(0, ElementsAre("b|iscsi|/b||rw|0|", "a|iscsi|||rw|0|", "c|iscsi|||rw|0|")));
    EXPECT_THAT(read_targets(""), Pair(0, IsEmpty()));
}

TEST(TargetReader, NameStandsBehindTheFirstColon) {
    EXPECT_THAT(read_targets("Target iqn.2006-05.x:a:b more\n"),
                Pair(0, ElementsAre("a:b|iscsi|||rw|0|")));
    EXPECT_THAT(read_targets("Target iqn-without\nTargets x:y\nTarget \n"),
                Pair(0, ElementsAre("|iscsi|||rw|0|", "y|iscsi|||rw|0|")))
        << "the last line has 6 characters";
}

TEST(TargetReader, NameHas63Characters) {
    const std::string name(63, 'n');
    EXPECT_THAT(read_targets("Target iqn:" + name + "more\n"),
                Pair(0, ElementsAre(name + "|iscsi|||rw|0|")));
}

TEST(TargetReader, PassesOverLinesUnder8Characters) {
    EXPECT_THAT(read_targets("Target:\n"), Pair(0, IsEmpty()));
    EXPECT_THAT(read_targets("Target :\n"), Pair(0, ElementsAre("|iscsi|||rw|0|")));
    EXPECT_THAT(read_targets("Target iqn:a\nLun 0 =\n Lun 0 =x\n"),
                Pair(0, ElementsAre("a|iscsi|x||rw|0|")));
}

TEST(TargetReader, PassesOverWhatItDoesNotKnow) {
    EXPECT_THAT(read_targets("# a comment\nISNSServer 10.0.0.1\nTarget iqn:a\n== [ ( a = b = c\n"
                             "\tAlias something\n\tOutgoingUser x y\n\ttarget iqn:b\n"
                             "\tincominguser x y\n\tlun 0 Path=/x\n"),
                Pair(0, ElementsAre("a|iscsi|||rw|0|")));
}

TEST(TargetReader, PassesOverWhatStandsBeforeTheFirstTarget) {
    EXPECT_THAT(read_targets("IncomingUser discovery secret\nLun 0 Path=/x\nTarget iqn:a\n"),
                Pair(0, ElementsAre("a|iscsi|||rw|0|")));
}

TEST(TargetReader, UsersAreJoinedByCommas) {
    EXPECT_THAT(read_targets("Target iqn:a\nIncomingUser x 1\nIncomingUser y 2\nIncomingUser z\n"),
                Pair(0, ElementsAre("a|iscsi||x,y,z|rw|0|")));
}

TEST(TargetReader, PathIsTheSecondFieldOfItsLun) {
    EXPECT_THAT(
        read_targets("Target iqn:a\nLun 0 Path=/a,Type=fileio\nTarget iqn:b\nLun 0 Path=/b\n"
                     "Target iqn:c\nLun 0 nothing\nTarget iqn:d\nLun 0 Path=/d=e,Type=x y\n"),
        Pair(0, ElementsAre("a|iscsi|/a||rw|0|", "b|iscsi|/b||rw|0|", "c|iscsi|||rw|0|",
                            "d|iscsi|/d=e||rw|0|")));
}

TEST(TargetReader, LinesEndAsInTheRegister) {
    EXPECT_THAT(read_targets("Target iqn:a\0\t Lun 0 Path=/a  \r\nTarget iqn:b"sv),
                Pair(0, ElementsAre("a|iscsi|/a||rw|0|", "b|iscsi|||rw|0|")));
    EXPECT_THAT(read_targets("Target iqn:a\fIncomingUser x\x1aTarget iqn:b"),
                Pair(0, ElementsAre("a\f|iscsi||x\x1a|rw|0|", "b|iscsi|||rw|0|")));
    EXPECT_THAT(read_targets("Target " + std::string(248, 'x') + "Target iqn:b\n"),
                Pair(0, ElementsAre("|iscsi|||rw|0|", "b|iscsi|||rw|0|")));
}

TEST(Secret, IsTheLastFieldOfItsUsersLine) {
    const char* file = "anna|1001|annasecret\nbert|x|y|z|bertsecret\n";
    EXPECT_EQ(secret_of_user(file, "anna"), "annasecret");
    EXPECT_EQ(secret_of_user(file, "bert"), "bertsecret");
}

TEST(Secret, IsEmptyForAnUnknownUser) {
    EXPECT_EQ(secret_of_user("anna|1|s\n", "ann"), "");
    EXPECT_EQ(secret_of_user("anna|1|s\n", "annabel"), "");
    EXPECT_EQ(secret_of_user("anna|1|s\n", "Anna"), "");
    EXPECT_EQ(secret_of_user("", "anna"), "");
}

TEST(Secret, IsEmptyWithoutAThirdField) {
    EXPECT_EQ(secret_of_user("anna|secret\nanna|1|later\n", "anna"), "");
    EXPECT_EQ(secret_of_user("anna\nanna|1|later\n", "anna"), "");
    EXPECT_EQ(secret_of_user("anna|1|\n", "anna"), "");
}

TEST(Secret, OfTheFirstLineCounts) {
    EXPECT_EQ(secret_of_user("bert|1|b\nanna|1|first\nanna|1|second\n", "anna"), "first");
}

TEST(Secret, IsTrimmedWithItsLine) {
    EXPECT_EQ(secret_of_user("\n  \n \tanna|1| a b \r\n", "anna"), " a b");
    EXPECT_EQ(secret_of_user("anna|1|s", "anna"), "s");
    EXPECT_EQ(secret_of_user("anna |1|s\n", "anna"), "") << "the name itself is not";
}

TEST(Secret, IsReadOfAtMost255Characters) {
    const std::string secret(255 - 7, 's');
    EXPECT_EQ(secret_of_user("anna|1|" + secret + "more\n", "anna"), secret);
}

TEST(UserFile, HasTheUserWhoseNameStandsInFront) {
    const char* file = "anna|1001|s\n  bert|1|\ncarla\n";
    for (const char* user : {"anna", "bert", "carla"}) {
        EXPECT_TRUE(has_user(file, "|", user)) << user;
    }
    for (const char* user : {"ann", "annabel", "ANNA", "1001", "s", "", "anna|1001"}) {
        EXPECT_FALSE(has_user(file, "|", user)) << user;
    }
}

TEST(UserFile, ItsSeparatorIsGiven) {
    EXPECT_TRUE(has_user("root:x:0\nanna:x:1\n", ":", "anna"));
    EXPECT_FALSE(has_user("root:x:0\nanna:x:1\n", "|", "anna"));
}

TEST(UserFile, HasNoUsersInCommentsAndEmptyLines) {
    EXPECT_FALSE(has_user("#anna|1|s\n  # bert|1|s\n\n", "|", "#anna"));
    EXPECT_FALSE(has_user("#anna|1|s\n\n", "|", "anna"));
    EXPECT_FALSE(has_user("\n\n", "|", ""));
}

} // namespace
} // namespace zav::test
