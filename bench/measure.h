// SPDX-License-Identifier: MIT
// Measures one run of a program from outside. All figures are those of the program alone, without
// its children.
#pragma once

#include <string>
#include <vector>

namespace zav::bench {

struct Usage {
    double wall_ms = 0;
    double own_cpu_ms = 0; ///< user and system time
    int exit_status = -1;  ///< -1 when it was not measured
};

/// Runs a program to its end with input and outputs on /dev/null. The processor time is read from
/// the program's processor clock while it is a zombie: exact to the scheduler's nanosecond, and
/// without its children, whose time only wait(2) would add.
Usage run_measured(const std::vector<std::string>& command);

/// The peak resident memory of a program in KiB: VmHWM in /proc, read when it is about to exit (a
/// tracer is notified of that). rusage would give the largest of the program, its children and its
/// parent. `proc` is where procfs is mounted. 0 when it cannot be read.
long peak_memory_kib(const std::vector<std::string>& command, const std::string& proc);

} // namespace zav::bench
