// SPDX-License-Identifier: MIT
// Converting the units of the tools to those of the listings.

#include "base/units.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

TEST(Gigabytes, AreRoundedHalfUp) {
    EXPECT_EQ(kibibytes_to_gib(976759936), 932U);
    EXPECT_EQ(kibibytes_to_gib(524287), 0U);
    EXPECT_EQ(kibibytes_to_gib(524288), 1U);
    EXPECT_EQ(kibibytes_to_gib(1048576 + 524287), 1U);
    EXPECT_EQ(kibibytes_to_gib(1048576 + 524288), 2U);
}

TEST(Gigabytes, OfTheLargestNumberDoNotWrapAround) {
    EXPECT_EQ(kibibytes_to_gib(UINT64_MAX), UINT64_MAX >> 20);
}

} // namespace
} // namespace zav::test
