// SPDX-License-Identifier: MIT
// The pool record.
#include "fixtures/library.h"
#include "records/pool.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

TEST(PoolList, CopiesOnePoolByItsWholePath) {
    pool_list source;
    pool_list target;
    pool_info& pool = source.append();
    pool.name = "/dev/data/a";
    pool.status = "available";
    pool.allsize = {7};
    pool.usedsize = {3};
    pool.vgname = "data";
    pool.device = "0";
    EXPECT_EQ(pool_list_copy_one(source, target, "a"), -126);
    EXPECT_EQ(pool_list_copy_one(source, target, "/dev/data/"), -126);
    EXPECT_EQ(target.size(), 0U);
    EXPECT_EQ(pool_list_copy_one(source, target, "/dev/data/a"), 0);
    ASSERT_EQ(target.size(), 1U);
    EXPECT_EQ(source.size(), 1U);
    const pool_info& copy = *target.begin();
    EXPECT_EQ(copy.name, "/dev/data/a");
    EXPECT_EQ(copy.status, "available");
    EXPECT_EQ(copy.allsize.count, 7U);
    EXPECT_EQ(copy.usedsize.count, 3U);
    EXPECT_EQ(copy.vgname, "data");
    EXPECT_EQ(copy.device, "0");
}

} // namespace
} // namespace zav::test
