// SPDX-License-Identifier: MIT
#include "records/array.h"

#include <gmock/gmock.h>

namespace zav {
namespace {

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

TEST(ArrayRecord, IsEmptyAndInactiveWhenNew) {
    const mdinfo array;
    EXPECT_EQ(array.name, "");
    EXPECT_EQ(array.type, "");
    EXPECT_EQ(array.status, "inactive");
    EXPECT_EQ(array.progress, "");
    EXPECT_EQ(array.allsize.count, 0U);
    EXPECT_EQ(array.usedsize.count, 0U);
    EXPECT_EQ(array.members, "");
    EXPECT_EQ(array.spare, "");
    EXPECT_EQ(array.device, "");
}

TEST(ArrayRecord, InitMakesAFilledRecordAsNew) {
    mdinfo array;
    fill(array);
    EXPECT_EQ(mdinfo_init(array), 0);
    EXPECT_EQ(array.name, "");
    EXPECT_EQ(array.type, "");
    EXPECT_EQ(array.status, "inactive");
    EXPECT_EQ(array.progress, "");
    EXPECT_EQ(array.allsize.count, 0U);
    EXPECT_EQ(array.usedsize.count, 0U);
    EXPECT_EQ(array.members, "");
    EXPECT_EQ(array.spare, "");
    EXPECT_EQ(array.device, "");
}

TEST(ArrayRecord, FieldsCutWhatIsLonger) {
    EXPECT_EQ(mdinfo().name.capacity, 31U);
    EXPECT_EQ(mdinfo().type.capacity, 7U);
    EXPECT_EQ(mdinfo().status.capacity, 47U);
    EXPECT_EQ(mdinfo().progress.capacity, 31U);
    EXPECT_EQ(mdinfo().members.capacity, 127U);
    EXPECT_EQ(mdinfo().spare.capacity, 31U);
    EXPECT_EQ(mdinfo().device.capacity, 7U);
}

TEST(ArrayList, FindsAnArrayByItsWholeName) {
    mdinfo_list list;
    list.append().name = "md10";
    mdinfo& second = list.append();
    second.name = "md1";
    EXPECT_EQ(find_array(list, "md1"), &second);
    EXPECT_EQ(find_array(list, "md"), nullptr);
    EXPECT_EQ(find_array(list, "MD1"), nullptr);
}

TEST(ArrayList, FindsTheFirstOfTwoArraysOfOneName) {
    mdinfo_list list;
    mdinfo& first = list.append();
    first.name = "md1";
    list.append().name = "md1";
    EXPECT_EQ(find_array(list, "md1"), &first);
}

TEST(AppendItem, PutsACommaBetweenItems) {
    std::string list;
    append_item(list, "1");
    EXPECT_EQ(list, "1");
    append_item(list, "2");
    EXPECT_EQ(list, "1,2");
}

} // namespace
} // namespace zav
