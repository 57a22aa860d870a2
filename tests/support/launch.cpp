// SPDX-License-Identifier: MIT
#include "launch.h"

#include "standin/command_text.h"
#include "standin/places.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// Defined only in builds with the address sanitizer, or with --coverage.
extern "C" void __asan_init() __attribute__((weak));
extern "C" void __gcov_exit() __attribute__((weak));

namespace zav::test {
namespace {

Progress* progress_of_this_run = nullptr;

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("private root: " + what + ": " + std::strerror(errno));
}

void forward_signal(int) {
    kill(progress_of_this_run->pid, progress_of_this_run->signal_to_send);
}

void note_error(Progress& progress, const char* text) {
    std::snprintf(progress.error.data(), progress.error.size(), "%s", text);
}

// Makes the next process in this namespace get the id `pid`.
void choose_next_pid(pid_t pid) {
    const std::string folder = std::string(places::proc) + "/sys/kernel/";
    long most = 0;
    std::ifstream(folder + "pid_max") >> most;
    if (pid >= most) {
        std::ofstream(folder + "pid_max") << pid + 1;
    }
    std::ofstream out(folder + "ns_last_pid");
    out << pid - 1;
    if (!out.flush()) {
        fail("cannot choose process id " + std::to_string(pid));
    }
}

void open_descriptors(const RunOptions& options) {
    for (const auto& [number, path] : options.descriptors) {
        int opened = open(path.c_str(), O_RDWR | O_CREAT, 0644);
        if (opened < 0 && errno == EISDIR) {
            opened = open(path.c_str(), O_RDONLY | O_DIRECTORY);
        }
        if (opened < 0 || (opened != number && dup2(opened, number) < 0)) {
            fail("cannot open " + path);
        }
        if (opened != number) {
            close(opened);
        }
    }
    for (const int number : options.closed) {
        close(number);
    }
}

void prepare_signals(const RunOptions& options) {
    for (int number = 1; number < NSIG; ++number) {
        signal(number, options.ignored_signals.contains(number) ? SIG_IGN : SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

void lower_limits(const RunOptions& options) {
    for (const auto& [number, value] : options.limits) {
        const auto resource = static_cast<__rlimit_resource>(number);
        rlimit limit{};
        getrlimit(resource, &limit);
        limit.rlim_cur = std::min(value, limit.rlim_max);
        setrlimit(resource, &limit);
    }
}

void prepare_process(const RunOptions& options, const Channels& channels) {
    if (dup2(channels.in, 0) < 0 || dup2(channels.out, 1) < 0 || dup2(channels.err, 2) < 0) {
        fail("cannot connect the standard descriptors");
    }
    close_range(3, ~0U, 0);
    prepare_signals(options);
    open_descriptors(options);
    umask(options.umask);
    if (chdir(options.working_directory.c_str()) != 0) {
        fail("cannot enter " + options.working_directory);
    }
    rlimit no_core{};
    setrlimit(RLIMIT_CORE, &no_core);
    if (options.uid != 0) {
        drop_privileges(options.uid);
    }
    lower_limits(options);
}

[[noreturn]] void execute(const Launch& launch) {
    std::vector<std::string> environment = environment_of(launch.options);
    std::vector<std::string> arguments = launch.arguments;
    std::string program = launch.options.program;
    arguments.insert(arguments.begin(), launch.options.argv0);
    if (program == "/usr/bin/zavbox" && access(places::emulator, X_OK) == 0) {
        arguments.insert(arguments.begin(),
                         {places::emulator, "-0", arguments.front(), places::emulated});
        arguments.erase(arguments.begin() + 4);
        program = places::emulator;
    }
    const auto pointers = [](std::vector<std::string>& texts) {
        std::vector<char*> result;
        for (std::string& text : texts) {
            result.push_back(text.data());
        }
        result.push_back(nullptr);
        return result;
    };
    execve(program.c_str(), pointers(arguments).data(), pointers(environment).data());
    fail("cannot execute " + program);
}

// Passes failed expectations on to the test through a file.
class FailureRecorder : public testing::ScopedFakeTestPartResultReporter {
  public:
    FailureRecorder()
        : ScopedFakeTestPartResultReporter(INTERCEPT_ONLY_CURRENT_THREAD, &ignored_) {}
    void ReportTestPartResult(const testing::TestPartResult& result) override {
        if (!result.failed()) {
            return;
        }
        const char* file = result.file_name();
        std::ofstream(places::failures, std::ios::app | std::ios::binary)
            << record(file != nullptr ? file : "") << record(std::to_string(result.line_number()))
            << record(result.message());
    }

  private:
    testing::TestPartResultArray ignored_;
};

// The counters of a coverage build are written at the end: the limit is on what was called.
void make_room_for_counters() {
    rlimit limit{};
    if (__gcov_exit != nullptr && getrlimit(RLIMIT_FSIZE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
}

// Uses exit(), so that buffers, coverage data and leak checks work as in any program.
[[noreturn]] void call_function(const Launch& launch, Progress& progress) {
    const std::vector<std::string> environment = environment_of(launch.options);
    clearenv();
    for (const std::string& variable : environment) {
        const size_t sign = variable.find('=');
        setenv(variable.substr(0, sign).c_str(), variable.substr(sign + 1).c_str(), 1);
    }
    tzset();
    prctl(PR_SET_DUMPABLE, 1); // the leak check attaches to the process
    const FailureRecorder recorder;
    try {
        progress.returned = launch.function();
        progress.has_returned = true;
    } catch (const std::exception& error) {
        note_error(progress, (std::string("exception in call(): ") + error.what()).c_str());
    }
    make_room_for_counters();
    std::exit(0);
}

[[noreturn]] void run_program(const Launch& launch, const Channels& channels,
                              Progress& progress) noexcept {
    try {
        prepare_process(launch.options, channels);
        if (launch.function) {
            call_function(launch, progress);
        }
        execute(launch);
    } catch (const std::exception& error) {
        note_error(progress, error.what());
    }
    _exit(127);
}

// fork(2), again for a few seconds when a busy machine has no room for another process.
pid_t fork_in_time() {
    constexpr int attempts = 50;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const pid_t pid = fork();
        if (pid >= 0) {
            return pid;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    fail("cannot start the program");
}

void wait_for_program(Progress& progress) {
    for (;;) {
        int status = 0;
        const pid_t pid = waitpid(-1, &status, 0);
        if (pid < 0 && errno == EINTR) {
            continue;
        }
        if (pid < 0) {
            fail("lost the program");
        }
        if (pid != progress.pid) {
            continue;
        }
        progress.wait_status = status;
        progress.ended = true;
        break;
    }
    pid_t other = 0;
    while ((other = waitpid(-1, nullptr, WNOHANG)) > 0) {
    }
    progress.left_processes = other == 0;
}

} // namespace

void run_as_first_process(const Launch& launch, const Channels& channels, Progress& progress) {
    try {
        char byte = 0;
        if (read(channels.go, &byte, 1) != 1) {
            _exit(1);
        }
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        enter(launch.sandbox);
        progress_of_this_run = &progress;
        signal(SIGCHLD, SIG_DFL);
        signal(SIGUSR1, forward_signal);
        if (launch.options.pid != 0) {
            choose_next_pid(launch.options.pid);
        }
        const pid_t program = fork_in_time();
        progress.pid = program != 0 ? program : getpid();
        if (program == 0) {
            run_program(launch, channels, progress);
        }
        close_range(0, ~0U, 0);
        wait_for_program(progress);
    } catch (const std::exception& error) {
        note_error(progress, error.what());
    }
    _exit(0);
}

std::vector<std::string> environment_of(const RunOptions& options) {
    std::map<std::string, std::optional<std::string>> variables = {
        {"PATH", "/bin:/sbin:/usr/bin:/usr/sbin:/usr/local/bin:/usr/local/sbin"},
        {"HOME", "/"},
        {"TZ", "UTC0"}};
    for (const char* name : {"GCOV_PREFIX", "GCOV_PREFIX_STRIP", "LLVM_PROFILE_FILE"}) {
        if (const char* value = std::getenv(name); value != nullptr) {
            variables[name] = value;
        }
    }
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
        const char* value = std::getenv(name);
        if (value != nullptr || __asan_init != nullptr) {
            variables[name] = std::string(value != nullptr ? value : "") +
                              ":log_path=" + places::run + "/sanitizer";
        }
    }
    if (__asan_init != nullptr && access(places::symbolizer, X_OK) == 0) {
        variables["ASAN_SYMBOLIZER_PATH"] = places::symbolizer;
    }
    for (const auto& [name, value] : options.environment) {
        variables[name] = value;
    }
    std::vector<std::string> environment;
    for (const auto& [name, value] : variables) {
        if (value) {
            environment.push_back(name + "=" + *value);
        }
    }
    return environment;
}

} // namespace zav::test
