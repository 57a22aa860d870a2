// SPDX-License-Identifier: MIT
#include "raid/array_checks.h"

#include "frame/text.h"

#include <algorithm>

namespace zav {

namespace {

bool has_item(std::string_view list, std::string_view item) {
    const auto items = split(list, ",");
    return std::ranges::find(items, item) != items.end();
}

bool is_chosen(const disk_info& disk, std::string_view list) {
    return has_item(list, std::to_string(disk.channel)) ||
           (!disk.name.empty() && disk.name == list);
}

/// The kernel name of a volume: one that is a channel is translated, if a disk has it.
std::string volume_disk(const pvinfo& volume, const disk_list& disks) {
    std::string name(volume.name.view());
    const bool is_channel = !name.empty() && name.front() >= '1' && name.front() <= '9';
    if (is_channel) {
        ch_to_disks(disks, name, volume.device, 1);
    }
    return name;
}

} // namespace

int ch_to_disks(const disk_list& disks, std::string& list, std::string_view device, int expected) {
    std::string names;
    int count = 0;
    for (const disk_info& disk : disks) {
        if (is_chosen(disk, list) && disk.device == device) {
            append_item(names, disk.name);
            ++count;
        }
    }
    if (count == expected) {
        list = names;
    }
    return count;
}

bool lists_overlap(std::string_view existing, std::string_view added) {
    return std::ranges::any_of(split(existing, ","), [added](std::string_view entry) {
        return has_item(added, cut_at(entry, "("));
    });
}

bool overlaps_array(const mdinfo& existing, std::string_view members, std::string_view spare) {
    return lists_overlap(existing.members, members) || lists_overlap(existing.members, spare) ||
           lists_overlap(existing.spare, members) || lists_overlap(existing.spare, spare);
}

std::string_view find_member(std::string_view members, std::string_view name) {
    for (const std::string_view entry : split(members, ",")) {
        if (entry.substr(0, entry.rfind('(')) == name) {
            return entry;
        }
    }
    return "";
}

bool is_used_in_volume(std::string_view list, const vginfo_list& groups, const disk_list& disks) {
    if (list.empty()) {
        return false;
    }
    return std::ranges::any_of(groups, [&](const vginfo& group) {
        return std::ranges::any_of(group.physical_volumes, [&](const pvinfo& volume) {
            return !find_member(list, volume_disk(volume, disks)).empty();
        });
    });
}

} // namespace zav
