// SPDX-License-Identifier: MIT
#include "private_root.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

namespace zav::test {
namespace {

using testing::ElementsAre;

TEST(PrivateRoot, JournalsTheCommandsOfARun) {
    PrivateRoot root;
    root.tool("/sbin/mdadm").on("/sbin/mdadm --detail  /dev/md1").prints("State : clean\n").exits(3);
    const Result result = root.call([] {
        return std::system("/sbin/mdadm --detail  /dev/md1 > /tmp/md1.abcdef 2>> /dev/null");
    });
    EXPECT_EQ(result.returned, 3 << 8);
    EXPECT_THAT(result.commands,
                ElementsAre("/sbin/mdadm --detail  /dev/md1 > /tmp/md1.abcdef 2>> /dev/null"));
    EXPECT_EQ(root.read("/tmp/md1.abcdef"), "State : clean\n");
}

} // namespace
} // namespace zav::test
