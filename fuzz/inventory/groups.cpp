// SPDX-License-Identifier: MIT
// What vgdisplay and pvdisplay print, one after the other: each reads both.
#include "inventory/groups.h"

#include "base/text.h"
#include "fuzz.h"
#include "sources/lvm.h"

#include <string>

namespace zav::fuzz {

namespace {

void check_groups(const vginfo_list& groups, std::string_view output) {
    for (const vginfo& group : groups) {
        const std::string_view status = group.status;
        require(status.ends_with("resizable"), "a group is resizable or not");
        const std::string_view name = group.name;
        if (has_group_line(output, name)) {
            require(output.find(name) != output.npos, "a group that is found is in the output");
        }
        for (const pvinfo& volume : group.physical_volumes) {
            require(!volume.name.empty(), "a volume has a name");
            require(volume.vgname.view() == name.substr(0, volume.vgname.capacity),
                    "a volume is in its group");
            require(volume.allocatable.view().starts_with("Allocatable:"), "it says if it is full");
        }
    }
}

} // namespace

void run(std::string_view input) {
    disk_list disks;
    mdinfo_list arrays;
    disk_info& disk = disks.append();
    disk.name = "sdf";
    disk.channel = 6;
    disk.device = "0";
    mdinfo& array = arrays.append();
    array.name = "md1";
    array.device = "sdg";

    for (const bool on_controller : {false, true}) {
        vginfo_list groups;
        parse_vgdisplay(input, groups);
        parse_pvdisplay(input, groups, [&](pvinfo& volume, vginfo& group) {
            if (on_controller) {
                locate_on_controller(volume, group, arrays);
            } else {
                locate_on_disks(volume, group, disks, arrays);
            }
        });
        check_groups(groups, input);
    }
}

} // namespace zav::fuzz
