// SPDX-License-Identifier: MIT
/// \file
/// What is wrong with the appliance, judged from a snapshot.
#pragma once

#include "zav/zav.hpp"

#include <string>
#include <vector>

namespace zavinfo {

/// From better to worse: what could not be read gives way to what is known to be wrong.
enum class Severity { ok, unknown, warning, critical };

struct Finding {
    Severity severity;
    std::string text;        ///< without a line feed
    std::string advice = {}; ///< what to do, for a person; a sentence or two
};

/// From which use in percent a file system counts as too full.
struct Limits {
    double warning = 90;
    double critical = 97;
};

/// The worst first.
std::vector<Finding> findings_of(const zav::View& view, const Limits& limits = {});

Severity worst_of(const std::vector<Finding>& findings);

/// The status that monitoring plug-ins end with: 0, 1 for a warning, 2, 3 for unknown.
int plugin_status(Severity severity);

} // namespace zavinfo
