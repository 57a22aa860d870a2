// SPDX-License-Identifier: MIT
#include "records/group.h"

#include <gtest/gtest.h>

namespace zav {
namespace {

TEST(GroupRecord, IsEmptyWhenNew) {
    const vginfo group;
    EXPECT_EQ(group.name, "");
    EXPECT_EQ(group.status, "");
    EXPECT_EQ(group.device, "");
    EXPECT_EQ(group.allsize.count, 0U);
    EXPECT_EQ(group.usedsize.count, 0U);
    EXPECT_TRUE(group.physical_volumes.empty());
}

TEST(GroupRecord, CutsWhatIsLonger) {
    EXPECT_EQ(vginfo().name.capacity, 32U);
    EXPECT_EQ(vginfo().status.capacity, 31U);
    EXPECT_EQ(vginfo().device.capacity, 7U);
}

TEST(PhysicalVolumeRecord, CutsWhatIsLonger) {
    EXPECT_EQ(pvinfo().name.capacity, 31U);
    EXPECT_EQ(pvinfo().allocatable.capacity, 31U);
    EXPECT_EQ(pvinfo().device.capacity, 7U);
    EXPECT_EQ(pvinfo().vgname.capacity, 31U);
}

} // namespace
} // namespace zav
