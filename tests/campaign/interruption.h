// SPDX-License-Identifier: MIT
// Actions that are disturbed, and what must hold afterwards.
#pragma once

#include "report.h"
#include "traced_run.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zav::campaign {

// A part's command line: "--sample", or the name of one action.
struct Arguments {
    bool is_sample = false;
    std::string only;
};
Arguments parsed_arguments(int argc, char** argv);

// The recordings of all changing actions, of every fifth for a sample, or of the one named.
std::map<std::string, Recording> record_actions(const Arguments& arguments);

// Those that a sample of so many takes, evenly spread.
std::vector<Disturbance> sampled(const std::vector<Disturbance>& all, size_t count);

// Runs the action disturbed and then again; what is wrong with the files, the exit status and
// what is left over, each time.
class Interruption {
  public:
    Interruption(const Recording& recording, const Disturbance& how);

    test::Texts check();

  private:
    bool is_kill() const { return how_.what == "signal=KILL"; }
    // The file of a lock that could not be taken, examined or removed stays; nobody holds it.
    bool may_leave_lock() const;
    // The state once the journals that are there have been finished.
    test::State settled_state() const;
    bool is_known(const std::string& path, const std::string& content) const;
    void check_files(const std::string& when);
    void check_left_over();
    // Leaves what an action's status does not tell, and says so in the log.
    void remove_untold(test::Texts& paths) const;
    void check_status(const test::Result& result);
    void check_again(const test::Result& first, const test::Result& second);
    void note(const std::string& text) { wrong_.push_back(text); }

    const Recording& recording_;
    const Disturbance& how_;
    TracedAppliance appliance_;
    test::Texts wrong_;
};

} // namespace zav::campaign
