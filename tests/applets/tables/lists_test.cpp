// SPDX-License-Identifier: MIT
// Lists that are shown row by row, and lists that are emptied.
#include "applets/tables.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace zav::test {
namespace {

// Counts those that are alive.
struct Disk {
    Disk() { ++alive; }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;
    ~Disk() { --alive; }

    static inline int alive = 0;
    int channel = 0;
    ListLink link;
};

using DiskList = RecordList<Disk>;

void fill(DiskList& list, const std::vector<int>& channels) {
    for (const int channel : channels) {
        list.append().channel = channel;
    }
}

TEST(ShowList, ShowsEachRecordInTurn) {
    DiskList list;
    fill(list, {4, 5});
    std::string shown;
    show_list(&list, [&](const Disk& disk) { shown += std::to_string(disk.channel) + ";"; });
    EXPECT_EQ(shown, "4;5;");
}

TEST(ShowList, OfAnEmptyListPrintsNothing) {
    DiskList list;
    testing::internal::CaptureStdout();
    show_list(&list, [](const Disk&) { ADD_FAILURE(); });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(ShowList, OfNullSaysSo) {
    testing::internal::CaptureStdout();
    show_list(static_cast<DiskList*>(nullptr), [](const Disk&) { ADD_FAILURE(); });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can't show NULL list\n");
}

TEST(ShowList, OfNullMayHaveATextOfItsOwn) {
    testing::internal::CaptureStdout();
    show_list(
        static_cast<DiskList*>(nullptr), [](const Disk&) {}, "Can't show NULL disks");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can't show NULL disks\n");
}

TEST(DestroyList, EmptiesTheListAndReturns0) {
    DiskList list;
    fill(list, {1, 2});
    EXPECT_EQ(destroy_list(&list), 0);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(Disk::alive, 0);
}

TEST(DestroyList, OfAnEmptyListReturns0AndPrintsNothing) {
    DiskList list;
    testing::internal::CaptureStdout();
    EXPECT_EQ(destroy_list(&list), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(DestroyList, OfNullSaysSoAndReturnsMinus1) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(destroy_list(static_cast<DiskList*>(nullptr)), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can't destory NULL list\n");
}

} // namespace
} // namespace zav::test
