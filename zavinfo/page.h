// SPDX-License-Identifier: MIT
/// \file
/// The page for people: one HTML file that needs nothing else.
#pragma once

#include "zavinfo/findings.h"
#include "zavinfo/last_errors.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zavinfo {

struct PageContext {
    Limits limits = {};
    std::int64_t taken_at = 0;            ///< when the snapshot was taken, in seconds since 1970
    std::vector<LoggedError> errors = {}; ///< the latest first
};

std::string page_text(const zav::View& view, const PageContext& context);

} // namespace zavinfo
