// SPDX-License-Identifier: MIT
#include "base/process.h"

#include "base/text.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zav {

namespace {

constexpr mode_t new_file_mode = 0666;
constexpr int not_started = 127;

/// Until it is told otherwise, every signal is held back. Then, as long as the child runs, SIGCHLD
/// still is, and SIGINT and SIGQUIT are ignored.
class WaitingSignals {
  public:
    WaitingSignals() {
        sigset_t all;
        ::sigfillset(&all);
        ::sigprocmask(SIG_BLOCK, &all, &mask_);
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        ::sigaction(SIGINT, &ignore, &interrupt_);
        ::sigaction(SIGQUIT, &ignore, &quit_);
    }
    WaitingSignals(const WaitingSignals&) = delete;
    WaitingSignals& operator=(const WaitingSignals&) = delete;
    ~WaitingSignals() { restore(); }

    void admit_all_but_child() const {
        sigset_t waiting = mask_;
        ::sigaddset(&waiting, SIGCHLD);
        ::sigprocmask(SIG_SETMASK, &waiting, nullptr);
    }

    /// In the child, which shares the memory of its parent until it is another program: none of
    /// the parent's handlers may run in it.
    void restore_without_handlers() const {
        ::sigaction(SIGINT, &interrupt_, nullptr);
        ::sigaction(SIGQUIT, &quit_, nullptr);
        for (int number = 1; number < NSIG; ++number) {
            struct sigaction action = {};
            if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN &&
                action.sa_handler != SIG_DFL) {
                action = {};
                action.sa_handler = SIG_DFL;
                ::sigaction(number, &action, nullptr);
            }
        }
        ::sigprocmask(SIG_SETMASK, &mask_, nullptr);
    }

  private:
    void restore() const {
        ::sigaction(SIGINT, &interrupt_, nullptr);
        ::sigaction(SIGQUIT, &quit_, nullptr);
        ::sigprocmask(SIG_SETMASK, &mask_, nullptr);
    }

    struct sigaction interrupt_ = {};
    struct sigaction quit_ = {};
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

/// Where PATH finds the program; empty when it does not, or only in the current directory.
std::string find_program(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    const char* path = std::getenv("PATH");
    for (const std::string_view directory : split(path != nullptr ? path : "", ":")) {
        std::string program(directory);
        program.append("/").append(name);
        if (::access(program.c_str(), X_OK) == 0) {
            return program;
        }
    }
    return "";
}

/// The child's part: becomes the program, or ends. It shares its parent's memory until then
/// and changes nothing there but `started` and errno; the heap is not touched.
[[noreturn, gnu::noinline]] void become_program(const char* program, char* const* words,
                                                const PlainCommand& command,
                                                const WaitingSignals& signals,
                                                volatile bool& started) {
    signals.restore_without_handlers();
    if (!redirect(STDIN_FILENO, "/dev/null", O_RDONLY)) {
        ::close(STDIN_FILENO);
    }
    bool redirected = true;
    for (const auto& to : command.redirections) {
        const int flags = O_WRONLY | O_CREAT | (to.append ? O_APPEND : O_TRUNC);
        redirected = redirected && redirect(to.descriptor, to.path.c_str(), flags);
    }
    if (redirected) {
        ::execve(program, words, environ);
    }
    started = false;
    ::_exit(not_started);
}

int wait_for(pid_t pid) {
    int status = -1;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

} // namespace

std::optional<WaitStatus> run_program(const PlainCommand& command) {
    // What was printed so far must not come after what the tool prints.
    std::fflush(stdout);
    std::vector<char*> words;
    for (const std::string& word : command.words) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    const std::string program = find_program(command.words.front());

    const int caller_errno = errno;
    const WaitingSignals signals;
    volatile bool started = true;
    // Starting tools is half of the work of a listing, and posix_spawn(3) takes a quarter more.
    const pid_t pid = ::vfork();
    if (pid == 0) {
        become_program(program.c_str(), words.data(), command, signals, started);
    }
    signals.admit_all_but_child();
    if (pid < 0) {
        return std::nullopt;
    }
    const int status = wait_for(pid);
    if (status != -1) {
        errno = caller_errno; // as system(3) leaves it; the next line of the log shows its text
    }
    return started ? std::optional(static_cast<WaitStatus>(status)) : std::nullopt;
}

} // namespace zav
