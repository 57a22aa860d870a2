// SPDX-License-Identifier: MIT
// What the process that uses the library sees of the commands it runs: nothing but their results.
#include "base/command.h"
#include "base/command/real_tools_root.h"
#include "base/process.h"
#include "fixtures/library.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace zav {
namespace {

using test::RealToolsRoot;
using test::Result;

constexpr int exited_3 = 3 << 8;

bool is_ignored(int number) {
    struct sigaction action = {};
    ::sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

// A process with another thread that waits until the end.
class WithAnotherThread {
  public:
    WithAnotherThread() : thread_([this] { ended_.wait(false); }) {}
    ~WithAnotherThread() {
        ended_ = true;
        ended_.notify_all();
        thread_.join();
    }

  private:
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

TEST(Host, KeepsItsSearchPath) {
    RealToolsRoot root;
    const std::string longer = "/" + std::string(299, 'p');
    for (const std::optional<std::string>& path :
         {std::optional<std::string>(), std::optional<std::string>(""),
          std::optional<std::string>("/home/bin:/opt"), std::optional<std::string>(longer)}) {
        root.call(
            [&path] {
                ignore(run_command("/usr/local/bin/true"));
                ignore(run_command("true; false"));
                const char* after = std::getenv("PATH");
                EXPECT_EQ(after != nullptr ? std::optional<std::string>(after) : std::nullopt,
                          path);
                return 0;
            },
            {.environment = {{"PATH", path}}});
    }
}

TEST(Host, KeepsItsSearchPathWhileAToolRuns) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo ready > /tmp/ready; cat /tmp/end");
    root.fifo("/tmp/end");
    root.call(
        [] {
            std::thread running([] { ignore(run_command("/sbin/tool")); });
            while (::access("/tmp/ready", F_OK) != 0) {
                ::usleep(1000);
            }
            EXPECT_STREQ(std::getenv("PATH"), "/home/bin:/opt");
            ::close(::open("/tmp/end", O_WRONLY));
            running.join();
            return 0;
        },
        {.environment = {{"PATH", "/home/bin:/opt"}}});
}

TEST(Host, KeepsItsSignalActionsWhileAToolRuns) {
    RealToolsRoot root;
    root.script("/sbin/tool", "grep SigIgn /.harness/proc/$PPID/status");
    for (const char* way : {"/sbin/tool", "/sbin/tool;"}) {
        const Result result = root.call([way] { return run_command(way); });
        EXPECT_EQ(result.out, "SigIgn:\t0000000000000000\n") << way;
    }
}

TEST(Host, WithManyThreadsGetsTrueResultsAndStaysAsItWas) {
    RealToolsRoot root;
    root.script("/sbin/tool", "exit $1");
    root.call(
        [] {
            std::vector<std::thread> threads;
            std::atomic<int> wrong = 0;
            for (int number = 1; number <= 4; ++number) {
                threads.emplace_back([number, &wrong] {
                    const std::string command = "/sbin/tool " + std::to_string(number);
                    for (int round = 0; round < 25; ++round) {
                        const bool is_right = run_command(command) == number << 8 &&
                                              std::strcmp(std::getenv("PATH"), "/home/bin") == 0;
                        wrong += is_right ? 0 : 1;
                    }
                });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
            EXPECT_EQ(wrong, 0);
            EXPECT_STREQ(std::getenv("PATH"), "/home/bin");
            EXPECT_FALSE(is_ignored(SIGINT));
            EXPECT_FALSE(is_ignored(SIGQUIT));
            return 0;
        },
        {.environment = {{"PATH", "/home/bin"}}, .time_limit = std::chrono::seconds(60)});
}

// The tools of the tests below: one that exits, one that is killed, one that is not there.
void expect_true_statuses() {
    EXPECT_EQ(run_command("/sbin/tool 3"), exited_3);
    EXPECT_EQ(run_command("/sbin/tool 0"), 0);
    EXPECT_EQ(run_command("true; /sbin/tool 3"), exited_3);
    EXPECT_EQ(run_command("/sbin/killed"), SIGKILL);
    EXPECT_EQ(run_command("/sbin/missing"), 127 << 8);
    EXPECT_FALSE(run_program({{"/sbin/missing"}, {}}));
}

class HostOfChildren : public testing::Test {
  protected:
    HostOfChildren() { root.script("/sbin/tool", "exit $1").script("/sbin/killed", "kill -9 $$"); }
    RealToolsRoot root;
};

TEST_F(HostOfChildren, ThatIgnoresThemGetsTrueResults) {
    root.call(
        [] {
            expect_true_statuses();
            EXPECT_TRUE(is_ignored(SIGCHLD));
            return 0;
        },
        {.ignored_signals = {SIGCHLD}});
}

TEST_F(HostOfChildren, ThatWantsNoZombiesGetsTrueResults) {
    root.call([] {
        struct sigaction action = {};
        action.sa_handler = SIG_DFL;
        action.sa_flags = SA_NOCLDWAIT;
        ::sigaction(SIGCHLD, &action, nullptr);
        expect_true_statuses();
        return 0;
    });
}

TEST_F(HostOfChildren, ThatCollectsThemInAnotherThreadGetsTrueResults) {
    root.call([] {
        std::atomic<bool> ended = false;
        std::thread collector([&ended] {
            while (!ended) {
                ::waitpid(-1, nullptr, WNOHANG);
            }
        });
        for (int round = 0; round < 5; ++round) {
            expect_true_statuses();
        }
        ended = true;
        collector.join();
        return 0;
    });
}

TEST_F(HostOfChildren, ThatCollectsThemWhenSignalledIsNotSignalled) {
    root.call([] {
        static std::atomic<int> signals = 0;
        struct sigaction collect = {};
        collect.sa_handler = [](int) {
            ++signals;
            while (::waitpid(-1, nullptr, WNOHANG) > 0) {
            }
        };
        ::sigaction(SIGCHLD, &collect, nullptr);
        const WithAnotherThread other;
        expect_true_statuses();
        EXPECT_EQ(signals, 0);
        return 0;
    });
}

TEST_F(HostOfChildren, HasNoneLeft) {
    root.call(
        [] {
            expect_true_statuses();
            EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG | __WALL), -1);
            EXPECT_EQ(errno, ECHILD);
            return 0;
        },
        {.ignored_signals = {SIGCHLD}});
}

TEST_F(HostOfChildren, GivesItsToolsTheUsualActionForTheirs) {
    const Result result = root.call(
        [] { return run_command("/.harness/busybox grep SigIgn /.harness/proc/self/status"); },
        {.ignored_signals = {SIGCHLD, SIGUSR1}});
    EXPECT_EQ(result.out, "SigIgn:\t0000000000000200\n") << "SIGUSR1 stays ignored";
}

TEST(HostWithThreads, MayCloseItsFilesWhileAToolRuns) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo ready > /tmp/ready; cat /tmp/end").fifo("/tmp/end");
    root.call([] {
        std::array<int, 2> ends = {};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        std::thread running([] { EXPECT_EQ(run_command("/sbin/tool"), 0); });
        while (::access("/tmp/ready", F_OK) != 0) {
            ::usleep(1000);
        }
        ::close(ends[1]);
        struct pollfd readable = {ends[0], POLLIN, 0};
        EXPECT_EQ(::poll(&readable, 1, 2000), 1) << "somebody else has it open";
        ::close(::open("/tmp/end", O_WRONLY));
        running.join();
        return 0;
    });
}

TEST(HostWithThreads, LosesNoInterruptToATool) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo ready > /tmp/ready; cat /tmp/end").fifo("/tmp/end");
    root.call([] {
        static std::atomic<int> interrupts = 0;
        struct sigaction count = {};
        count.sa_handler = [](int) { ++interrupts; };
        ::sigaction(SIGINT, &count, nullptr);
        std::thread running([] { EXPECT_EQ(run_command("/sbin/tool"), 0); });
        while (::access("/tmp/ready", F_OK) != 0) {
            ::usleep(1000);
        }
        ::kill(::getpid(), SIGINT);
        for (int waited = 0; interrupts < 1 && waited < 2000; ++waited) {
            ::usleep(1000);
        }
        EXPECT_EQ(interrupts, 1) << "while the tool runs";
        ::close(::open("/tmp/end", O_WRONLY));
        running.join();
        return 0;
    });
}

TEST(Host, HandlesItsInterruptsAfterTheTool) {
    RealToolsRoot root;
    root.script("/sbin/tool", "kill -INT $PPID; exit 3");
    root.call([] {
        static std::atomic<int> interrupts = 0;
        struct sigaction count = {};
        count.sa_handler = [](int) { ++interrupts; };
        ::sigaction(SIGINT, &count, nullptr);
        EXPECT_EQ(run_command("/sbin/tool"), exited_3);
        EXPECT_EQ(interrupts, 1);
        return 0;
    });
}

TEST(Host, MayHaveItsOutputClosed) {
    RealToolsRoot root;
    const auto print_and_run = [] {
        std::array<int, 2> ends = {};
        EXPECT_EQ(::pipe(ends.data()), 0);
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        std::fputs("text", stdout);
        const int status = number_of(run_command("/usr/local/bin/true"));
        sigset_t pending;
        ::sigpending(&pending);
        EXPECT_FALSE(::sigismember(&pending, SIGPIPE));
        std::clearerr(stdout);
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
        return status;
    };
    const Result result = root.call(print_and_run);
    EXPECT_TRUE(result.has_returned);
    EXPECT_EQ(result.signal, 0);
}

} // namespace
} // namespace zav
