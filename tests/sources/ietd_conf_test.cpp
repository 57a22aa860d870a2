// SPDX-License-Identifier: MIT
// The iSCSI target daemon's file: parsed for changes, parsed for listings, written.
#include "fixtures/library.h"
#include "fixtures/share_lists.h"
#include "fixtures/share_machine.h"
#include "sources/ietd_conf.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;

class TargetScan : public testing::Test {
  protected:
    Texts scanned(const std::string& text) {
        scan_iscsi_targets(text, list);
        return users(list);
    }
    static constexpr auto target = "Target iqn.2006-05.com.nas:disk1.20240502140305\n";
    share_list list;
};

TEST_F(TargetScan, JoinsTheUsersOfATarget) {
    add(list, "disk1", "iscsi");
    EXPECT_THAT(scanned(std::string(target) +
                        "\tIncomingUser anna annasecret\n\tIncomingUser bert \n\tLun 0 Path=x\n"),
                ElementsAre("anna,bert"));
    EXPECT_EQ(list.begin()->type, "iSCSI");
}

TEST_F(TargetScan, AddsToTheUsersThatAShareHas) {
    add(list, "disk1", "iscsi").users = "carla";
    EXPECT_THAT(scanned(std::string(target) + "IncomingUser anna x\n"), ElementsAre("carla,anna"));
}

TEST_F(TargetScan, ShowsTheServiceOfAShareWithoutUsersToo) {
    add(list, "disk1", "samba,iscsi");
    EXPECT_THAT(scanned(target), ElementsAre(""));
    EXPECT_EQ(list.begin()->type, "iSCSI");
}

TEST_F(TargetScan, LeavesTheSharesOfOtherServicesAndForbiddenOnes) {
    for (const char* type : {"samba", "nfs", "ftp", ""}) {
        list.clear();
        add(list, "disk1", type);
        EXPECT_THAT(scanned(std::string(target) + "IncomingUser anna x\n"), ElementsAre(""));
        EXPECT_EQ(list.begin()->type, type);
    }
}

TEST_F(TargetScan, AffectsTheLastOfNamesakes) {
    add(list, "disk1", "iscsi");
    add(list, "disk1", "iscsi");
    add(list, "disk1", "nfs");
    EXPECT_THAT(scanned(std::string(target) + "IncomingUser anna x\n"),
                ElementsAre("", "anna", ""));
}

TEST_F(TargetScan, DropsTheUsersOfAnUnknownTarget) {
    add(list, "disk1", "iscsi");
    EXPECT_THAT(scanned("IncomingUser early x\n" + std::string(target) + "IncomingUser anna x\n" +
                        "Target iqn:other\nIncomingUser late x\n"),
                ElementsAre("anna"));
    EXPECT_THAT(names(list), ElementsAre("disk1")) << "none is added";
}

TEST_F(TargetScan, TakesTheNameAfterTheFirstColon) {
    add(list, "disk1", "iscsi");
    add(list, "x:disk1", "iscsi");
    EXPECT_THAT(scanned("Target iqn:x:disk1.2\nIncomingUser anna x\n"), ElementsAre("", "anna"));
}

using namespace std::literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

Parsed read_targets(std::string_view text) {
    return parsed(parse_targets, text);
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

TEST(TargetReader, NameStandsAfterTheFirstColon) {
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

constexpr std::time_t moment = 1714658585; // 2024-05-02 14:03:05 UTC

std::string secret_of(std::string_view user) {
    static const std::map<std::string_view, std::string> secrets = {
        {"anna", "annasecret"}, {"long", "123456789012345"}, {"twelve", "123456789012"}};
    const auto at = secrets.find(user);
    return at != secrets.end() ? at->second : "";
}

class TargetBlock : public testing::Test {
  protected:
    TargetBlock() { zone("UTC0"); }
    ~TargetBlock() override { zone("UTC0"); }

    static void zone(const char* name) {
        ::setenv("TZ", name, 1);
        ::tzset();
    }
    Lines lines() const { return target_lines(share, {moment, secret_of}); }
    std::string name_line(const char* name) {
        share.name = name;
        return lines().at(0);
    }
    // The lines between the target's name and its Lun.
    Lines users(const char* names) {
        share.users = names;
        const Lines all = lines();
        return {all.begin() + 1, all.end() - 4};
    }
    share_info share = full_share("iscsi");
};

TEST_F(TargetBlock, HasItsLinesInThisOrder) {
    EXPECT_THAT(lines(), ElementsAre("Target iqn.2006-05.com.nas:pub.20240502140305\n",
                                     "\tIncomingUser anna annasecret\n",
                                     "\tLun 0 Path=/mnt/vg1/pub,Type=fileio,IOMode=wb\n",
                                     "\tHeaderDigest\tNone,None\n", "\tDataDigest\tNone,None\n",
                                     "\tWthreads\t16\n"));
}

TEST_F(TargetBlock, HasLocalTimeInItsName) {
    zone("XYZ-2:30");
    EXPECT_EQ(name_line("disk1"), "Target iqn.2006-05.com.nas:disk1.20240502163305\n");
    zone("XYZ20");
    EXPECT_EQ(name_line("disk1"), "Target iqn.2006-05.com.nas:disk1.20240501180305\n");
}

TEST_F(TargetBlock, KeepsANameWithADot) {
    EXPECT_EQ(name_line("disk1.20200101000000"),
              "Target iqn.2006-05.com.nas:disk1.20200101000000\n");
    EXPECT_EQ(name_line("a.b"), "Target iqn.2006-05.com.nas:a.b\n");
    EXPECT_EQ(name_line("."), "Target iqn.2006-05.com.nas:.\n");
}

TEST_F(TargetBlock, HasALineForEachUser) {
    EXPECT_THAT(users("anna, twelve"), ElementsAre("\tIncomingUser anna annasecret\n",
                                                   "\tIncomingUser twelve 123456789012\n"));
    EXPECT_THAT(users("anna twelve"), testing::SizeIs(2));
    EXPECT_THAT(users(" ,anna,, ,twelve, "), testing::SizeIs(2));
}

TEST_F(TargetBlock, WithoutUsersHasNoLineForThem) {
    EXPECT_THAT(users(""), testing::IsEmpty());
    EXPECT_THAT(users(" , "), testing::IsEmpty());
}

TEST_F(TargetBlock, CutsASecretAt12Characters) {
    EXPECT_THAT(users("long"), ElementsAre("\tIncomingUser long 123456789012\n"));
}

TEST_F(TargetBlock, KeepsTheLineOfAnEmptySecret) {
    EXPECT_THAT(users("nobody"), ElementsAre("\tIncomingUser nobody \n"));
}

} // namespace
} // namespace zav::test
