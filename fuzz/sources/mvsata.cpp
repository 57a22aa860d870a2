// SPDX-License-Identifier: MIT
// Status files of the disk controller.
#include "sources/mvsata.h"

#include "base/text.h"
#include "fuzz.h"

namespace zav::fuzz {

void run(std::string_view input) {
    disk_list disks;
    parse_controller_status(input, disks);
    require(disks.size() <= 6, "a file tells of six ports");
    for (const disk_info& disk : disks) {
        require(is_plain_name(disk.name), "a disk has a plain name");
        require(disk.device.size() == 1 && disk.device.view() >= "0" && disk.device.view() <= "4",
                "a disk is on the controller or behind one of four box groups");
        require(disk.channel >= -64 && disk.channel <= 64, "a channel is worked out of digits");
        require(disk.hotspare == 0 && disk.space.count == 0, "the file tells nothing else");
    }
}

} // namespace zav::fuzz
