// SPDX-License-Identifier: MIT
/// \file
/// A snapshot for people.
#pragma once

#include "zavinfo/findings.h"

#include <string>

namespace zavinfo {

struct Look {
    bool has_colours = false;
    bool has_unicode = false; ///< or ASCII alone for branches and bars
};

std::string tree_text(const zav::View& view, const Look& look, const Limits& limits = {});

} // namespace zavinfo
