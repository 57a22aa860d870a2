// SPDX-License-Identifier: MIT
// A line that cannot be written to the log goes to the console, or else to standard error. A
// command's result never shows this.
#include "base/log.h"
#include "base/log/log_text.h"
#include "private_root.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace zav {
namespace {

using test::PrivateRoot;
using test::Result;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* console_path = "/dev/console";
constexpr std::size_t over_limit = 131073;

const std::string line_on_standard_error = std::string("Bummer, can't print: ") + logged_text;

// Makes chosen open(2) calls of the log fail. Once per process, in a forked child.
class FailingOpens {
  public:
    // `answer` is given the number of previous opens; it returns an errno, or 0 to let the open
    // succeed.
    using Answer = std::function<int(std::size_t before)>;

    explicit FailingOpens(Answer answer) : answer_(std::move(answer)), listener_(listen()) {
        EXPECT_GE(listener_, 0);
        EXPECT_EQ(::pipe(stop_.data()), 0);
        supervisor_ = std::thread([this] { answer_all(); });
    }
    FailingOpens(const FailingOpens&) = delete;
    FailingOpens& operator=(const FailingOpens&) = delete;
    ~FailingOpens() { end(); }

    // The flags of all opens.
    std::vector<int> end() {
        ::close(std::exchange(stop_[1], -1));
        if (supervisor_.joinable()) {
            supervisor_.join();
        }
        return flags_;
    }

  private:
    static int listen() {
        constexpr unsigned wanted = O_WRONLY | O_NONBLOCK | O_NOCTTY;
        constexpr unsigned flags_at = offsetof(seccomp_data, args) + 2 * sizeof(std::uint64_t);
        std::array<sock_filter, 6> code = {{
            {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
            {BPF_JMP | BPF_JEQ | BPF_K, 0, 3, SYS_openat},
            {BPF_LD | BPF_W | BPF_ABS, 0, 0, flags_at},
            {BPF_ALU | BPF_AND | BPF_K, 0, 0, wanted | O_ACCMODE},
            {BPF_JMP | BPF_JEQ | BPF_K, 1, 0, wanted},
            {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
        }};
        std::array<sock_filter, 7> whole = {};
        std::copy(code.begin(), code.end(), whole.begin());
        whole[6] = {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_USER_NOTIF};
        const sock_fprog program = {whole.size(), whole.data()};
        ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        return static_cast<int>(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER,
                                          SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
    }

    void answer_all() {
        for (;;) {
            std::array<pollfd, 2> watched = {{{listener_, POLLIN, 0}, {stop_[0], POLLIN, 0}}};
            seccomp_notif call = {};
            if (::poll(watched.data(), watched.size(), -1) < 0 || watched[1].revents != 0 ||
                ::ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) {
                return;
            }
            seccomp_notif_resp response = {};
            response.id = call.id;
            response.error = -answer_(flags_.size());
            flags_.push_back(static_cast<int>(call.data.args[2]));
            response.flags = response.error == 0 ? SECCOMP_USER_NOTIF_FLAG_CONTINUE : 0;
            ::ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &response);
        }
    }

    Answer answer_;
    std::vector<int> flags_;
    int listener_;
    std::array<int, 2> stop_ = {-1, -1};
    std::thread supervisor_;
};

// Logs one line while `answer` makes opens fail; returns the flags of all opens.
std::vector<int> opens_of_a_line(const FailingOpens::Answer& answer) {
    FailingOpens failing(answer);
    EXPECT_EQ(log_text(), 0);
    return failing.end();
}

TEST(LogFallback, TheLogComesFirst) {
    PrivateRoot root;
    root.file(console_path, "");
    const Result result = root.call(log_text);
    EXPECT_EQ(root.read(log_path), logged_text);
    EXPECT_EQ(root.read(console_path), "");
    EXPECT_EQ(result.err, "");
}

TEST(LogFallback, WithoutALogDirectoryTheConsoleGetsTheLine) {
    PrivateRoot root;
    root.remove("/var/log").file(console_path, "");
    const Result result = root.call(log_text);
    EXPECT_EQ(root.read(console_path), logged_text);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.returned, 0);
    EXPECT_FALSE(root.exists("/var/log"));
}

TEST(LogFallback, WithoutAConsoleStandardErrorGetsTheLine) {
    PrivateRoot root;
    root.remove("/var/log");
    const Result result = root.call(log_text);
    EXPECT_EQ(result.err, line_on_standard_error);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.returned, 0);
    EXPECT_FALSE(root.exists(console_path)); // never created
}

TEST(LogFallback, ADirectoryInPlaceOfTheLogIsNoLog) {
    PrivateRoot root;
    root.directory(log_path);
    EXPECT_EQ(root.call(log_text).err, line_on_standard_error);
    EXPECT_THAT(root.list(log_path), IsEmpty());
}

TEST(LogFallback, APipeWithoutAReaderHoldsNothingUp) {
    PrivateRoot root;
    root.fifo(log_path).fifo(console_path);
    EXPECT_EQ(root.call(log_text).err, line_on_standard_error);
}

TEST(LogFallback, ALogOfAnotherOwnerIsLeftAlone) {
    PrivateRoot root;
    root.file(log_path, "old\n", 0600);
    EXPECT_EQ(root.call(log_text, {.uid = 65534}).err, line_on_standard_error);
    EXPECT_EQ(root.read(log_path), "old\n");
}

TEST(LogFallback, AFullDiskSendsTheLineToTheConsole) {
    PrivateRoot root;
    root.bind("/dev/full", log_path, true).file(console_path, "");
    EXPECT_EQ(root.call(log_text).returned, 0);
    EXPECT_EQ(root.read(console_path), logged_text);
}

TEST(LogFallback, ADiskThatFillsUpLeavesNoHalfLine) {
    PrivateRoot root;
    const std::string older = std::string(4000, 'o') + "\n";
    root.file(log_path, older).file(console_path, "");
    // A limit on file size simulates a disk with a few bytes left.
    const Result result =
        root.call(log_text, {.limits = {{RLIMIT_FSIZE, 4010}}, .ignored_signals = {SIGXFSZ}});
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(root.read(log_path), older);
    EXPECT_EQ(root.read(console_path), logged_text);
}

TEST(LogFallback, ALimitOnFilesOrAClosedPipeDoesNotEndTheProcess) {
    PrivateRoot root;
    root.file(log_path, "old\n");
    EXPECT_EQ(root.call(log_text, {.limits = {{RLIMIT_FSIZE, 4}}}).signal, 0);
    EXPECT_EQ(root.read(log_path), "old\n");
    root.remove("/var/log");
    const Result result = root.call([] {
        std::array<int, 2> ends = {};
        EXPECT_EQ(::pipe(ends.data()), 0);
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        return log_text();
    });
    EXPECT_EQ(result.signal, 0);
    EXPECT_TRUE(result.has_returned);
}

TEST(LogFallback, ALogThatIsNoRegularFileIsWrittenButNeverRotated) {
    PrivateRoot root;
    root.bind("/dev/null", log_path, true).file(console_path, "");
    EXPECT_EQ(root.call(log_text).err, "");
    EXPECT_EQ(root.read(console_path), "");
    EXPECT_FALSE(root.exists(previous_path));
}

TEST(LogFallback, TheLongestLineReachesStandardErrorWhole) {
    PrivateRoot root;
    root.remove("/var/log");
    const Result result = root.call([] { return log_write("%s", std::string(9000, 'x').c_str()); });
    EXPECT_THAT(result.err, StartsWith("Bummer, can't print: "));
    EXPECT_THAT(result.err, EndsWith(" 0.1.2 " + std::string(8191, 'x') + "\n"));
}

TEST(LogFallback, EveryLoggerReturnsZeroWhereverItsLineGoes) {
    PrivateRoot root;
    root.remove("/var/log");
    root.call([] {
        EXPECT_EQ(log_error("text"), 0);
        EXPECT_EQ(log_debug("text"), 0);
        EXPECT_EQ(zavbox_log_error("text"), 0);
        return 0;
    });
}

TEST(LogAttempts, OneOpenIsEnough) {
    PrivateRoot root;
    root.call([] {
        EXPECT_THAT(opens_of_a_line([](std::size_t) { return 0; }), SizeIs(1));
        return 0;
    });
}

TEST(LogAttempts, TheFifthOpenOfTheLogStillCounts) {
    PrivateRoot root;
    root.file(console_path, "");
    root.call([] {
        EXPECT_THAT(opens_of_a_line([](std::size_t before) { return before < 4 ? EMFILE : 0; }),
                    SizeIs(5));
        return 0;
    });
    EXPECT_EQ(root.read(log_path), logged_text);
    EXPECT_EQ(root.read(console_path), "");
}

TEST(LogAttempts, AfterFiveTheConsoleIsOpenedButNeverMadeNorAppendedTo) {
    PrivateRoot root;
    root.file(console_path, "");
    root.call([] {
        const std::vector<int> flags =
            opens_of_a_line([](std::size_t before) { return before < 5 ? EMFILE : 0; });
        constexpr int for_log = O_APPEND | O_CREAT;
        constexpr int asked = for_log | O_TRUNC | O_EXCL;
        std::vector<int> kinds;
        for (const int one : flags) {
            kinds.push_back(one & asked);
        }
        EXPECT_THAT(kinds, ElementsAre(for_log, for_log, for_log, for_log, for_log, 0));
        return 0;
    });
    EXPECT_EQ(root.read(console_path), logged_text);
    EXPECT_FALSE(root.exists(log_path));
}

TEST(LogAttempts, TheFifthOpenOfTheConsoleStillCounts) {
    PrivateRoot root;
    root.file(console_path, "");
    const Result result = root.call([] {
        EXPECT_THAT(opens_of_a_line([](std::size_t before) { return before < 9 ? EMFILE : 0; }),
                    SizeIs(10));
        return 0;
    });
    EXPECT_EQ(root.read(console_path), logged_text);
    EXPECT_EQ(result.err, "");
}

TEST(LogAttempts, AfterTenOnlyStandardErrorIsLeft) {
    PrivateRoot root;
    root.file(console_path, "");
    const Result result = root.call([] {
        EXPECT_THAT(opens_of_a_line([](std::size_t) { return EMFILE; }), SizeIs(10));
        return 0;
    });
    EXPECT_EQ(result.err, line_on_standard_error);
    EXPECT_EQ(root.read(console_path), "");
}

int the_second_to_the_sixth_fail(std::size_t before) {
    return before >= 1 && before <= 5 ? EMFILE : 0;
}

TEST(LogAttempts, ALogThatCannotBeOpenedAfterItsRotationLeavesTheLineToTheConsole) {
    PrivateRoot root;
    root.file(log_path, std::string(over_limit, 'o')).file(console_path, "");
    root.call([] {
        // One open finds the full log, five fail, one opens the console.
        EXPECT_THAT(opens_of_a_line(the_second_to_the_sixth_fail), SizeIs(7));
        return 0;
    });
    EXPECT_EQ(root.read(console_path), logged_text);
    EXPECT_EQ(root.read(previous_path).size(), over_limit);
    EXPECT_FALSE(root.exists(log_path));
}

TEST(LogAttempts, TheFifthOpenAfterARotationStillCounts) {
    PrivateRoot root;
    root.file(log_path, std::string(over_limit, 'o'));
    root.call([] {
        EXPECT_THAT(opens_of_a_line(
                        [](std::size_t before) { return before >= 1 && before <= 4 ? EMFILE : 0; }),
                    SizeIs(6));
        return 0;
    });
    EXPECT_EQ(root.read(log_path), logged_text);
}

TEST(LogAttempts, ALogThatCannotBeRenamedIsNotReopened) {
    PrivateRoot root;
    root.file(log_path, std::string(over_limit, 'o')).directory(previous_path);
    root.call([] {
        // Reopening it would release the lock.
        EXPECT_THAT(opens_of_a_line([](std::size_t) { return 0; }), SizeIs(1));
        return 0;
    });
}

} // namespace
} // namespace zav
