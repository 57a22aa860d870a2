// SPDX-License-Identifier: MIT
// Output that cannot be written: the work is done, the log says what happened, the status is a
// failure's.
#include "fixtures/array_machine.h"

#include <array>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::Contains;
using testing::Field;
using testing::MatchesRegex;

const RunOptions full = {.descriptors = {{1, "/dev/full"}}};

auto says(const std::string& reason) {
    return Contains(
        Field(&LogLine::text,
              MatchesRegex("end_run\\[[0-9]+\\]: cannot write the output: (" + reason + ")")));
}

constexpr char no_space[] = "No space left on device";

TEST(FullOutput, FailsEveryRequestToTheDispatcher) {
    for (const std::vector<std::string>& request : {std::vector<std::string>{},
                                                    {"--help"},
                                                    {"--version"},
                                                    {"nomanage"},
                                                    {"mdmanage", "--help"},
                                                    {"mdmanage"}}) {
        PrivateRoot root;
        EXPECT_EQ(root.run(request, full).exit_status, 1) << testing::PrintToString(request);
        EXPECT_THAT(root.log(), says(no_space));
    }
}

class FullOutputOfACommand : public testing::Test {
  protected:
    FullOutputOfACommand() {
        machine.box(6);
        machine.running("md1", "raid1", {"sdb"});
    }
    ArrayMachine machine;
};

TEST_F(FullOutputOfACommand, FailsAListing) {
    EXPECT_EQ(machine.run({"mdmanage", "--display"}, full).exit_status, 1);
    EXPECT_THAT(machine.log(), says(no_space));
}

TEST_F(FullOutputOfACommand, ComesAfterTheWork) {
    const Result good = machine.run({"mdmanage", "-D", "-n", "md1"});
    const Result failed = machine.run({"mdmanage", "-D", "-n", "md1"}, full);
    EXPECT_EQ(good.exit_status, 0);
    EXPECT_EQ(failed.exit_status, 1);
    EXPECT_EQ(failed.commands_with_templates(), good.commands_with_templates());
    EXPECT_THAT(machine.log(), says("No space left on device|an earlier write failed"));
}

TEST_F(FullOutputOfACommand, LeavesTheStatusOfAFailedCommand) {
    EXPECT_EQ(machine.run({"mdmanage", "-D", "-n", "md7"}, full).exit_status,
              machine.run({"mdmanage", "-D", "-n", "md7"}).exit_status);
}

TEST_F(FullOutputOfACommand, IsNoFailureWhenNothingIsPrinted) {
    EXPECT_EQ(machine.run({"mdmanage", "--help", "more"}, full).exit_status, 0);
}

// A front end that reads no more.
TEST_F(FullOutputOfACommand, MayBeAPipeThatNobodyReads) {
    const Result result = machine.call([] {
        const pid_t child = ::fork();
        if (child == 0) {
            std::array<int, 2> ends = {};
            EXPECT_EQ(::pipe(ends.data()), 0);
            ::dup2(ends[1], STDOUT_FILENO);
            ::close(ends[0]);
            ::close(ends[1]);
            ::execl("/usr/bin/zavbox", "zavbox", "mdmanage", "-D", "-n", "md1", nullptr);
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    });
    EXPECT_EQ(result.returned, 1 << 8);
    EXPECT_THAT(result.commands, Contains("/sbin/mdadm -S /dev/md1 > /dev/null 2>> /dev/null"));
    EXPECT_THAT(result.commands, Contains("/usr/local/bin/diskformat /dev/sdb 2>> /dev/null"));
    EXPECT_THAT(machine.log(), says("Broken pipe|an earlier write failed"));
}

} // namespace
} // namespace zav::test
