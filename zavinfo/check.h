// SPDX-License-Identifier: MIT
/// \file
/// The line of a monitoring plug-in.
#pragma once

#include "zavinfo/findings.h"

namespace zavinfo {

struct CheckResult {
    int status;       ///< 0 ok, 1 warning, 2 critical, 3 unknown
    std::string line; ///< "ZAV OK - TEXT | PERFORMANCE DATA", with a line feed
};

CheckResult check(const zav::View& view, const Limits& limits);

/// When nothing can be said.
CheckResult check_failure(std::string_view reason);

} // namespace zavinfo
