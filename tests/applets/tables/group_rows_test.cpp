// SPDX-License-Identifier: MIT
// The rows of groups and of their physical volumes.
#include "applets/tables.h"

#include <gmock/gmock.h>

namespace zav {
namespace {

template <class Show>
std::string shown_by(Show show) {
    testing::internal::CaptureStdout();
    show();
    return testing::internal::GetCapturedStdout();
}

vginfo& add_group(vginfo_list& list) {
    vginfo& group = list.append();
    group.name = "data";
    group.status = "exported/not resizable";
    group.device = "0";
    group.allsize = {1907};
    group.usedsize = {12};
    return group;
}

pvinfo& add_volume(vginfo& group) {
    pvinfo& volume = group.physical_volumes.append();
    volume.name = "md0";
    volume.allocatable = "Allocatable:yes ";
    volume.device = "0";
    volume.size = {932};
    volume.used = {7};
    volume.vgname = "data";
    return volume;
}

TEST(GroupRow, HasFiveFieldsSeparatedByTabs) {
    vginfo_list list;
    const vginfo& group = add_group(list);
    EXPECT_EQ(shown_by([&group] { vginfo_display(group); }),
              "data\texported/not resizable\t0\t1907G\t12G\n");
}

TEST(GroupRow, IsFollowedByAnIndentedRowForEachPhysicalVolume) {
    vginfo_list list;
    vginfo& group = add_group(list);
    add_volume(group);
    add_volume(group).name = "3";
    EXPECT_EQ(shown_by([&group] { vginfo_display(group); }),
              "data\texported/not resizable\t0\t1907G\t12G\n"
              "\tmd0\tAllocatable:yes \t0\t932G\t7G\tdata\n"
              "\t3\tAllocatable:yes \t0\t932G\t7G\tdata\n");
}

TEST(GroupRow, ShowsNoWordForWhatIsEmpty) {
    const vginfo group;
    EXPECT_EQ(shown_by([&group] { vginfo_display(group); }), "\t\t\t0G\t0G\n");
}

TEST(GroupRow, PrintsSizesWith64Bits) {
    vginfo group;
    group.allsize = {1ULL << 40};
    group.usedsize = {UINT64_MAX};
    EXPECT_EQ(shown_by([&group] { vginfo_display(group); }), "\t\t\t1099511627776G\t-1G\n");
}

TEST(PhysicalVolumeRow, PrintsSizesWithSigned32Bits) {
    vginfo group;
    pvinfo& volume = group.physical_volumes.append();
    volume.size = {(1ULL << 40) + 5};
    volume.used = {0x80000000ULL};
    EXPECT_EQ(shown_by([&group] { vginfo_display(group); }),
              "\t\t\t0G\t0G\n\t\t\t\t5G\t-2147483648G\t\n");
}

TEST(GroupList, ShowsEveryGroupInOrder) {
    vginfo_list list;
    add_volume(add_group(list));
    list.append().name = "second";
    EXPECT_EQ(shown_by([&list] { vginfo_list_display(&list); }),
              "data\texported/not resizable\t0\t1907G\t12G\n"
              "\tmd0\tAllocatable:yes \t0\t932G\t7G\tdata\n"
              "second\t\t\t0G\t0G\n");
}

TEST(GroupList, ShowsNothingWhenEmpty) {
    const vginfo_list list;
    EXPECT_EQ(shown_by([&list] { vginfo_list_display(&list); }), "");
}

TEST(GroupList, SaysThatAMissingListCannotBeShown) {
    EXPECT_EQ(shown_by([] { vginfo_list_display(nullptr); }), "Can't show NULL list\n");
}

TEST(GroupList, IsEmptyAfterDestroying) {
    vginfo_list list;
    add_volume(add_group(list));
    EXPECT_EQ(shown_by([&list] { EXPECT_EQ(vginfo_list_destroy(&list), 0); }), "");
    EXPECT_TRUE(list.empty());
}

TEST(GroupList, SaysThatAMissingListCannotBeDestroyed) {
    EXPECT_EQ(shown_by([] { EXPECT_EQ(vginfo_list_destroy(nullptr), -1); }),
              "Can't destory NULL list\n");
}

} // namespace
} // namespace zav
