// SPDX-License-Identifier: MIT
/// \file
/// The storage map: what lies on what, from the bays to the shares, as boxes in columns.
#pragma once

#include "zavinfo/findings.h"
#include "zavinfo/html.h"
#include "zavinfo/states.h"

#include <cstddef>
#include <string>
#include <vector>

namespace zavinfo {

enum class Column { bays, arrays, groups, pools, filesystems, shares };

struct Box {
    Column column;
    std::string name;
    std::string detail; ///< a few words, the state among them
    Mark mark = Mark::good;
    std::vector<std::size_t> below = {}; ///< the boxes that it lies on
    double top = 0;                      ///< in rows
};

/// Boxes of a column stand together, from top to bottom.
struct Map {
    std::vector<Box> boxes;
    double rows = 0;
};

Map map_of(const zav::View& view, const Limits& limits);

/// The map as an SVG picture; empty when there is nothing to show.
Html map_picture(const Map& map);

/// The same as a table: a row for each chain.
Html map_table(const zav::View& view);

} // namespace zavinfo
