// SPDX-License-Identifier: MIT
// What the programs of the campaign share: their arguments, the choice of cases, and the figures
// that they print.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace zav::test {

struct CampaignOptions {
    bool sample = false; // an evenly spread share of the cases
    std::string only;    // cases whose name contains this, which begins in an action's name
    size_t jobs = 1;     // processes at once
};

// The arguments of a part: --sample, --only TEXT, --jobs COUNT. Ends the process for any other.
// As many jobs for each processor if not told otherwise.
CampaignOptions campaign_options(int argc, char** argv, long jobs_per_processor = 1);

// What is wrong with a case; nothing if all is well.
using Violations = std::vector<std::string>;

struct Case {
    std::string name; // what reproduces it
    std::function<Violations()> run;
};

struct Figure {
    std::string part;
    std::string what;
    size_t cases = 0;
    size_t violations = 0; // cases with at least one

    // One more case, and what is wrong with it, which goes to standard error.
    void count(const Violations& found, const std::string& name);
};

// Prints a figure as a line of its own, tab separated.
void print(const Figure& figure);

// Runs the cases, of a sample one in `share`, and prints the figure. What is wrong with a case goes
// to standard error. A failed expectation of the harness is wrong as well.
Figure run_cases(const CampaignOptions& options, const std::string& part, const std::string& what,
                 const std::vector<Case>& cases, size_t share);

// The exit status of a part: 1 when a case was violated, or a figure has no case.
int status_of(const std::vector<Figure>& figures);

} // namespace zav::test
