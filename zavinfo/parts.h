// SPDX-License-Identifier: MIT
/// \file
/// The parts of a snapshot that --json can be asked for alone.
#pragma once

#include "zav/zav.h"

#include <array>
#include <set>
#include <string_view>

namespace zavinfo {

enum class Part {
    disks,
    arrays,
    groups,
    pools,
    filesystems,
    netdisks,
    shares,
    services,
    health,
};

struct PartName {
    Part part;
    std::string_view name;
};

/// In the order of output.
inline constexpr std::array<PartName, 9> part_names = {{{Part::disks, "disks"},
                                                        {Part::arrays, "arrays"},
                                                        {Part::groups, "groups"},
                                                        {Part::pools, "pools"},
                                                        {Part::filesystems, "filesystems"},
                                                        {Part::netdisks, "netdisks"},
                                                        {Part::shares, "shares"},
                                                        {Part::services, "services"},
                                                        {Part::health, "health"}}};

using Parts = std::set<Part>;

inline Parts all_parts() {
    Parts parts;
    for (const PartName& part : part_names) {
        parts.insert(part.part);
    }
    return parts;
}

/// What a snapshot must hold so that each of the parts is the same as in a whole one: storage is
/// linked in both directions.
inline unsigned what_for(const Parts& parts, bool asks_disks) {
    unsigned what = 0;
    for (const Part part : parts) {
        what |= part == Part::services ? ZAV_SERVICES
                : part == Part::health ? ZAV_HEALTH
                                       : ZAV_DISKS | ZAV_ARRAYS | ZAV_GROUPS | ZAV_POOLS |
                                             ZAV_FILESYSTEMS | ZAV_NETDISKS | ZAV_SHARES;
    }
    return what | (asks_disks && parts.contains(Part::disks) ? unsigned{ZAV_SMART} : 0U);
}

} // namespace zavinfo
