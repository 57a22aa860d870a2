// SPDX-License-Identifier: MIT
#include "base/process.h"

#include "base/file.h"
#include "base/signals.h"
#include "base/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/single_threaded.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace zav {

namespace {

constexpr mode_t new_file_mode = 0666;
constexpr int not_started = 127;

constexpr std::string_view path_variable = "PATH=";

/// Every signal is held back in this thread until it is told otherwise. Then, as long as the child
/// runs, SIGINT and SIGQUIT still are. No action is changed: those are the whole process's.
class HeldSignals {
  public:
    HeldSignals() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, &mask_);
    }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;
    ~HeldSignals() {
        const int error = errno;
        drop_interrupts();
        ::pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
        errno = error;
    }

    void admit_all_but_interrupts() const {
        sigset_t waiting = mask_;
        for (const int number : interrupts) {
            ::sigaddset(&waiting, number);
        }
        ::pthread_sigmask(SIG_SETMASK, &waiting, nullptr);
    }

    /// In the child: none of its parent's handlers may run in it.
    void restore_without_handlers() const {
        struct sigaction usual = {};
        usual.sa_handler = SIG_DFL;
        for (int number = 1; number < NSIG; ++number) {
            struct sigaction action = {};
            if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN &&
                action.sa_handler != SIG_DFL) {
                ::sigaction(number, &usual, nullptr);
            }
        }
        // A tool that waits for children of its own relies on it.
        ::sigaction(SIGCHLD, &usual, nullptr);
        give_write_signals_back();
        ::sigprocmask(SIG_SETMASK, &mask_, nullptr);
    }

  private:
    static constexpr std::array<int, 2> interrupts = {SIGINT, SIGQUIT};

    /// Those that would end the process. What it handles, it is to see.
    void drop_interrupts() const {
        sigset_t dropped;
        ::sigemptyset(&dropped);
        for (const int number : interrupts) {
            struct sigaction action = {};
            ::sigaction(number, nullptr, &action);
            if (::sigismember(&mask_, number) == 0 && action.sa_handler == SIG_DFL) {
                ::sigaddset(&dropped, number);
            }
        }
        drop_pending(dropped);
    }

    sigset_t mask_ = {};
};

/// Opens `path` as `descriptor`.
bool redirect(int descriptor, const char* path, int flags) {
    const int fd = ::open(path, flags, new_file_mode);
    if (fd < 0 || fd == descriptor) {
        return fd >= 0;
    }
    const bool done = ::dup2(fd, descriptor) == descriptor;
    ::close(fd);
    return done;
}

/// In the child: what a command does at its start.
bool stand_apart() {
    ::umask(S_IWGRP | S_IWOTH);
    return ::chdir("/") == 0 && redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
}

/// Where PATH finds the program; empty when it does not, or only in the current directory.
std::string find_program(const std::string& name, std::string_view path) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    for (const std::string_view directory : split(path, ":")) {
        std::string program(directory);
        program.append("/").append(name);
        if (::access(program.c_str(), X_OK) == 0) {
            return program;
        }
    }
    return "";
}

/// All that the child needs, prepared where memory can still be had.
class Program {
  public:
    Program(const PlainCommand& command, const std::string* path, const ProgramLimits& limits)
        : redirections_(command.redirections), limits_(limits) {
        for (const std::string& word : command.words) {
            words_.push_back(const_cast<char*>(word.c_str()));
        }
        words_.push_back(nullptr);
        const char* own_path = std::getenv("PATH");
        file_ =
            find_program(command.words.front(), path != nullptr       ? *path
                                                : own_path != nullptr ? std::string_view(own_path)
                                                                      : std::string_view());
        set_environment(path);
    }

    /// The child's part: becomes the program, or ends. It shares its parent's memory until then
    /// and changes nothing there but `started` and errno; the heap is not touched.
    [[noreturn, gnu::noinline]] void become(const HeldSignals& signals,
                                            volatile bool& started) const {
        signals.restore_without_handlers();
        if (!redirect(STDIN_FILENO, "/dev/null", O_RDONLY)) {
            ::close(STDIN_FILENO);
        }
        if (has_time_limit()) {
            ::setpgid(0, 0);
        }
        bool redirected = (!limits_.is_apart || stand_apart()) &&
                          (limits_.error_output < 0 ||
                           ::dup2(limits_.error_output, STDERR_FILENO) == STDERR_FILENO);
        for (const auto& to : redirections_) {
            const int flags = O_WRONLY | O_CREAT | (to.append ? O_APPEND : O_TRUNC);
            redirected = redirected && redirect(to.descriptor, to.path.c_str(), flags);
        }
        if (redirected) {
            ::execve(file_.c_str(), words_.data(), environment_.data());
        }
        started = false;
        ::_exit(not_started);
    }

    [[nodiscard]] bool has_time_limit() const { return limits_.time_limit.count() > 0; }
    [[nodiscard]] std::chrono::milliseconds time_limit() const { return limits_.time_limit; }

  private:
    void set_environment(const std::string* path) {
        for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
            if (path == nullptr || !std::string_view(*variable).starts_with(path_variable)) {
                environment_.push_back(*variable);
            }
        }
        if (path != nullptr) {
            path_ = std::string(path_variable) + *path;
            environment_.push_back(path_.data());
        }
        environment_.push_back(nullptr);
    }

    const std::vector<PlainCommand::Redirection>& redirections_;
    const ProgramLimits& limits_;
    std::string file_;
    std::string path_;
    std::vector<char*> words_;
    std::vector<char*> environment_;
};

struct Outcome {
    bool started = false;
    int status = number_of(WaitStatus::not_started);
    bool was_ended = false;
};

int wait_for(pid_t pid, int options) {
    int status = -1;
    while (::waitpid(pid, &status, options) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

/// A descriptor that becomes readable when the child ends; none where the kernel has no such thing.
FileDescriptor end_of(pid_t pid) {
    return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

/// Waits for a child that has `end`. False when the time is up.
bool wait_within(pid_t pid, const FileDescriptor& end, std::chrono::milliseconds limit,
                 int& status) {
    using Clock = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    constexpr milliseconds nap{5}; // between two looks at a child that has no descriptor
    const auto last = Clock::now() + limit;
    while (::waitpid(pid, &status, WNOHANG) == 0) {
        const auto left = std::chrono::ceil<milliseconds>(last - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        const milliseconds wait = std::min(left, end ? milliseconds{INT_MAX} : nap);
        pollfd child = {end.get(), POLLIN, 0}; // a negative one is passed over
        ::poll(&child, 1, static_cast<int>(wait.count()));
    }
    return true;
}

/// Tools that took too long, some of which nothing has ended yet. This process stays their parent:
/// a later call collects them. The number of one may have become another child's by then, its
/// descriptor cannot.
class LeftBehind {
  public:
    void add(FileDescriptor end) {
        const std::lock_guard guard(mutex_);
        ends_.push_back(std::move(end));
    }

    void collect() {
        const std::lock_guard guard(mutex_);
        std::erase_if(ends_, [](const FileDescriptor& end) {
            siginfo_t info = {};
            return ::waitid(P_PIDFD, static_cast<id_t>(end.get()), &info, WEXITED | WNOHANG) != 0 ||
                   info.si_pid != 0;
        });
    }

  private:
    std::mutex mutex_;
    std::vector<FileDescriptor> ends_;
};

constinit LeftBehind left_behind;

/// Waits for a program; one that takes too long is ended with all that it has started.
Outcome end_in_time(pid_t pid, const FileDescriptor& end, const Program& program) {
    constexpr std::chrono::seconds patience{2};
    Outcome outcome = {true};
    if (wait_within(pid, end, program.time_limit(), outcome.status)) {
        return outcome;
    }
    int status = 0;
    ::kill(-pid, SIGTERM);
    const bool has_ended = wait_within(pid, end, patience, status);
    ::kill(-pid, SIGKILL);
    if (!has_ended) {
        wait_within(pid, end, patience, status);
    }
    return {true, number_of(WaitStatus::not_started), true};
}

/// Whether nobody else in this process, nor the kernel, can take the status of a child away.
bool has_children_to_itself() {
    struct sigaction action = {};
    return __libc_single_threaded != 0 && ::sigaction(SIGCHLD, nullptr, &action) == 0 &&
           action.sa_handler == SIG_DFL && (action.sa_flags & SA_NOCLDWAIT) == 0;
}

Outcome run_as_child(const Program& program, const HeldSignals& signals) {
    volatile bool started = true;
    // Starting tools is half of the work of a listing, and posix_spawn(3) takes a quarter more.
    const pid_t pid = ::vfork();
    if (pid == 0) {
        program.become(signals, started);
    }
    signals.admit_all_but_interrupts();
    if (pid < 0) {
        return {};
    }
    if (!program.has_time_limit()) {
        const int status = wait_for(pid, 0);
        return {started, status};
    }
    FileDescriptor end = end_of(pid);
    Outcome outcome = end_in_time(pid, end, program);
    outcome.started = started;
    if (outcome.was_ended && end) {
        left_behind.add(std::move(end));
    }
    return outcome;
}

/// The part of the process in between: it has a parent's rights over the tool that its own parent
/// has given away. All its signals are held back.
[[noreturn]] void run_for_parent(const Program& program, const HeldSignals& signals,
                                 Outcome& outcome) {
    struct sigaction usual = {};
    usual.sa_handler = SIG_DFL;
    ::sigaction(SIGCHLD, &usual, nullptr);
    volatile bool started = true;
    const pid_t pid = ::vfork();
    if (pid == 0) {
        program.become(signals, started);
    }
    // What the parent closes meanwhile must not stay open here.
    close_from(0, 0);
    if (pid > 0 && program.has_time_limit()) {
        outcome = end_in_time(pid, end_of(pid), program);
    } else {
        outcome.status = pid > 0 ? wait_for(pid, 0) : number_of(WaitStatus::not_started);
    }
    outcome.started = pid > 0 && started;
    ::_exit(0);
}

/// Runs the program where statuses of children get lost: behind a child that ends without a signal.
/// Neither the kernel nor a wait for any child collects such a one. That lasts until it executes a
/// program, so it cannot be the tool itself. A tool that outlives its time is the system's to
/// collect.
Outcome run_behind_child(const Program& program, const HeldSignals& signals) {
    void* shared =
        ::mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        return {};
    }
    // Until it is known better: something was started, and must not be started again.
    // cppcheck-suppress unreadVariable
    auto* const outcome = new (shared) Outcome{true, number_of(WaitStatus::not_started)};
    const auto pid = static_cast<pid_t>(::syscall(SYS_clone, 0, nullptr, nullptr, nullptr, 0));
    if (pid == 0) {
        run_for_parent(program, signals, *outcome);
    }
    signals.admit_all_but_interrupts();
    if (pid > 0) {
        wait_for(pid, __WALL);
    }
    const Outcome result = pid > 0 ? *outcome : Outcome();
    ::munmap(shared, sizeof(Outcome));
    return result;
}

} // namespace

std::optional<WaitStatus> run_program(const PlainCommand& command, const std::string* path,
                                      const ProgramLimits& limits, bool* was_ended) {
    {
        // What was printed so far must not come after what the tool prints.
        const HeldWriteSignals quiet;
        std::fflush(stdout);
    }
    const Program program(command, path, limits);
    const int caller_errno = errno;
    const HeldSignals signals;
    left_behind.collect();
    const Outcome outcome = has_children_to_itself() ? run_as_child(program, signals)
                                                     : run_behind_child(program, signals);
    if (was_ended != nullptr) {
        *was_ended = outcome.was_ended;
    }
    if (outcome.status != number_of(WaitStatus::not_started)) {
        errno = caller_errno; // as system(3) leaves it; the next line of the log shows its text
    }
    return outcome.started ? std::optional(static_cast<WaitStatus>(outcome.status)) : std::nullopt;
}

} // namespace zav
