// SPDX-License-Identifier: MIT
// Starting a run: what the test process prepares, and what its child does with it.
#pragma once

#include "run.h"
#include "sandbox.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace zav::test {

struct Launch {
    Sandbox sandbox;
    std::vector<std::string> arguments;
    std::function<int()> function; // called instead of executing the program when set
    RunOptions options;
    std::string run_folder; // on the host; seen inside as places::run
    bool allow_unexpected = false;
};

// Progress of the child, in memory shared with the test.
struct Progress {
    std::array<char, 1024> error; // why the program was not started; empty if it was
    pid_t pid;                    // the program's, inside
    int wait_status;
    bool ended; // wait_status is set
    int returned;
    bool has_returned;
    bool left_processes;
    int signal_to_send;
};

// Descriptors for the child, as numbered in the test process.
struct Channels {
    int go = -1; // readable once ids are mapped
    int in = -1;
    int out = -1;
    int err = -1;
};

// Process 1 of the namespaces: sets up the root, starts the program, waits for it. Never returns.
[[noreturn]] void run_as_first_process(const Launch& launch, const Channels& channels,
                                       Progress& progress);

// The folder for the counters of a coverage build, bound into every root under the same path:
// $ZAV_TEST_BIND, or the build folder in a coverage build, otherwise empty.
std::string folder_of_counters();

// The environment of the program: "NAME=value" strings.
std::vector<std::string> environment_of(const RunOptions& options);

} // namespace zav::test
