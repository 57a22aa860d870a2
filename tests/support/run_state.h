// SPDX-License-Identifier: MIT
#pragma once

#include "launch.h"
#include "run.h"

#include <chrono>
#include <string>

namespace zav::test {

// The state of a run under way in the test process.
struct StartedRun::State {
    State() = default;
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    // Starts the run.
    void start(const Launch& launch);
    // Reads both outputs until the end of the run; false if the time limit ended it.
    bool collect(std::string& text_out, std::string& text_err);

    pid_t first_process = -1;
    int process_descriptor = -1;
    int out = -1;
    int err = -1;
    Progress* progress = nullptr;
    std::chrono::steady_clock::time_point deadline;
    std::string run_folder;
    bool allow_unexpected = false;
    bool returns = false; // a function, which is not to be ended by a signal
};

} // namespace zav::test
