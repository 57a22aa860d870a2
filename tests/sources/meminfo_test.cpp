// SPDX-License-Identifier: MIT
// Memory use.
#include "sources/meminfo.h"

#include <csignal>
#include <gtest/gtest.h>
#include <optional>

namespace zav::test {
namespace {

using testing::FloatEq;
using testing::Optional;

std::string meminfo(const std::string& total, const std::string& free, const std::string& buffers,
                    const std::string& cached) {
    return "MemTotal:  " + total + " kB\nMemFree:  " + free + " kB\nBuffers:  " + buffers +
           " kB\nCached:  " + cached + " kB\n";
}

TEST(MemoryInUse, IsWhatIsNeitherFreeNorBuffersNorCache) {
    EXPECT_THAT(memory_in_use(meminfo("1000", "500", "100", "150")), Optional(FloatEq(25.0F)));
}

TEST(MemoryInUse, OfARealSystem) {
    // 488244 - 377192 - 3304 - 21868 = 85880 of 488244 kB
    EXPECT_THAT(memory_in_use(recorded("meminfo").text), Optional(FloatEq(17.589566F)));
}

TEST(MemoryInUse, IsZeroWhenAllThatIsUsedIsCache) {
    EXPECT_THAT(memory_in_use(meminfo("1000", "500", "100", "400")), Optional(0.0F));
}

TEST(MemoryInUse, IsZeroForNoMemoryAtAll) {
    EXPECT_THAT(memory_in_use(meminfo("0", "0", "0", "7")), Optional(0.0F));
}

TEST(MemoryInUse, TakesTheNumberAfterTheLastColon) {
    EXPECT_THAT(memory_in_use("MemTotal: 1: 200 kB\nMemFree: 100\nBuffers: 0\nCached: 0\n"),
                Optional(FloatEq(50.0F)));
}

TEST(MemoryInUse, OfTerabytesKeepsItsPrecision) {
    EXPECT_THAT(memory_in_use(meminfo("8589934592", "4294967296", "0", "2147483648")),
                Optional(FloatEq(25.0F)));
}

TEST(MemoryInUse, DoesNotTakeSimilarKeys) {
    // Keys such as SwapCached and MemAvailable come before and after the four keys.
    EXPECT_THAT(memory_in_use("SwapCached: 9 kB\nMemAvailable: 9 kB\nmemtotal: 9\n" +
                              meminfo("100", "50", "0", "0") + "Active(file): 9 kB\n"),
                Optional(FloatEq(50.0F)));
}

TEST(MemoryInUse, NeedsAllFourFigures) {
    const std::string whole = meminfo("1000", "500", "100", "150");
    for (const std::string key : {"MemTotal", "MemFree", "Buffers", "Cached"}) {
        std::string text = whole;
        text.replace(text.find(key), key.size(), "Other");
        EXPECT_EQ(memory_in_use(text), std::nullopt) << key;
    }
    EXPECT_EQ(memory_in_use(""), std::nullopt);
}

TEST(MemoryInUse, KeyWithoutAColonIsMissing) {
    EXPECT_EQ(memory_in_use("MemTotal\nMemFree: 1\nBuffers: 1\nCached: 1\n"), std::nullopt);
}

} // namespace
} // namespace zav::test
