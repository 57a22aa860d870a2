// SPDX-License-Identifier: MIT
#include "sources/lvm.h"

#include "base/text.h"
#include "base/units.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace zav {

namespace {

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
    const std::uint64_t extent_size = number(line, 7);
    const std::uint64_t total = number(line, 8);
    const std::uint64_t free = number(line, 9);
    const std::uint64_t allocated = number(line, 10);
    volume.allocatable = allocatable_text(total, free);
    // Rounded half up, while a group's sizes are rounded down: listings have always shown it so.
    volume.size = rounded<Gib>(Sectors{number(line, 2)});
    volume.used = rounded<Gib>(Kib{allocated * extent_size});
}

/// Whether an integer is not 0, whatever its sign.
bool is_set(std::string_view integer) {
    integer.remove_prefix(integer.starts_with('-') ? 1 : 0);
    return decimal(integer) != 0;
}

/// Calls `take` with the name and the group of each pool that lvdisplay -c lists.
template <class Take>
void for_each_pool(std::string_view output, const Take& take) {
    LinePieces pieces(output);
    std::string_view line;
    while (pieces.next(line)) {
        line = trim_left(line);
        if (line.starts_with(device_directory)) {
            take(last_component(cut_at(line, ":")), field(line, ":", 1));
        }
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
        group.allsize = whole<Gib>(Kib{number(line, 11)});
        group.usedsize = whole<Gib>(Kib{number(line, 14) * number(line, 12)});
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

bool has_group_line(std::string_view output, std::string_view name) {
    bool found = false;
    for_each_line(output, [&](std::string_view line) {
        found = found || cut_at(skip_blanks(line), ":") == name;
    });
    return found;
}

void parse_live_volumes(std::string_view output, live_pv_list& list) {
    LinePieces pieces(output);
    std::string_view line;
    while (pieces.next(line)) {
        const std::string_view path = trim(field(line, ":", 0));
        if (path.empty()) {
            continue;
        }
        live_pv& volume = list.append();
        volume.uuid = trim(line.substr(line.rfind(':') + 1));
        volume.pvname = name_in_dev(path).value_or(unknown_device);
    }
}

bool is_whole_volume_list(std::string_view output) {
    constexpr std::ptrdiff_t colons_of_a_volume = 11;
    LinePieces pieces(output);
    std::string_view line;
    bool has_volume = false;
    while (pieces.next(line)) {
        const bool is_remark = line.find("hysical volume ") != std::string_view::npos;
        if (trim(line).empty() || is_remark) {
            continue;
        }
        if (std::ranges::count(line, ':') != colons_of_a_volume || line.ends_with(':')) {
            return false;
        }
        has_volume = has_volume || trim_left(line).starts_with(device_directory); // else it is lost
    }
    return has_volume && output.ends_with('\n');
}

void parse_lvdisplay(std::string_view output, const vginfo_list& groups, pool_list& list) {
    std::unordered_map<std::string_view, std::string_view> devices;
    for (const vginfo& group : groups) {
        devices.emplace(group.name.view(), group.device.view()); // of namesakes the first
    }
    LinePieces pieces(output);
    std::string_view line;
    while (pieces.next(line)) {
        line = trim_left(line);
        if (!line.starts_with(device_directory) || line.find(':') == std::string_view::npos) {
            continue; // a remark of the tool
        }
        pool_info& pool = list.append();
        pool.name = cut_at(line, ":");
        pool.status = is_set(field(line, ":", 3)) ? "available" : "not available";
        pool.vgname = field(line, ":", 1);
        pool.allsize = rounded<Gib>(Sectors{decimal(field(line, ":", 6))});
        if (const auto device = devices.find(pool.vgname); device != devices.end()) {
            pool.device = device->second;
        }
    }
}

bool has_pool_line(std::string_view output, std::string_view pool) {
    LinePieces pieces(output);
    std::string_view line;
    while (pieces.next(line)) {
        // Of a longer line the first piece alone counts.
        if (pieces.starts_line() && last_component(cut_at(trim_left(line), ":")) == pool) {
            return true;
        }
    }
    return false;
}

GroupsByPool groups_of_pools(std::string_view output) {
    GroupsByPool groups;
    for_each_pool(output, [&groups](std::string_view pool, std::string_view group) {
        groups.emplace(pool, group);
    });
    return groups;
}

std::vector<std::string_view> groups_with_pool(std::string_view output, std::string_view pool) {
    std::vector<std::string_view> groups;
    for_each_pool(output, [&](std::string_view name, std::string_view group) {
        if (name == pool) {
            groups.push_back(group);
        }
    });
    return groups;
}

} // namespace zav
