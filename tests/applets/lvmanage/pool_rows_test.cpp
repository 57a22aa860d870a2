// SPDX-License-Identifier: MIT
// The rows of the pool table.
#include "applets/lvmanage.h"

#include <gtest/gtest.h>
#include <string>

namespace zav::test {
namespace {

std::string shown(const pool_info& pool) {
    testing::internal::CaptureStdout();
    pool_show(pool);
    return testing::internal::GetCapturedStdout();
}

TEST(PoolRow, HasSixColumns) {
    pool_info pool;
    pool.name = "/dev/data/a";
    pool.status = "available";
    pool.allsize = {7};
    pool.usedsize = {3};
    pool.vgname = "data";
    pool.device = "0";
    EXPECT_EQ(shown(pool), "/dev/data/a\tavailable\t7G\t3G\tdata\t0\n");
}

TEST(PoolRow, ShowsAMissingDeviceAsNotAvailableButLeavesTheRecord) {
    const pool_info pool;
    EXPECT_EQ(shown(pool), "\t\t0G\t0G\t\tN.A.\n");
    EXPECT_EQ(pool.device, "");
}

TEST(PoolList, ThatIsMissingIsSaid) {
    testing::internal::CaptureStdout();
    pool_list_show(nullptr);
    EXPECT_EQ(pool_list_destroy(nullptr), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Can't show NULL list\nCan't destory NULL list\n");
    pool_list list;
    list.append();
    EXPECT_EQ(pool_list_destroy(&list), 0);
    EXPECT_EQ(list.size(), 0U);
}

} // namespace
} // namespace zav::test
