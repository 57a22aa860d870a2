// SPDX-License-Identifier: MIT
// The current mounts.
#include "base/lists.h"
#include "fixtures/library.h"
#include "fixtures/pool_machine.h"
#include "inventory/mounts.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Calls that read /proc/mounts of a machine.
class Mounts : public testing::Test {
  protected:
    Result is_mounted(const std::string& directory) {
        return machine.operation([&] { return fs_is_mounted(directory); });
    }
    PoolMachine machine;
};

TEST_F(Mounts, AreOnExactlyTheirDirectory) {
    machine.mounts({"/dev/data/a /mnt/data/a", "/dev/data/b /mnt/b\\040c"});
    EXPECT_EQ(is_mounted("/mnt/data/a").returned, 1);
    EXPECT_EQ(is_mounted("/mnt/b c").returned, 1);
    for (const char* directory :
         {"/mnt/data", "/mnt/data/a/", "/mnt/data/aa", "a", "/dev/data/a", "/mnt/b\\040c", ""}) {
        EXPECT_EQ(is_mounted(directory).returned, 0) << directory;
    }
}

TEST_F(Mounts, AreNoneWithoutTheTable) {
    machine.remove("/proc/mounts");
    const Result result = is_mounted("/proc");
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    machine.call([] {
        EXPECT_EQ(read_mounts(), std::nullopt);
        EXPECT_THAT(mounted_directories(), IsEmpty());
        return 0;
    });
}

TEST_F(Mounts, OfAnEmptyTableAreNone) {
    machine.file("/proc/mounts", "");
    machine.call([] {
        EXPECT_THAT(read_mounts().value(), IsEmpty());
        return 0;
    });
}

TEST_F(Mounts, AreKnownByTheirDirectories) {
    machine.mounts({"/dev/data/a /mnt/data/a", "/dev/data/b /mnt/data/a"});
    machine.call([] {
        EXPECT_THAT(mounted_directories(), UnorderedElementsAre("/proc", "/mnt/data/a"));
        return 0;
    });
}

TEST_F(Mounts, ThatCannotBeReadArePrintedWhereThatMatters) {
    const auto read = [] { return read_mounts_or_print(printed()) ? 0 : -1; };
    const Result good = machine.call(read);
    EXPECT_EQ(good.returned, 0);
    EXPECT_EQ(good.out, "");
    machine.remove("/proc/mounts");
    const Result bad = machine.call(read);
    EXPECT_EQ(bad.returned, -1);
    EXPECT_EQ(bad.out, "setmntent '/proc/mounts' fail\n");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

} // namespace
} // namespace zav::test
