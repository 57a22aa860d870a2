// SPDX-License-Identifier: MIT
// The pool record.
#include "fixtures/library.h"
#include "records/pool.h"

#include <csignal>
#include <gmock/gmock.h>

namespace zav::test {
namespace {

TEST(PoolList, CopiesOnePoolByItsWholePath) {
    pool_list source;
    pool_list target;
    pool_info& pool = source.append();
    pool.name = "/dev/data/a";
    pool.status = "available";
    pool.allsize = 7;
    pool.usedsize = 3;
    pool.vgname = "data";
    pool.device = "0";
    EXPECT_EQ(pool_list_copy_one(source, target, "a"), -126);
    EXPECT_EQ(pool_list_copy_one(source, target, "/dev/data/"), -126);
    EXPECT_EQ(target.size(), 0U);
    EXPECT_EQ(pool_list_copy_one(source, target, "/dev/data/a"), 0);
    ASSERT_EQ(target.size(), 1U);
    EXPECT_EQ(source.size(), 1U);
    testing::internal::CaptureStdout();
    pool_list_show(&target);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "/dev/data/a\tavailable\t7G\t3G\tdata\t0\n");
}

TEST(PoolList, ThatIsMissingIsReported) {
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
