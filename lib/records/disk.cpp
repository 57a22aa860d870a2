// SPDX-License-Identifier: MIT
#include "records/disk.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <span>

namespace zav {

namespace {

using namespace std::string_view_literals;

// Partitions of the first are numbered right behind the name, of the others behind a "p".
constexpr std::array lettered_disks = {"sd"sv, "vd"sv, "xvd"sv};
constexpr std::array numbered_disks = {"nvme"sv, "mmcblk"sv};

bool begins_with_one_of(std::string_view name, std::span<const std::string_view> beginnings) {
    return std::ranges::any_of(
        beginnings, [name](std::string_view beginning) { return name.starts_with(beginning); });
}

std::string_view without_number(std::string_view name) {
    while (!name.empty() && is_digit(name.back())) {
        name.remove_suffix(1);
    }
    return name;
}

} // namespace

bool is_disk_name(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, is_letter_or_digit);
}

std::string_view whole_disk_name(std::string_view device) {
    const std::string_view stem = without_number(device);
    // The old IDE disks are in no array or group by their names, but are claimed and held as
    // others.
    if (begins_with_one_of(device, lettered_disks) || device.starts_with("hd")) {
        return stem;
    }
    const bool has_part = stem.size() > 1 && stem.size() < device.size() && stem.ends_with('p') &&
                          is_digit(stem[stem.size() - 2]);
    const bool is_numbered = begins_with_one_of(device, numbered_disks) || device.starts_with("md");
    return is_numbered && has_part ? stem.substr(0, stem.size() - 1) : device;
}

bool is_kind_of_disk(std::string_view device) {
    return begins_with_one_of(device, lettered_disks) || begins_with_one_of(device, numbered_disks);
}

bool is_whole_disk_of(std::string_view device, std::string_view disk) {
    constexpr std::size_t longest = decltype(disk_info::name)::capacity; // a record cuts the rest
    return !disk.empty() && whole_disk_name(device).substr(0, longest) == disk;
}

bool names_disk(std::string_view text, const disk_info& disk) {
    return !disk.name.empty() && text.starts_with(disk.name.view());
}

disk_info& append_copy(disk_list& list, const disk_info& disk) {
    disk_info& copy = list.append();
    copy.name = disk.name;
    copy.channel = disk.channel;
    copy.space = disk.space;
    copy.status = disk.status;
    copy.model = disk.model;
    copy.usage = disk.usage;
    copy.device = disk.device;
    copy.hotspare = disk.hotspare;
    return copy;
}

void disk_place_show(const disk_info& disk, Sink& out) {
    out.print("disk : ch = %d, devcie = %s, name = %s\n", disk.channel, disk.device.c_str(),
              disk.name.c_str());
}

} // namespace zav
