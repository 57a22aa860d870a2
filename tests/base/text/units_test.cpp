// SPDX-License-Identifier: MIT
// Converting the units of the tools to those of the listings.

#include "base/units.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

TEST(Gigabytes, AreRoundedHalfUp) {
    EXPECT_EQ(rounded<Gib>(Kib{976759936}).count, 932U);
    EXPECT_EQ(rounded<Gib>(Kib{524287}).count, 0U);
    EXPECT_EQ(rounded<Gib>(Kib{524288}).count, 1U);
    EXPECT_EQ(rounded<Gib>(Kib{1048576 + 524287}).count, 1U);
    EXPECT_EQ(rounded<Gib>(Kib{1048576 + 524288}).count, 2U);
}

TEST(Gigabytes, OfTheLargestNumberDoNotWrapAround) {
    EXPECT_EQ(rounded<Gib>(Kib{UINT64_MAX}).count, UINT64_MAX >> 20);
}

} // namespace
} // namespace zav::test
