// SPDX-License-Identifier: MIT
#include "sources/mvsata.h"

#include "base/text.h"

#include <algorithm>
#include <optional>

namespace zav {

namespace {

constexpr std::size_t first_port_line = 9; // counted lines of a status file, from 0
constexpr std::size_t last_port_line = 14;
constexpr int ports_per_box = 4;
constexpr int channels_per_controller = 8;

/// The number of the box that a port group belongs to, by the last two places of its PCI location.
int box_number(char place, char last) {
    switch (place) {
    case '1':
        return last == '4' || last == '0' ? 1 : last == '5' || last == '1' ? 2 : 0;
    case '0':
        return last == '4' ? 1 : last == '5' ? 2 : 0;
    case '3':
        return last == '3' || last == '2' ? 1 : last == '1' ? 2 : 0;
    case '2':
        return last == '1' ? 3 : last == '2' ? 4 : 0;
    default:
        return 0;
    }
}

/// Nothing when the file has no location, or one without a ",".
std::optional<int> parse_box(std::string_view file) {
    const auto line = get_line(file, "PCI location", 0, ":");
    const std::size_t comma = line ? line->rfind(',') : std::string_view::npos;
    if (comma == std::string_view::npos || comma == 0 || comma < line->find(':')) {
        return std::nullopt;
    }
    return box_number((*line)[comma - 1], line->back());
}

bool starts_with_digit(std::string_view text) {
    return !text.empty() && is_digit(text.front());
}

struct Port {
    int adapter;
    int number;
    std::string_view disk;
};

std::optional<Port> parse_port(std::string_view line) {
    constexpr std::size_t adapter_field = 1;
    constexpr std::size_t port_field = 2;
    constexpr std::size_t disk_field = 9;
    if (!starts_with_digit(line)) {
        return std::nullopt;
    }
    const std::string_view adapter = field(line, blanks, adapter_field);
    const std::string_view port = field(line, blanks, port_field);
    const auto disk = get_field(line, blanks, disk_field);
    if (!disk || !starts_with_digit(adapter) || !starts_with_digit(port)) {
        return std::nullopt;
    }
    return Port{adapter.front() - '0', port.front() - '0', *disk};
}

void add_disk(disk_list& list, std::string_view name, int channel, std::string_view device) {
    disk_info& disk = list.append();
    disk.name = name;
    disk.channel = channel;
    disk.device = device;
}

/// A disk on the controller itself. `box` is the file's for its first disk only: what is worked out
/// for that disk replaces it, so that the files of a second controller move by 8 channels just
/// their first disk. Listings and scripts depend on these numbers; do not straighten it.
void add_own_disk(disk_list& list, const Port& port, int& box) {
    box = std::min(box - 1, 1);
    const int channel = port.adapter + port.number + 1 + channels_per_controller * box;
    add_disk(list, port.disk, channel, disk_device::main_controller);
}

/// A disk behind an expansion box: two groups of four adapters on each of boxes 3 and 4.
void add_expansion_disk(disk_list& list, const Port& port, std::string_view name, int box) {
    constexpr int first_box = 3;
    constexpr int second_box = 4;
    const bool second_group = port.adapter >= ports_per_box;
    if (port.adapter >= 2 * ports_per_box) {
        return;
    }
    const int channel = port.number + ports_per_box * port.adapter + (second_group ? -15 : 1);
    int device = 0; // on any other box there is no tag to tell
    if (box == first_box) {
        device = second_group ? 2 : 1;
    } else if (box == second_box) {
        device = second_group ? 4 : 3;
    }
    add_disk(list, name, channel, format_text("%d", device));
}

} // namespace

void parse_controller_status(std::string_view file, disk_list& list) {
    const auto file_box = parse_box(file);
    if (!file_box) {
        return;
    }
    int box = *file_box;
    CountedLines lines(file);
    std::string_view line;
    for (std::size_t number = 0; number <= last_port_line && lines.next(line); ++number) {
        const auto port = number >= first_port_line ? parse_port(line) : std::nullopt;
        if (!port) {
            continue;
        }
        const bool behind_box = port->disk.starts_with('*');
        const std::string_view name = port->disk.substr(behind_box ? 1 : 0);
        // The name becomes part of commands.
        if (!is_plain_name(name)) {
            continue;
        }
        if (behind_box) {
            add_expansion_disk(list, *port, name, box);
        } else {
            add_own_disk(list, *port, box);
        }
    }
}

} // namespace zav
