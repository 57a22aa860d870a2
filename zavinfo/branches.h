// SPDX-License-Identifier: MIT
/// \file
/// Lines that hang below each other.
#pragma once

#include "zavinfo/tree.h"

#include <string>
#include <string_view>
#include <vector>

namespace zavinfo {

struct Branch {
    std::string text;
    std::vector<Branch> branches = {};
};

/// A root and all below it, each on a line of its own.
std::string branch_text(const Branch& root, const Look& look);

enum class Colour { good, doubtful, bad, faint, strong };

std::string coloured(std::string_view text, Colour colour, const Look& look);

/// A bar of a fixed width; `share` is 0 to 1.
std::string bar(double share, const Look& look);

} // namespace zavinfo
