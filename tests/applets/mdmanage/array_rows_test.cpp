// SPDX-License-Identifier: MIT
// The rows of the array table.
#include "applets/mdmanage.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

template <class Show>
std::string shown_by(Show show) {
    CaptureStdout();
    show();
    return GetCapturedStdout();
}

std::string row_of(const mdinfo& array) {
    return shown_by([&array] { mdinfo_display(array); });
}

void fill(mdinfo& array) {
    array.name = "md1";
    array.type = "raid5";
    array.status = "clean, degraded, recovering";
    array.progress = "12.6%(12.00MB/s)";
    array.allsize = {932};
    array.usedsize = {7};
    array.members = "1,2(F),3(S)";
    array.spare = "3";
    array.device = "0";
}

TEST(ArrayRow, HasNineFieldsSeparatedByTabs) {
    mdinfo array;
    fill(array);
    EXPECT_EQ(row_of(array), "md1\traid5\tclean, degraded, recovering\t12.6%(12.00MB/s)\t0\t"
                             "932GB\t7GB\t1,2(F),3(S)\t3\n");
}

TEST(ArrayRow, SaysWhatHasNoValue) {
    mdinfo array;
    array.name = "md1";
    EXPECT_EQ(row_of(array), "md1\t\tinactive\t100%\tN.A.\t0GB\t0GB\t\tNone\n");
}

TEST(ArrayRow, LeavesTheRecordWithoutTheWordsForMissingValues) {
    const mdinfo array;
    row_of(array);
    EXPECT_EQ(array.progress, "");
    EXPECT_EQ(array.device, "");
    EXPECT_EQ(array.spare, "");
}

TEST(ArrayRow, CallsALinearArrayJbodButLeavesTheRecord) {
    for (const char* type : {"linear", "Linear", "LINEAR"}) {
        mdinfo array;
        array.type = type;
        EXPECT_THAT(row_of(array), testing::StartsWith("\tJBOD\tinactive"));
        EXPECT_EQ(array.type, type);
    }
}

TEST(ArrayRow, PrintsASizeBeyondTheSignedRangeAsNegative) {
    mdinfo array;
    array.allsize = {UINT64_MAX};
    EXPECT_THAT(row_of(array), testing::HasSubstr("\t-1GB\t0GB\t"));
}

TEST(ArrayRow, TakesAPercentSignInATextAsIs) {
    mdinfo array;
    array.name = "%s%n";
    EXPECT_THAT(row_of(array), testing::StartsWith("%s%n\t"));
}

TEST(ArrayList, ShowsItsRowsInOrder) {
    mdinfo_list list;
    list.append().name = "md1";
    list.append().name = "md0";
    EXPECT_EQ(shown_by([&list] { mdinfo_list_display(&list); }),
              "md1\t\tinactive\t100%\tN.A.\t0GB\t0GB\t\tNone\n"
              "md0\t\tinactive\t100%\tN.A.\t0GB\t0GB\t\tNone\n");
}

TEST(ArrayList, ShowsNothingWhenEmpty) {
    mdinfo_list list;
    EXPECT_EQ(shown_by([&list] { mdinfo_list_display(&list); }), "");
}

TEST(ArrayList, SaysThatAMissingListCannotBeShown) {
    EXPECT_EQ(shown_by([] { mdinfo_list_display(nullptr); }), "Can't show NULL list\n");
}

TEST(ArrayList, IsEmptyAfterDestroying) {
    mdinfo_list list;
    list.append();
    list.append();
    EXPECT_EQ(shown_by([&list] { EXPECT_EQ(mdinfo_list_destroy(&list), 0); }), "");
    EXPECT_TRUE(list.empty());
}

TEST(ArrayList, SaysThatAMissingListCannotBeDestroyed) {
    EXPECT_EQ(shown_by([] { EXPECT_EQ(mdinfo_list_destroy(nullptr), -1); }),
              "Can't destory NULL list\n");
}

} // namespace
} // namespace zav::test
