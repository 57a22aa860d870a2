// SPDX-License-Identifier: MIT
// What the parts of the campaign count and print.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zav::campaign {

// One line of a part's output: how many cases there were, and how many of them were violations.
struct Figure {
    std::string part;
    std::string what;
    long cases = 0;
    long violations = 0;

    // One case, and what is wrong with it; each violation goes to standard error with what
    // reproduces it.
    void count(const std::vector<std::string>& wrong, const std::string& reproduction);
};

// Prints the figures, one per line, tab separated. The exit status: 1 when there is a violation, or
// a figure without a case.
int print(const std::vector<Figure>& figures);

// Catches what the harness reports as failures of a test, of which there is none here.
class HarnessFailures {
  public:
    HarnessFailures();
    ~HarnessFailures();
    HarnessFailures(const HarnessFailures&) = delete;
    HarnessFailures& operator=(const HarnessFailures&) = delete;

    // Those since the last call.
    std::vector<std::string> take();

  private:
    struct Reporter;
    Reporter* reporter_;
};

} // namespace zav::campaign
