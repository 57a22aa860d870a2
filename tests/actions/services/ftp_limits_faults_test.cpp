// SPDX-License-Identifier: MIT
// The FTP server's configuration while it is replaced: whatever fails or is cut short, the old or
// the new one is whole.
#include "base/system_lock.h"
#include "fixtures/refused_calls.h"
#include "fixtures/status_root.h"
#include "zav/ftp_limits.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr char limits_file[] = "/etc/vsftpd.conf";
const std::string old_text = "local_max_rate=7\nmax_clients=8\nmax_per_ip=9\nbanner=text\n";
const std::string new_text = "local_max_rate=1\nmax_clients=2\nmax_per_ip=3\nbanner=text\n";

class ReplacedLimits : public testing::Test {
  protected:
    ReplacedLimits() {
        root.file(limits_file, old_text, 0640);
        root.tool("/usr/local/bin/xconf").any().as_default();
        moves("mv \"$1\" \"$2\"");
    }
    Rule moves(const std::string& snippet) {
        return root.tool("/bin/mv").any().does(snippet).optional();
    }
    int set() {
        const Result result = root.call([] { return ftp_limits_set(1, 2, 3); });
        EXPECT_THAT(root.tmp(), IsEmpty());
        return result.returned;
    }
    std::string got() {
        return root
            .call([] {
                unsigned long rate = 0;
                unsigned long clients = 0;
                unsigned long per_address = 0;
                const int code = ftp_limits_get(&rate, &clients, &per_address);
                std::printf("%lu %lu %lu", rate, clients, per_address);
                return code;
            })
            .out;
    }
    void expect_old_alone() { expect_alone(old_text); }
    void expect_alone(const std::string& text) {
        EXPECT_EQ(root.read(limits_file), text);
        EXPECT_EQ(root.mode(limits_file), 0640U);
        EXPECT_THAT(root.list("/etc"), testing::Not(testing::Contains(HasSubstr(".vsftpd"))));
    }
    StatusRoot root{"KOR7206H"};
};

TEST_F(ReplacedLimits, StayTheOldWhenTheMoveFailsMidway) {
    for (const char* snippet :
         {"rm \"$2\"; exit 1", "rm \"$2\"; head -c 20 \"$1\" > \"$2\"; exit 1",
          "mv \"$1\" \"$2\"; exit 1", "exit 1"}) {
        SCOPED_TRACE(snippet);
        moves(snippet);
        EXPECT_EQ(set(), -11000);
        expect_old_alone();
    }
}

TEST_F(ReplacedLimits, StayTheOldWhenTheMoveSaysItSucceededAndDidNot) {
    for (const char* snippet : {"true", "rm \"$2\"", "rm \"$2\"; head -c 20 \"$1\" > \"$2\""}) {
        SCOPED_TRACE(snippet);
        moves(snippet);
        EXPECT_EQ(set(), -11000);
        expect_old_alone();
    }
    EXPECT_THAT(root.log_texts(), testing::Each(HasSubstr("/etc/vsftpd.conf does not hold")));
    EXPECT_EQ(root.log().size(), 3U);
}

TEST_F(ReplacedLimits, AreTheNewOnesAfterARunThatWasKilled) {
    for (const char* snippet :
         {"touch /var/cut; sleep 60", "rm \"$2\"; touch /var/cut; sleep 60",
          "rm \"$2\"; head -c 20 \"$1\" > \"$2\"; touch /var/cut; sleep 60"}) {
        SCOPED_TRACE(snippet);
        moves(snippet);
        StartedRun run = root.start_call([] { return ftp_limits_set(1, 2, 3); });
        ASSERT_TRUE(root.appears("/var/cut"));
        run.signal(SIGKILL);
        run.wait();
        root.remove("/var/cut");
        EXPECT_EQ(got(), "1 2 3");
        for (const std::string& file : root.tmp()) { // of the run that was killed
            root.remove("/tmp/" + file);
        }
        moves("mv \"$1\" \"$2\"");
        EXPECT_EQ(set(), 0);
        expect_alone(new_text);
        root.file(limits_file, old_text, 0640);
    }
}

TEST_F(ReplacedLimits, AreTheNewOnesAfterARunThatWasKilledWhenTheyWereInPlace) {
    moves("mv \"$1\" \"$2\"; touch /var/moved; sleep 60");
    StartedRun run = root.start_call([] { return ftp_limits_set(1, 2, 3); });
    ASSERT_TRUE(root.appears("/var/moved"));
    run.signal(SIGKILL);
    run.wait();
    EXPECT_EQ(got(), "1 2 3");
    EXPECT_EQ(root.read(limits_file), new_text);
}

TEST_F(ReplacedLimits, LeaveAloneWhatSomebodyElseWroteAfterARunThatWasKilled) {
    moves("rm \"$2\"; touch /var/cut; sleep 60");
    StartedRun run = root.start_call([] { return ftp_limits_set(1, 2, 3); });
    ASSERT_TRUE(root.appears("/var/cut"));
    run.signal(SIGKILL);
    run.wait();
    root.file(limits_file, "max_clients=77\n");
    EXPECT_EQ(got(), "0 77 0");
    moves("mv \"$1\" \"$2\"");
    EXPECT_EQ(root.call([] { return ftp_limits_set(1, 2, 3); }).returned, 0);
    EXPECT_EQ(root.read(limits_file), "max_clients=2\n");
}

TEST_F(ReplacedLimits, AreReadWholeWhileTheyAreReplaced) {
    moves("rm \"$2\"; touch /var/cut; while [ -e /var/cut ]; do sleep 0.01; done; "
          "cp \"$1\" \"$2\"; rm \"$1\"");
    StartedRun run = root.start_call([] { return ftp_limits_set(1, 2, 3); });
    ASSERT_TRUE(root.appears("/var/cut"));
    StartedRun reader = root.start_call([] {
        unsigned long clients = 0;
        EXPECT_EQ(ftp_limits_get(nullptr, &clients, nullptr), 0);
        return static_cast<int>(clients);
    });
    ::usleep(300000);
    root.remove("/var/cut");
    EXPECT_EQ(run.wait().returned, 0);
    EXPECT_THAT(reader.wait().returned, testing::AnyOf(8, 2));
}

TEST_F(ReplacedLimits, AreNotSetUnlessTheyAreDurable) {
    const Result result = root.call([] {
        deny_syncs();
        return ftp_limits_set(1, 2, 3);
    });
    EXPECT_EQ(result.returned, -1067);
    expect_old_alone();
}

TEST_F(ReplacedLimits, AreThoseOfOneOfManyWriters) {
    constexpr int writers = 4;
    constexpr int rounds = 10;
    std::vector<StartedRun> runs;
    for (int writer = 1; writer <= writers; ++writer) {
        runs.push_back(root.start_call([writer] {
            int failures = 0;
            for (int round = 0; round < rounds; ++round) {
                failures += ftp_limits_set(writer, writer, writer) == 0 ? 0 : 1;
            }
            return failures;
        }));
    }
    for (StartedRun& run : runs) {
        EXPECT_EQ(run.wait().returned, 0);
    }
    EXPECT_THAT(got(), testing::AnyOf("1 1 1", "2 2 2", "3 3 3", "4 4 4"));
    EXPECT_THAT(root.list("/etc"), testing::Not(testing::Contains(HasSubstr(".vsftpd"))));
}

TEST_F(ReplacedLimits, AreNotSetWhileAnotherInstanceSetsThem) {
    StartedRun holder = root.start_call(
        [] {
            const SystemLock lock = SystemLock::take("vsftpd.conf");
            ::close(::open("/var/locked", O_CREAT | O_WRONLY, 0600));
            return lock ? ::pause() : 1;
        },
        {.time_limit = std::chrono::seconds(60)});
    ASSERT_TRUE(root.appears("/var/locked"));
    const auto start = std::chrono::steady_clock::now();
    const Result result =
        root.call([] { return ftp_limits_set(1, 2, 3); }, {.time_limit = std::chrono::seconds(60)});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(12));
    EXPECT_EQ(result.returned, -1063);
    EXPECT_THAT(result.commands, IsEmpty());
    holder.signal(SIGKILL);
    holder.wait();
    expect_old_alone();
}

} // namespace
} // namespace zav::test
