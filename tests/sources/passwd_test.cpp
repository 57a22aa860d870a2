// SPDX-License-Identifier: MIT
// Home directories in /etc/passwd.
#include "sources/passwd.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

TEST(PasswdLine, GetsAnotherHome) {
    EXPECT_EQ(with_home("anna:x:1001:100:Anna A:/home/anna:/bin/sh", "/home/ftpuser"),
              "anna:x:1001:100:Anna A:/home/ftpuser:/bin/sh");
    EXPECT_EQ(with_home("anna:x:1:1:::", "/home/a"), "anna:x:1:1::/home/a:");
    EXPECT_EQ(with_home("anna:x:1:1:: /a b :/bin/sh -l", "/h"), "anna:x:1:1::/h:/bin/sh -l");
}

TEST(PasswdLine, ThatIsInvalidStaysAsItIs) {
    for (const std::string line : {"", "anna", "+", "anna:x:1:1:Anna:/home/anna"}) {
        EXPECT_EQ(with_home(line, "/h"), line);
    }
}

} // namespace
} // namespace zav::test
