// SPDX-License-Identifier: MIT
#include "volgroups/group_sources.h"

#include "frame/text.h"
#include "frame/units.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace zav {

namespace {

constexpr int kilobytes_to_gigabytes_shift = 20;

/// Calls `use` with the first piece of every line.
template <class Use>
void for_each_line(std::string_view output, Use use) {
    LinePieces pieces(output);
    std::string_view line;
    while (pieces.next(line)) {
        if (pieces.starts_line()) {
            use(line);
        }
    }
}

std::uint64_t number(std::string_view line, std::size_t index) {
    return decimal(field(line, ":", index));
}

/// `count` units of `unit` KB in whole gigabytes; `half` is added before the rest is dropped.
std::uint64_t extents_to_gigabytes(std::uint64_t count, std::uint64_t unit, std::uint64_t half) {
    return (count * unit + half) >> kilobytes_to_gigabytes_shift;
}

std::string group_status(std::uint64_t bits) {
    constexpr std::uint64_t exported = 2;
    constexpr std::uint64_t resizable = 4;
    return format_text("%s%sresizable", (bits & exported) != 0 ? "exported/" : "",
                       (bits & resizable) == 0 ? "not " : "");
}

/// The tool's own flag does not decide: a volume is allocatable when it has extents at all.
std::string allocatable_text(std::uint64_t total, std::uint64_t free) {
    if (total == 0) {
        return "Allocatable:NO";
    }
    return format_text("Allocatable:yes %s", free == 0 ? "(but full)" : "");
}

/// The text between the last "/" and the first ":" of a physical volume's line; nothing when it
/// lacks either.
std::string_view short_name(std::string_view line) {
    const std::string_view path = cut_at(line, ":");
    const std::size_t slash = path.rfind('/');
    if (path.size() == line.size() || slash == std::string_view::npos) {
        return "";
    }
    return path.substr(slash + 1);
}

void read_volume(std::string_view line, pvinfo& volume) {
    constexpr std::uint64_t half_gigabyte_of_kilobytes = std::uint64_t{1} << 19;
    const std::uint64_t extent_size = number(line, 7);
    const std::uint64_t total = number(line, 8);
    const std::uint64_t free = number(line, 9);
    const std::uint64_t allocated = number(line, 10);
    volume.allocatable = allocatable_text(total, free);
    // Rounded half up, while a group's sizes are rounded down: listings have always shown it so.
    volume.size = sectors_to_gib(number(line, 2));
    volume.used = extents_to_gigabytes(allocated, extent_size, half_gigabyte_of_kilobytes);
}

/// The group keeps the device of the last volume that has one.
void set_device(pvinfo& volume, vginfo& group, std::string_view device) {
    volume.device = device;
    if (!device.empty()) {
        group.device = device;
    }
}

} // namespace

void parse_vgdisplay(std::string_view output, vginfo_list& list) {
    for_each_line(output, [&list](std::string_view line) {
        // A remark of the tool has no status bits.
        const std::string_view status = field(line, ":", 2);
        if (status.empty() || !is_digit(status.front())) {
            return;
        }
        vginfo& group = list.append();
        group.name = field(line, ":", 0);
        group.status = group_status(decimal(status));
        group.allsize = number(line, 11) >> kilobytes_to_gigabytes_shift;
        group.usedsize = extents_to_gigabytes(number(line, 14), number(line, 12), 0);
    });
}

void parse_pvdisplay(std::string_view output, vginfo_list& list, const LocateVolume& locate) {
    constexpr std::size_t longest_group_name = decltype(vginfo::name)::capacity;
    std::unordered_map<std::string_view, vginfo*> groups;
    for (vginfo& group : list) {
        groups.emplace(group.name.view(), &group);
    }
    for_each_line(output, [&](std::string_view line) {
        // As the group's record has cut it: a group without its volumes would seem to use no disk.
        const auto found = groups.find(field(line, ":", 1).substr(0, longest_group_name));
        const std::string_view name = short_name(line);
        if (found == groups.end() || name.empty()) {
            return;
        }
        vginfo& group = *found->second;
        pvinfo& volume = group.physical_volumes.append();
        volume.name = name;
        volume.vgname = group.name.view();
        read_volume(line, volume);
        locate(volume, group);
    });
}

void locate_on_disks(pvinfo& volume, vginfo& group, const disk_list& disks, mdinfo_list& arrays) {
    if (volume.name.view().starts_with("md")) {
        if (const mdinfo* array = find_array(arrays, volume.name)) {
            set_device(volume, group, array->device);
        }
    } else if (volume.name.view().starts_with("sd")) {
        const auto disk = std::ranges::find_if(
            disks, [&](const disk_info& candidate) { return candidate.name == volume.name; });
        if (disk != disks.end()) {
            set_device(volume, group, disk->device);
            volume.name = std::to_string(disk->channel);
        }
    }
}

void locate_on_controller(pvinfo& volume, vginfo& group, const mdinfo_list& arrays) {
    if (!volume.name.view().starts_with("sd")) {
        return;
    }
    const auto array = std::ranges::find_if(
        arrays, [&](const mdinfo& candidate) { return candidate.device == volume.name; });
    if (array != arrays.end()) {
        set_device(volume, group, disk_device::main_controller);
        volume.name = array->name.view();
    }
}

bool has_group_line(std::string_view output, std::string_view name) {
    bool found = false;
    for_each_line(output, [&](std::string_view line) {
        found = found || cut_at(skip_blanks(line), ":") == name;
    });
    return found;
}

} // namespace zav
