// SPDX-License-Identifier: MIT
// Kernel releases.
#include "sources/kernel_release.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

TEST(KernelVersion, IsMillionsThousandsAndOnes) {
    EXPECT_EQ(kernel_version("2.6.29"), 2006029);
    EXPECT_EQ(kernel_version("2.6.30"), 2006030);
    EXPECT_EQ(kernel_version("6.18.44"), 6018044);
    EXPECT_EQ(kernel_version("3.0.0"), 3000000);
}

TEST(KernelVersion, EndsAfterThreeNumbers) {
    EXPECT_EQ(kernel_version("2.6.30-rc1"), 2006030);
    EXPECT_EQ(kernel_version("2.6.32.68"), 2006032);
    EXPECT_EQ(kernel_version("5.15.0-generic"), 5015000);
    EXPECT_EQ(kernel_version("6.1.0+"), 6001000);
}

TEST(KernelVersion, IsMinusOneForAnyOtherForm) {
    for (const char* release : {"", "6", "6.1", "6.1.", "6.1-rc1", "6.1-rc1.2", "garbage", ".6.1",
                                "6..1", "v2.6.30", "x.y.z", "2,6,30"}) {
        EXPECT_EQ(kernel_version(release), -1) << release;
    }
}

TEST(KernelVersion, SurvivesNumbersThatDoNotFit) {
    EXPECT_GT(kernel_version("99999999999999999999.99999999999999999999.99999999999999999999"),
              2006030);
}

} // namespace
} // namespace zav::test
