// SPDX-License-Identifier: MIT
#include "measure.h"

#include "base/file.h"
#include "base/text.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <spawn.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::bench {

namespace {

std::vector<char*> pointers_to(const std::vector<std::string>& command) {
    std::vector<char*> words;
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    return words;
}

/// How a child is started: all standard descriptors on /dev/null.
class Quiet {
  public:
    Quiet() {
        ::posix_spawn_file_actions_init(&actions_);
        for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::posix_spawn_file_actions_addopen(&actions_, fd, "/dev/null", O_RDWR, 0);
        }
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    ~Quiet() { ::posix_spawn_file_actions_destroy(&actions_); }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_;
};

double cpu_ms(pid_t pid) {
    clockid_t clock = 0;
    timespec time = {};
    if (::clock_getcpuclockid(pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        return -1;
    }
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// VmHWM of PID/status.
long resident_peak(pid_t pid, const std::string& proc) {
    const auto status = read_file((proc + "/" + std::to_string(pid) + "/status").c_str());
    const auto peak = get_value_from_file(status.value_or(""), "VmHWM", 0, ":");
    return peak ? decimal_int(*peak) : 0;
}

pid_t start_traced(const std::vector<std::string>& command) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        const int null = ::open("/dev/null", O_RDWR);
        for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::dup2(null, fd);
        }
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::execv(command.front().c_str(), pointers_to(command).data());
        ::_exit(127);
    }
    return pid;
}

} // namespace

Usage run_measured(const std::vector<std::string>& command) {
    static const Quiet quiet;
    const std::vector<char*> words = pointers_to(command);
    Usage usage;
    pid_t pid = -1;
    const auto start = std::chrono::steady_clock::now();
    if (::posix_spawn(&pid, words[0], quiet.get(), nullptr, words.data(), environ) != 0) {
        return usage;
    }
    siginfo_t end = {};
    while (::waitid(P_PID, static_cast<id_t>(pid), &end, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    usage.wall_ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    usage.own_cpu_ms = cpu_ms(pid);
    int status = -1;
    ::waitpid(pid, &status, 0);
    if (WIFEXITED(status) && usage.own_cpu_ms >= 0) {
        usage.exit_status = WEXITSTATUS(status);
    }
    return usage;
}

long peak_memory_kib(const std::vector<std::string>& command, const std::string& proc) {
    const pid_t pid = start_traced(command);
    int status = 0;
    long peak = 0;
    bool started = false;
    while (::waitpid(pid, &status, 0) == pid && WIFSTOPPED(status)) {
        int signal = WSTOPSIG(status);
        if (status >> 8 == (SIGTRAP | (PTRACE_EVENT_EXIT << 8))) {
            peak = resident_peak(pid, proc);
            signal = 0;
        } else if (!started) {
            ::ptrace(PTRACE_SETOPTIONS, pid, nullptr, PTRACE_O_TRACEEXIT | PTRACE_O_EXITKILL);
            started = true;
            signal = 0; // the stop at the start of the program
        }
        ::ptrace(PTRACE_CONT, pid, nullptr, signal);
    }
    return WIFEXITED(status) ? peak : 0;
}

} // namespace zav::bench
