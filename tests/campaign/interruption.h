// SPDX-License-Identifier: MIT
// Actions that are disturbed, and what must hold afterwards.
#pragma once

#include "campaign.h"
#include "traced_run.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zav::campaign {

// A case waits most of its time, for locks and for the kernel to give its namespaces back.
constexpr long interruptions_per_processor = 8;

// The recordings of all changing actions, of some for a sample, or of those named.
std::map<std::string, Recording> record_actions(const test::CampaignOptions& options);

// Disturbs the actions in each of the ways, in some for a sample.
test::Figure run_interruptions(const test::CampaignOptions& options, const std::string& part,
                               const std::string& what,
                               const std::map<std::string, Recording>& recordings,
                               const std::vector<Disturbance>& ways);

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
    bool is_done_ = false; // by the disturbed run, all of it
    test::Texts wrong_;
};

} // namespace zav::campaign
