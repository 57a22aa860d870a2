// SPDX-License-Identifier: MIT
// Runs under strace: which system calls an action makes, and the same run with one of them failing,
// or killed right before it. Only the program itself is traced, not what it starts.
#pragma once

#include "appliance.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace zav::campaign {

struct SystemCall {
    std::string name;
    int number = 0;        // among the calls of that name, from 1
    std::string arguments; // as strace prints them, descriptors with their paths
    std::string result;
    std::string written; // the bytes of a write
    std::string subject; // the file that it is about, or the command that is started

    // Whether it leaves something behind, or lets somebody else do so.
    bool changes_something() const;
    bool syncs() const;
};

// The undisturbed run of an action.
struct Recording {
    test::State before;
    test::State after;
    std::vector<SystemCall> calls;
    std::set<std::string> texts; // everything that was written at once

    // The calls about each subject: the first two and the last of a name. The lists of disks and
    // arrays are read many times over.
    std::vector<SystemCall> distinct_calls() const;
};

Recording record(const std::string& action);

// What strace is to do to a run: "error=EIO" or "signal=KILL", at the n-th call of that name.
struct Disturbance {
    std::string action;
    std::string call;
    int number = 0;
    std::string what;

    std::string described() const;
};

// An appliance on which the action can be run under strace.
class TracedAppliance : public test::Appliance {
  public:
    explicit TracedAppliance(const std::string& action);

    test::Result run_plain();
    test::Result run_disturbed(const Disturbance& how);
    test::Result run_recorded(std::vector<SystemCall>& calls);
    // The code of the same action when it has succeeded before.
    int code_again() const { return again_; }

  private:
    test::Result run_under_strace(const test::Texts& options);

    test::Texts arguments_;
    int again_ = 0;
};

} // namespace zav::campaign
