// SPDX-License-Identifier: MIT
// Member lists of an array. Input: the array's type, its members, a list to compare them with,
// then the names of the disks, one per line.
#include "inventory/array_members.h"

#include "base/text.h"
#include "fuzz.h"
#include "sources/mdstat.h"

#include <algorithm>
#include <string>

namespace zav::fuzz {

namespace {

void read_disks(std::string_view text, disk_list& disks) {
    int channel = 0;
    for (const std::string_view name : split(text.substr(0, 1024), "\n")) {
        disk_info& disk = disks.append();
        disk.name = name;
        disk.channel = ++channel;
        disk.device = "0";
    }
}

void check_lookups(const mdinfo& array, std::string_view list, const disk_list& disks) {
    const std::string_view entry = find_member(array.members, list);
    require(entry.empty() || entry.starts_with(list), "a member found has the name");
    require(!lists_overlap(array.members, "") && !lists_overlap("", list),
            "nothing overlaps with nothing");

    std::string names(list);
    const int matching = ch_to_disks(disks, names, "0", 2);
    require(matching == 2 || names == list, "a list is rewritten only for the expected number");
    vginfo_list groups;
    require(!is_used_in_volume(list, groups, disks), "no group uses nothing");
    groups.append().physical_volumes.append().name = list;
    is_used_in_volume(array.members, groups, disks);
}

} // namespace

void run(std::string_view input) {
    mdinfo array;
    array.status = "clean";
    array.type = take_line(input);
    array.members = take_line(input);
    const std::string_view list = take_line(input);
    disk_list disks;
    read_disks(input, disks);
    check_lookups(array, list, disks);

    const mdinfo before = array;
    members_to_channels(array, disks);
    require(array.status == "clean" || array.status == inactive_state, "it runs or is inactive");
    require(before.members.empty() == false || array.members.empty(), "nothing is made up");
    if (array.members.full() || array.spare.full()) {
        return;
    }
    for (const std::string_view channel : split(array.members, ",")) {
        require(is_digit(channel.front()), "a member is a channel");
    }
    for (const std::string_view channel : split(array.spare, ",")) {
        require(std::ranges::all_of(channel, is_digit), "a spare is a channel without a mark");
    }
}

} // namespace zav::fuzz
