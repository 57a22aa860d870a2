// SPDX-License-Identifier: MIT
// The RAID controller's scan of its disks.
#include "fuzz.h"
#include "sources/vexadm.h"

#include <algorithm>

namespace zav::fuzz {

void run(std::string_view input) {
    disk_list disks;
    parse_controller_scan(input, disks);
    const auto lines = std::ranges::count(input, '\n') + 1;
    const auto pieces = static_cast<std::size_t>(lines) + input.size() / 255;
    require(disks.size() <= pieces, "a line tells of one disk");
    for (const disk_info& disk : disks) {
        require(disk.channel >= 1, "channels count from 1");
        require(disk.device == "0" && disk.name.empty(), "a disk is behind the controller");
        require(!(disk.model == "N.A."), "an empty slot is no disk");
        require((disk.hotspare == 1) == (disk.usage == "Hot Spare"), "its usage makes a hot spare");
    }
}

} // namespace zav::fuzz
