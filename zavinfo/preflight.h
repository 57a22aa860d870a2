// SPDX-License-Identifier: MIT
/// \file
/// --preflight: which of the things that the commands need are here.
#pragma once

#include "zavinfo/needs.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace zavinfo {

enum class Found {
    present,
    missing,
    wrong,    ///< it is there, and not what the commands need
    unneeded, ///< this model does without it
};

struct NeedState {
    const Need* need;
    Found found;
    std::string detail = {}; ///< what is wrong, or where it was found; may be empty
};

/// Whether it is missing or wrong.
bool is_trouble(const NeedState& state);

/// What becomes of a command, and what to do, the way it was found.
Lack lack_of(const NeedState& state);
std::string remedy_of(const NeedState& state);

/// Looks at everything that the table of needs has. Changes nothing; runs only tools that tell
/// their version.
std::vector<NeedState> check_needs(std::string_view model);

/// The product model as the library reads it; empty when it cannot be read.
std::string product_model(std::chrono::seconds time_limit);

/// 0: all is there. 1: something is missing or wrong, and the commands that need it fail. 2:
/// something is, and a command that needs it ends as if all were well, or data is at risk.
int preflight_status(const std::vector<NeedState>& states);

std::string preflight_text(const std::vector<NeedState>& states, std::string_view model);
std::string preflight_json(const std::vector<NeedState>& states, std::string_view model,
                           std::int64_t taken_at);

} // namespace zavinfo
