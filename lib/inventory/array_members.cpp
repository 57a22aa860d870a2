// SPDX-License-Identifier: MIT
#include "inventory/array_members.h"

#include "base/text.h"

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

/// A name of one character and a mark, such as a(S).
constexpr std::size_t shortest_marked_member = 4;

bool is_spare_member(std::string_view member) {
    return member.size() >= shortest_marked_member && to_lower(member[member.size() - 2]) == 's';
}

bool first_mark_is_faulty_or_spare(std::string_view members) {
    const std::size_t open = members.find('(');
    if (open == std::string_view::npos || open + 1 == members.size()) {
        return false;
    }
    const char mark = to_lower(members[open + 1]);
    return mark == 'f' || mark == 's';
}

bool lacks_too_many(const mdinfo& array, int missing) {
    if (equal_ignoring_case(array.type, raid_type::linear) ||
        equal_ignoring_case(array.type, raid_type::raid0)) {
        return missing > 0;
    }
    if (equal_ignoring_case(array.type, raid_type::raid1)) {
        return missing >= 2 || (missing == 1 && first_mark_is_faulty_or_spare(array.members));
    }
    return false;
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
    const auto has_disk_of_member = [&existing](std::string_view added) {
        return std::ranges::any_of(split(added, ","), [&existing](std::string_view disk) {
            return uses_disk(existing.members, disk);
        });
    };
    return lists_overlap(existing.members, members) || lists_overlap(existing.members, spare) ||
           lists_overlap(existing.spare, members) || lists_overlap(existing.spare, spare) ||
           has_disk_of_member(members) || has_disk_of_member(spare);
}

bool uses_disk(std::string_view members, std::string_view disk) {
    return std::ranges::any_of(split(members, ","), [disk](std::string_view entry) {
        const std::string_view name = entry.substr(0, entry.rfind('('));
        return name == disk || whole_disk_name(name) == disk;
    });
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
            const std::string disk = volume_disk(volume, disks);
            return !find_member(list, disk).empty() ||
                   !find_member(list, whole_disk_name(disk)).empty();
        });
    });
}

void members_to_channels(mdinfo& array, const disk_list& disks) {
    if (array.members.empty()) {
        return;
    }
    std::string channels;
    std::string spares;
    int missing = 0;
    for (const std::string_view member : split(array.members, ",")) {
        const auto disk = std::ranges::find_if(
            disks, [member](const disk_info& candidate) { return names_disk(member, candidate); });
        if (disk == disks.end()) {
            ++missing;
            continue;
        }
        const std::string channel = std::to_string(disk->channel);
        append_item(channels, channel);
        channels += member.substr(disk->name.size());
        if (is_spare_member(member)) {
            append_item(spares, channel);
        }
    }
    if (lacks_too_many(array, missing)) {
        array.status = inactive_state;
    }
    array.members = channels;
    array.spare = spares;
}

} // namespace zav
