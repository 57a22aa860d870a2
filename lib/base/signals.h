// SPDX-License-Identifier: MIT
/// \file
/// The signals that a write raises: SIGPIPE where nobody reads any more, SIGXFSZ at the limit on
/// the size of files. Unless they are ignored they end the process, in the middle of whatever it
/// does.
#pragma once

#include <csignal>

namespace zav {

/// For a program at its start: both are ignored from now on, and the tools that it runs get back
/// the actions of before.
void ignore_write_signals();

/// In a child that is about to become another program.
void give_write_signals_back();

/// In a process whose actions are not ours to change, they are held back in the calling thread
/// while this exists, and what came in meanwhile is dropped: the failed write is all that is left.
class HeldWriteSignals {
  public:
    HeldWriteSignals();
    HeldWriteSignals(const HeldWriteSignals&) = delete;
    HeldWriteSignals& operator=(const HeldWriteSignals&) = delete;
    ~HeldWriteSignals();

  private:
    bool holds_ = false;
    sigset_t mask_ = {};    ///< the thread's own
    sigset_t dropped_ = {}; ///< those of the two that were not pending before
};

/// Takes the signals of the set that are pending away from the calling thread, which holds them.
void drop_pending(const sigset_t& signals);

} // namespace zav
