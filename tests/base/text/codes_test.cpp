// SPDX-License-Identifier: MIT
// The table of codes.
#include "base/codes.h"

#include <gmock/gmock.h>
#include <set>
#include <sstream>
#include <string>

namespace zav::test {
namespace {

using testing::AnyOf;

TEST(CodeTable, HasEachNameOnce) {
    std::set<std::string> names;
    for (const CodeRow& row : code_table()) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
    }
    EXPECT_GT(names.size(), 100U);
}

TEST(CodeTable, HoldsFailuresOnly) {
    for (const CodeRow& row : code_table()) {
        EXPECT_LT(number_of(row.code), 0) << row.name;
        EXPECT_STRNE(row.meaning, "") << row.name;
    }
}

TEST(CodeTable, NamesTheCommandsThatPrintACode) {
    for (const CodeRow& row : code_table()) {
        std::istringstream users(row.used_by);
        int count = 0;
        for (std::string user; users >> user; ++count) {
            EXPECT_THAT(user, AnyOf("diskmanage", "disksmart", "mdmanage", "vgmanage", "lvmanage",
                                    "fsmanage", "netmanage", "sharemanage", "library", "log"))
                << row.name;
        }
        EXPECT_GT(count, 0) << row.name;
    }
}

} // namespace
} // namespace zav::test
