// SPDX-License-Identifier: MIT
/// \file
/// What zavinfo is asked for.
#pragma once

#include "zavinfo/findings.h"
#include "zavinfo/parts.h"

#include <chrono>
#include <string>

namespace zavinfo {

enum class Output { tree, json, check, metrics, page, preflight, explain, help, version };

struct Options {
    Output output = Output::tree;
    Parts parts = all_parts();
    std::string code = {}; ///< of --explain
    std::string path = {}; ///< of --page
    bool is_json = false;  ///< of --preflight
    Limits limits = {};
    bool is_watching = false;
    bool asks_disks = true; ///< for their health
    std::chrono::seconds interval{2};
    std::chrono::seconds time_limit{30}; ///< of each outside command
    std::string fault = {}; ///< what is wrong with the arguments; empty when nothing is
};

Options parse_options(int count, char* const* arguments);

/// The text of --help.
std::string usage_text();

} // namespace zavinfo
