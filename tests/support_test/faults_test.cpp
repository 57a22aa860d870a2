// SPDX-License-Identifier: MIT
// Faults of outside commands.
#include "private_root.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <sstream>
#include <tuple>
#include <vector>

namespace zav::test {
namespace {

using testing::SizeIs;

struct Seen {
    std::vector<int> statuses;
    std::string output; // of the second command
    bool has_worked = false;
};

// Three commands, of which the second has the fault.
Seen with_fault(const std::string& kind) {
    PrivateRoot root;
    root.tool("/sbin/tool").any().does("echo >> /etc/worked").prints("0123456789\n").exits(7);
    Seen seen;
    const Result result = root.call(
        [] {
            for (const char* text : {"/sbin/tool a > /etc/other", "/sbin/tool a > /etc/output",
                                     "/sbin/tool a > /etc/other"}) {
                const int status = std::system(text);
                std::printf("%d ", status);
            }
            return 0;
        },
        {.fault = CommandFault{.number = 2, .kind = kind}});
    EXPECT_THAT(result.commands, SizeIs(3));
    std::istringstream words(result.out);
    for (int status = 0; words >> status;) {
        seen.statuses.push_back(status);
    }
    seen.output = root.read("/etc/output");
    seen.has_worked = root.read("/etc/worked").size() == 3;
    return seen;
}

TEST(CommandFault, HappensInThePlaceOfThatCommand) {
    const std::vector<std::tuple<std::string, int, size_t>> rows = {
        {"exit1", 1 << 8, 0},     {"exit3", 3 << 8, 0}, {"killed", SIGKILL, 0},
        {"missing", 127 << 8, 0}, {"silent", 0, 0},     {"megabyte", 0, size_t{1} << 20}};
    for (const auto& [kind, status, size] : rows) {
        SCOPED_TRACE(kind);
        const Seen seen = with_fault(kind);
        EXPECT_THAT(seen.statuses, testing::ElementsAre(7 << 8, status, 7 << 8));
        EXPECT_EQ(seen.output.size(), size);
        EXPECT_FALSE(seen.has_worked);
    }
}

TEST(CommandFault, MayBeGarbage) {
    const Seen seen = with_fault("garbage");
    EXPECT_EQ(seen.statuses[1], 0);
    EXPECT_THAT(seen.output, testing::HasSubstr(std::string("\0\xff", 2)));
    EXPECT_FALSE(seen.has_worked);
}

TEST(CommandFault, MayCutWhatTheCommandHasWritten) {
    const Seen seen = with_fault("half");
    EXPECT_EQ(seen.statuses[1], 7 << 8);
    EXPECT_EQ(seen.output, "01234");
    EXPECT_TRUE(seen.has_worked);
}

TEST(CommandFault, MayComeAfterTheWork) {
    const Seen seen = with_fault("worked");
    EXPECT_EQ(seen.statuses[1], 1 << 8);
    EXPECT_EQ(seen.output, "0123456789\n");
    EXPECT_TRUE(seen.has_worked);
}

} // namespace
} // namespace zav::test
