// SPDX-License-Identifier: MIT
// What the commands do, one row for each action and each variant in which other commands are run:
// the table that the parts of the campaign go through. Which outside commands an action runs is not
// written here, but recorded from an undisturbed run.
#pragma once

#include "appliance.h"

#include <string>
#include <vector>

namespace zav::test {

struct Action {
    std::string name; // for people, and to choose one: no blanks
    Texts arguments;  // the command first
    void (*prepare)(Appliance&);
    Texts may_change; // files below /etc; a "*" at the end stands for anything
    int again = 0;    // the code of the same action when it has succeeded before
    int status = 0;   // the exit status of an undisturbed run
    std::string model = "KOR7206H";

    // Whether it only reads.
    bool is_listing() const;
    // Whether it is refused as it should be: what it would destroy is in use.
    bool is_refusal() const;
    bool may_change_file(const std::string& path) const;
};

const std::vector<Action>& actions();

// The appliance before the action.
void prepare(const Action& action, Appliance& appliance);

} // namespace zav::test
