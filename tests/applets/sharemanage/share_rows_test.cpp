// SPDX-License-Identifier: MIT
// The rows of the share table.
#include "applets/sharemanage.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

std::string shown(const share_info& share) {
    testing::internal::CaptureStdout();
    share_show(share);
    return testing::internal::GetCapturedStdout();
}

TEST(ShareRow, HasNineColumns) {
    share_info share;
    share.name = "pub";
    share.type = "nfs";
    share.comment = "old comment";
    share.path = "/mnt/data/pub";
    share.device = "md0";
    share.users = "anna";
    share.size = {5};
    share.usedsize = {1024};
    EXPECT_EQ(shown(share), "pub\tnfs\t/mnt/data/pub\tanna\trw\t5GB\t10.00GB\told comment\tmd0\n");
}

TEST(ShareRow, OfAnEmptyShareHasPlaceHoldersThatTheRecordDoesNotGet) {
    share_info share;
    share.device.clear();
    EXPECT_EQ(shown(share), "\t\t\t*\trw\t0GB\t0.00GB\t(Null)\tN.A.\n");
    EXPECT_EQ(share.device, "");
    EXPECT_EQ(share.users, "");
    EXPECT_EQ(share.comment, "");
}

TEST(ShareRow, IsReadOnlyOnlyForZero) {
    share_info share;
    share.write = 0;
    EXPECT_EQ(shown(share), "\t\t\t*\tro\t0GB\t0.00GB\t(Null)\tN.A.\n");
    share.write = 2;
    EXPECT_EQ(shown(share), "\t\t\t*\trw\t0GB\t0.00GB\t(Null)\tN.A.\n");
}

TEST(ShareRow, ShowsUseInTenthsOfAGigabyteOf1024) {
    for (const auto& [used, text] : std::vector<std::pair<std::int64_t, std::string>>{
             {0, "0.00GB"}, {1, "0.01GB"}, {53, "0.52GB"}, {100, "0.98GB"}, {-1, "-0.01GB"}}) {
        share_info share;
        share.size = {3000000000};
        share.usedsize = {used};
        EXPECT_EQ(shown(share), "\t\t\t*\trw\t3000000000GB\t" + text + "\t(Null)\tN.A.\n");
    }
}

TEST(ShareRow, WithoutASizeShowsNoUseButLeavesIt) {
    share_info share;
    share.usedsize = {-1};
    EXPECT_EQ(shown(share), "\t\t\t*\trw\t0GB\t0.00GB\t(Null)\tN.A.\n");
    EXPECT_EQ(share.usedsize.count, -1);
}

TEST(ShareTable, IsItsHeadAndARowForEachShare) {
    share_list list;
    list.append().name = "a";
    list.append().name = "b";
    testing::internal::CaptureStdout();
    share_table_show(list);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "sharename\ttype\tpath\tuser\taccess\tallsize\tusedsize\tcomment\tdevice\n"
              "************************************************\n"
              "a\t\t\t*\trw\t0GB\t0.00GB\t(Null)\tN.A.\n"
              "b\t\t\t*\trw\t0GB\t0.00GB\t(Null)\tN.A.\n");
}

TEST(ShareTable, OfNoSharesIsItsHead) {
    const share_list list;
    testing::internal::CaptureStdout();
    share_table_show(list);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::EndsWith("\tdevice\n" + std::string(48, '*') + "\n"));
}

} // namespace
} // namespace zav::test
