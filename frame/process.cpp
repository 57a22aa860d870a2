// SPDX-License-Identifier: MIT
#include "frame/process.h"

#include "frame/file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {

namespace {

constexpr mode_t new_file_mode = 0666;

/// SIGINT and SIGQUIT ignored and SIGCHLD held back while a child runs.
class WaitingSignals {
  public:
    WaitingSignals() {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        ::sigaction(SIGINT, &ignore, &interrupt_);
        ::sigaction(SIGQUIT, &ignore, &quit_);
        sigset_t child;
        ::sigemptyset(&child);
        ::sigaddset(&child, SIGCHLD);
        ::sigprocmask(SIG_BLOCK, &child, &mask_);
    }
    WaitingSignals(const WaitingSignals&) = delete;
    WaitingSignals& operator=(const WaitingSignals&) = delete;
    ~WaitingSignals() {
        ::sigaction(SIGINT, &interrupt_, nullptr);
        ::sigaction(SIGQUIT, &quit_, nullptr);
        ::sigprocmask(SIG_SETMASK, &mask_, nullptr);
    }

    /// What the caller had, for the child.
    [[nodiscard]] const sigset_t& mask() const { return mask_; }
    [[nodiscard]] sigset_t defaults() const {
        sigset_t set;
        ::sigemptyset(&set);
        if (interrupt_.sa_handler != SIG_IGN) {
            ::sigaddset(&set, SIGINT);
        }
        if (quit_.sa_handler != SIG_IGN) {
            ::sigaddset(&set, SIGQUIT);
        }
        return set;
    }

  private:
    struct sigaction interrupt_ = {};
    struct sigaction quit_ = {};
    sigset_t mask_ = {};
};

class SpawnActions {
  public:
    explicit SpawnActions(const PlainCommand& command) {
        ::posix_spawn_file_actions_init(&actions_);
        if (null_) {
            ::posix_spawn_file_actions_adddup2(&actions_, null_.get(), STDIN_FILENO);
        } else {
            ::posix_spawn_file_actions_addclose(&actions_, STDIN_FILENO);
        }
        for (const auto& to : command.redirections) {
            const int flags = O_WRONLY | O_CREAT | (to.append ? O_APPEND : O_TRUNC);
            ::posix_spawn_file_actions_addopen(&actions_, to.descriptor, to.path.c_str(), flags,
                                               new_file_mode);
        }
    }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    FileDescriptor null_ = FileDescriptor::open("/dev/null", O_RDONLY);
    posix_spawn_file_actions_t actions_ = {};
};

class SpawnAttributes {
  public:
    explicit SpawnAttributes(const WaitingSignals& signals) {
        const sigset_t defaults = signals.defaults();
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawnattr_setsigdefault(&attributes_, &defaults);
        ::posix_spawnattr_setsigmask(&attributes_, &signals.mask());
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }

    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_ = {};
};

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

std::optional<int> run_program(const PlainCommand& command) {
    // What was printed so far must not come after what the tool prints.
    std::fflush(stdout);
    std::vector<char*> words;
    for (const std::string& word : command.words) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);

    const WaitingSignals signals;
    const SpawnActions actions(command);
    const SpawnAttributes attributes(signals);
    pid_t pid = -1;
    if (::posix_spawnp(&pid, words[0], actions.get(), attributes.get(), words.data(), environ) !=
        0) {
        return std::nullopt;
    }
    return wait_for(pid);
}

} // namespace zav
