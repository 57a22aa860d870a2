// SPDX-License-Identifier: MIT
/// \file
/// What would go with a disk if it failed now.
#pragma once

#include "zav/zav.hpp"

#include <set>
#include <string>
#include <vector>

namespace zavinfo {

/// From better to worse.
enum class LossKind {
    nothing, ///< no data, and nothing loses its protection by it
    spare,   ///< only a disk that would have helped
    guard,   ///< what it belongs to runs on, with less protection
    gone,    ///< what is listed is lost already
    unknown, ///< the array's level or state is not known
    data,    ///< what is listed goes with it
};

/// Indices into the snapshot's lists.
struct Loss {
    LossKind kind = LossKind::nothing;
    std::vector<std::string> reasons = {}; ///< a sentence for each thing that the disk is part of
    std::set<std::size_t> arrays = {};     ///< what is lost, as far as kind says so
    std::set<std::size_t> groups = {};
    std::set<std::size_t> pools = {};
    std::set<std::size_t> filesystems = {};
    std::set<std::size_t> shares = {};
};

Loss loss_of(const zav::View& view, std::size_t disk);

/// The kind in a few words, such as "nothing lost".
std::string loss_summary(const Loss& loss);

} // namespace zavinfo
