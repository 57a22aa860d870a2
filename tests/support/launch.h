// SPDX-License-Identifier: MIT
// How a run is started: what the test process prepares, and what its child makes of it.
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

// Memory that the child's side shares with the test: how far it came.
struct Progress {
    std::array<char, 1024> error; // why the program was not started; empty when it was
    pid_t pid;                    // the program's, inside
    int wait_status;
    bool ended; // wait_status is set
    int returned;
    bool has_returned;
    bool left_processes;
    int signal_to_send;
};

// Descriptors of the child's side, numbers of the test process.
struct Channels {
    int go = -1; // readable when ids are mapped
    int in = -1;
    int out = -1;
    int err = -1;
};

// Process 1 of the namespaces: sets up the root, starts the program, waits for it. Never returns.
[[noreturn]] void run_as_first_process(const Launch& launch, const Channels& channels,
                                       Progress& progress);

// The folder in which a coverage build leaves its counters, which every root has under the same
// path: $ZAV_TEST_BIND, else in a coverage build the build folder, else empty.
std::string folder_of_counters();

// The environment of the program: "NAME=value" strings.
std::vector<std::string> environment_of(const RunOptions& options);

} // namespace zav::test
