// SPDX-License-Identifier: MIT
// Processor use.
#include "fixtures/status_root.h"
#include "sources/vmstat.h"

#include <csignal>
#include <gtest/gtest.h>
#include <optional>

namespace zav::test {
namespace {

using testing::FloatEq;
using testing::Optional;

constexpr char vmstat_head[] =
    "procs -----------memory---------- ---swap-- -----io---- -system-- ------cpu-----\n"
    " r  b   swpd   free   buff  cache   si   so    bi    bo   in   cs us sy id wa st\n";

std::string vmstat(const std::string& figures) {
    return vmstat_head + figures + "\n";
}

TEST(ProcessorInUse, IsWhatIsNotIdle) {
    EXPECT_THAT(processor_in_use(vmstat("0 1 2 3 4 5 6 7 8 9 10 11 12 13 70 15 16")),
                Optional(FloatEq(30.0F)));
}

TEST(ProcessorInUse, OfARealSystem) {
    const std::string output =
        std::string(vmstat_head) +
        " 1  0      0 916436      0  30356    0    0   451     0  332  352 24 74  2  0  0\n";
    EXPECT_THAT(processor_in_use(output), Optional(FloatEq(98.0F)));
}

TEST(ProcessorInUse, TakesTheFirstLineOfFigures) {
    const std::string second = "0 0 0 0 0 0 0 0 0 0 0 0 0 0 10 0 0";
    EXPECT_THAT(processor_in_use(vmstat("0 0 0 0 0 0 0 0 0 0 0 0 0 0 99 0 0\n" + second)),
                Optional(FloatEq(1.0F)));
}

TEST(ProcessorInUse, FieldsAreSplitAtTabsToo) {
    EXPECT_THAT(processor_in_use(vmstat("0\t0\t0\t0\t0\t0\t0\t0\t0\t0\t0\t0\t0\t \t0\t40\t0")),
                Optional(FloatEq(60.0F)));
}

TEST(ProcessorInUse, EmptyLinesAreNotCounted) {
    EXPECT_THAT(processor_in_use("\nprocs\n\n r b\n \n0 0 0 0 0 0 0 0 0 0 0 0 0 0 25\n"),
                Optional(FloatEq(75.0F)));
}

TEST(ProcessorInUse, NeedsALineOfFigures) {
    EXPECT_EQ(processor_in_use(""), std::nullopt);
    EXPECT_EQ(processor_in_use(vmstat_head), std::nullopt);
}

TEST(ProcessorInUse, NeedsFifteenFigures) {
    EXPECT_EQ(processor_in_use(vmstat("0 0 0 0 0 0 0 0 0 0 0 0 0 0")), std::nullopt);
}

TEST(ProcessorInUse, NeedsANumber) {
    EXPECT_EQ(processor_in_use(vmstat("0 0 0 0 0 0 0 0 0 0 0 0 0 0 idle 0 0")), std::nullopt);
}

} // namespace
} // namespace zav::test
