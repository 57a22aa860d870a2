// SPDX-License-Identifier: MIT
#include "base/signals.h"

#include <array>
#include <cerrno>
#include <ctime>

namespace zav {

namespace {

constexpr std::array<int, 2> write_signals = {SIGPIPE, SIGXFSZ};

// Set once, before the program does anything else.
bool are_ignored = false;
std::array<struct sigaction, write_signals.size()> actions_before = {};

} // namespace

void ignore_write_signals() {
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    for (std::size_t i = 0; i < write_signals.size(); ++i) {
        ::sigaction(write_signals[i], &ignore, &actions_before[i]);
    }
    are_ignored = true;
}

void give_write_signals_back() {
    for (std::size_t i = 0; are_ignored && i < write_signals.size(); ++i) {
        ::sigaction(write_signals[i], &actions_before[i], nullptr);
    }
}

HeldWriteSignals::HeldWriteSignals() : holds_(!are_ignored) {
    if (!holds_) {
        return;
    }
    sigset_t pending;
    ::sigpending(&pending);
    ::sigemptyset(&dropped_);
    for (const int number : write_signals) {
        if (::sigismember(&pending, number) == 0) {
            ::sigaddset(&dropped_, number);
        }
    }
    ::pthread_sigmask(SIG_BLOCK, &dropped_, &mask_);
}

HeldWriteSignals::~HeldWriteSignals() {
    if (holds_) {
        const int error = errno;
        drop_pending(dropped_);
        ::pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
        errno = error;
    }
}

void drop_pending(const sigset_t& signals) {
    constexpr timespec at_once = {};
    while (::sigtimedwait(&signals, nullptr, &at_once) > 0) {
    }
}

} // namespace zav
