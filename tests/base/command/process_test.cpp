// SPDX-License-Identifier: MIT
// What a child process inherits, and what its parent does meanwhile. Each command runs once without
// a shell and once with one.
#include "base/command/real_tools_root.h"
#include "base/file.h"
#include "base/process.h"
#include "fixtures/library.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::RealToolsRoot;
using test::Result;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

// "/sbin/tool" alone, and in a form that only a shell understands.
constexpr std::array<const char*, 2> ways = {"/sbin/tool", "true; /sbin/tool"};

std::string printed(RealToolsRoot& root, const char* command,
                    const test::RunOptions& options = {}) {
    return root.call([command] { return run_command(command); }, options).out;
}

TEST(Child, HasDescriptors0To2AndNoOther) {
    RealToolsRoot root;
    root.file("/tmp/held", "");
    const auto list_own = [] {
        const FileDescriptor held = FileDescriptor::open("/tmp/held", O_RDWR);
        const FileDescriptor other = FileDescriptor::open("/tmp", O_RDONLY);
        ignore(run_command("/usr/local/bin/ls /.harness/proc/self/fd"));
        return run_command("true; ls /.harness/proc/self/fd");
    };
    // 3 is the directory that is being listed.
    EXPECT_EQ(root.call(list_own).out, "0\n1\n2\n3\n0\n1\n2\n3\n");
}

// A kernel without close_range(2).
bool take_close_range_away() {
    std::array<sock_filter, 4> filter = {
        {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
         BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_close_range, 0, 1),
         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)}};
    const sock_fprog program = {filter.size(), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST(Descriptors, AreClosedWithAndWithoutTheKernelsHelp) {
    RealToolsRoot root;
    root.file("/tmp/held", "");
    for (const bool has_help : {true, false}) {
        root.call([has_help] {
            EXPECT_TRUE(has_help || take_close_range_away());
            EXPECT_EQ(::close_range(100, ~0U, 0) == 0, has_help);
            const int below = ::open("/tmp/held", O_RDONLY);
            const int at = ::fcntl(below, F_DUPFD, 100);
            const int above = ::fcntl(below, F_DUPFD, 900);
            close_from(100, CLOSE_RANGE_CLOEXEC);
            EXPECT_EQ(::fcntl(below, F_GETFD), 0);
            EXPECT_EQ(::fcntl(at, F_GETFD), FD_CLOEXEC);
            EXPECT_EQ(::fcntl(above, F_GETFD), FD_CLOEXEC);
            close_from(100, 0);
            EXPECT_EQ(::fcntl(below, F_GETFD), 0);
            EXPECT_EQ(::fcntl(at, F_GETFD), -1);
            EXPECT_EQ(::fcntl(above, F_GETFD), -1);
        });
    }
}

TEST(Child, HasANullDeviceAsStandardInput) {
    RealToolsRoot root;
    root.script("/sbin/tool", "readlink /.harness/proc/$$/fd/0");
    for (const char* way : ways) {
        EXPECT_EQ(printed(root, way, {.input = "secret"}), "/dev/null\n") << way;
        EXPECT_EQ(printed(root, way, {.closed = {0}}), "/dev/null\n") << way;
    }
}

TEST(Child, HasNoStandardInputAtAllWhenTheNullDeviceCannotBeOpened) {
    RealToolsRoot root;
    const Result result = root.call(
        [] {
            struct rlimit limit = {};
            ::getrlimit(RLIMIT_NOFILE, &limit);
            const rlim_t enough = std::exchange(limit.rlim_cur, 3);
            ::setrlimit(RLIMIT_NOFILE, &limit); // no more files can be opened
            const auto status = run_program({{"/bin/cat"}, {}});
            limit.rlim_cur = enough;
            ::setrlimit(RLIMIT_NOFILE, &limit);
            return status.value_or(WaitStatus::not_started);
        },
        {.input = "secret\n"});
    EXPECT_EQ(result.returned, 1 << 8);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("Bad file descriptor"));
}

TEST(Child, HasTheCallersEnvironment) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo $HOME $COLOUR");
    for (const char* way : ways) {
        EXPECT_EQ(printed(root, way, {.environment = {{"COLOUR", "red"}}}), "/ red\n") << way;
    }
}

TEST(Child, HasTheCallersWorkingDirectory) {
    RealToolsRoot root;
    root.script("/sbin/tool", "pwd");
    for (const char* way : ways) {
        EXPECT_EQ(printed(root, way, {.working_directory = "/usr/lib"}), "/usr/lib\n") << way;
    }
}

TEST(Redirection, MakesAFileByTheCallersUmask) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo text");
    const test::RunOptions group_files = {.umask = 0007};
    root.call([] { return run_command("/sbin/tool > /tmp/plain"); }, group_files);
    root.call([] { return run_command("true; /sbin/tool > /tmp/shell"); }, group_files);
    EXPECT_EQ(root.mode("/tmp/plain"), 0660U);
    EXPECT_EQ(root.mode("/tmp/shell"), 0660U);
}

TEST(Redirection, OfOutputReplacesWhatAFileHeld) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo text").file("/tmp/file", "older and longer\n", 0600);
    root.call([] { return run_command("/sbin/tool > /tmp/file"); });
    EXPECT_EQ(root.read("/tmp/file"), "text\n");
    EXPECT_EQ(root.mode("/tmp/file"), 0600U);
}

TEST(Redirection, OfErrorsIsAppended) {
    RealToolsRoot root;
    root.script("/sbin/tool", "echo text >&2").file("/tmp/file", "older\n");
    root.call([] {
        return run_program({{"/sbin/tool"}, {{STDERR_FILENO, true, "/tmp/file"}}})
            .value_or(WaitStatus::not_started);
    });
    EXPECT_EQ(root.read("/tmp/file"), "older\ntext\n");
}

TEST(Program, ThatCannotBeStartedGivesNothing) {
    RealToolsRoot root;
    root.file("/sbin/text", "text", 0644).file("/sbin/no-format", "text", 0755);
    root.call([] {
        EXPECT_FALSE(run_program({{"/sbin/missing"}, {}}));
        EXPECT_FALSE(run_program({{"missing"}, {}}));
        EXPECT_FALSE(run_program({{"/sbin/text"}, {}}));
        EXPECT_FALSE(run_program({{"/sbin/no-format"}, {}}));
        EXPECT_FALSE(run_program({{"/usr/local/bin/true"}, {{1, false, "/missing/file"}}}));
        return 0;
    });
}

TEST(Program, WithoutASlashIsFoundThroughThePath) {
    RealToolsRoot root;
    root.call(
        [] {
            EXPECT_EQ(run_program({{"true"}, {}}), 0);
            EXPECT_EQ(run_program({{"false"}, {}}), 1 << 8);
            return 0;
        },
        {.environment = {{"PATH", "/usr/local/bin"}}});
}

TEST(Program, IsNotTakenFromTheCurrentDirectory) {
    RealToolsRoot root;
    root.script("/tmp/tool", "exit 3");
    root.call(
        [] {
            EXPECT_FALSE(run_program({{"tool"}, {}}));
            return 0;
        },
        {.environment = {{"PATH", "/bin:"}}, .working_directory = "/tmp"});
}

TEST(Interrupt, WhileAToolRunsGoesToTheToolOnly) {
    RealToolsRoot root;
    root.script("/sbin/tool", "kill -INT $PPID; kill -QUIT $PPID; exit 3");
    const Result result = root.call([] { return run_command("/sbin/tool"); });
    EXPECT_EQ(result.returned, 3 << 8);
}

TEST(Termination, WhileAToolRunsEndsTheCaller) {
    RealToolsRoot root;
    root.script("/sbin/tool", "kill -TERM $PPID; sleep 60");
    const Result result =
        root.call([] { return run_command("/sbin/tool"); }, {.ends_by_signal = true});
    EXPECT_EQ(result.signal, SIGTERM);
}

TEST(Interrupt, AfterwardsIsWhatItWasForTheCaller) {
    for (const std::set<int>& ignored : {std::set<int>{}, {SIGINT}, {SIGQUIT}}) {
        RealToolsRoot root;
        root.call(
            [&ignored] {
                ignore(run_command("/usr/local/bin/true"));
                for (const int number : {SIGINT, SIGQUIT}) {
                    struct sigaction action = {};
                    ::sigaction(number, nullptr, &action);
                    EXPECT_EQ(action.sa_handler == SIG_IGN, ignored.contains(number)) << number;
                }
                sigset_t blocked;
                ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
                EXPECT_TRUE(::sigisemptyset(&blocked));
                return 0;
            },
            {.ignored_signals = ignored});
    }
}

// Which of SIGINT and SIGQUIT are in a tool's signal set: "SigIgn" or "SigBlk" in /proc/PID/status.
std::set<int> interrupts_in(const char* set, const std::set<int>& ignored_by_caller) {
    RealToolsRoot root;
    const std::string status =
        printed(root, "cat /.harness/proc/self/status", {.ignored_signals = ignored_by_caller});
    const std::size_t at = status.find(set) + std::string("SigIgn:\t").size();
    const unsigned long bits = std::stoul(status.substr(at), nullptr, 16);
    std::set<int> signals;
    for (const int number : {SIGINT, SIGQUIT, SIGCHLD}) {
        if ((bits >> (number - 1) & 1) != 0) {
            signals.insert(number);
        }
    }
    return signals;
}

TEST(Interrupt, EndsAToolAsUsual) {
    EXPECT_THAT(interrupts_in("SigIgn", {}), IsEmpty());
    EXPECT_THAT(interrupts_in("SigBlk", {}), IsEmpty());
}

TEST(Interrupt, ThatTheCallerIgnoresIsIgnoredByTheTool) {
    EXPECT_THAT(interrupts_in("SigIgn", {SIGINT}), ElementsAre(SIGINT));
    EXPECT_THAT(interrupts_in("SigIgn", {SIGQUIT}), ElementsAre(SIGQUIT));
}

TEST(Signals, AreHeldBackInTheToolAsInItsCaller) {
    RealToolsRoot root;
    const Result result = root.call([] {
        sigset_t held;
        ::sigemptyset(&held);
        ::sigaddset(&held, SIGUSR2);
        ::sigprocmask(SIG_BLOCK, &held, nullptr);
        return run_command("/.harness/busybox grep SigBlk /.harness/proc/self/status");
    });
    EXPECT_EQ(result.out, "SigBlk:\t0000000000000800\n");
}

// The tool's process shares its caller's memory until it executes the tool: a handler that ran
// there would change the caller's variables.
TEST(Signals, RunNoHandlerOfTheCallerInTheTool) {
    RealToolsRoot root;
    root.fifo("/tmp/fifo");
    root.script("/sbin/tool", "exit 0");
    root.call([] {
        static volatile sig_atomic_t handled_in = 0;
        struct sigaction note = {};
        note.sa_handler = [](int) { handled_in = ::getpid(); };
        ::sigaction(SIGUSR1, &note, nullptr);
        // Process ids are sequential in the root: the tool's process, which waits at the pipe,
        // follows the one that signals it.
        const pid_t signaller = ::fork();
        if (signaller == 0) {
            while (::kill(::getpid() + 1, SIGUSR1) != 0) {
                ::usleep(1000);
            }
            ::_exit(0);
        }
        const auto status = run_program({{"/sbin/tool"}, {{STDOUT_FILENO, false, "/tmp/fifo"}}});
        EXPECT_EQ(status.value_or(WaitStatus::success), SIGUSR1);
        EXPECT_EQ(handled_in, 0);
        ::waitpid(signaller, nullptr, 0);
        return 0;
    });
}

TEST(Wait, IsResumedAfterASignalOfTheCaller) {
    RealToolsRoot root;
    root.script("/sbin/tool", "kill -USR1 $PPID; sleep 0.05; exit 3");
    const Result result = root.call([] {
        struct sigaction note = {};
        note.sa_handler = [](int) {}; // without SA_RESTART
        ::sigaction(SIGUSR1, &note, nullptr);
        return run_command("/sbin/tool");
    });
    EXPECT_EQ(result.returned, 3 << 8);
}

TEST(Wait, SurvivesACallerThatCollectsItsChildren) {
    RealToolsRoot root;
    root.script("/sbin/tool", "exit 3");
    const Result result = root.call([] {
        struct sigaction collect = {};
        collect.sa_handler = [](int) {
            while (::waitpid(-1, nullptr, WNOHANG) > 0) {
            }
        };
        ::sigaction(SIGCHLD, &collect, nullptr);
        return run_command("/sbin/tool");
    });
    EXPECT_EQ(result.returned, 3 << 8);
}

TEST(Wait, IsForThisChildOnly) {
    RealToolsRoot root;
    root.script("/sbin/tool", "sleep 0.05; exit 3");
    root.call([] {
        const pid_t other = ::fork();
        if (other == 0) {
            ::_exit(9);
        }
        EXPECT_EQ(run_command("/sbin/tool"), 3 << 8);
        int status = 0;
        EXPECT_EQ(::waitpid(other, &status, 0), other);
        EXPECT_EQ(WEXITSTATUS(status), 9);
        return 0;
    });
}

} // namespace
} // namespace zav
