// SPDX-License-Identifier: MIT
#include "sources/mdadm.h"

#include "base/text.h"
#include "records/raid_level.h"

#include <algorithm>

namespace zav {

namespace {

// From the next kernel on the bitmap of a RAID-5 is safe to use.
constexpr long last_kernel_without_bitmap = 2006029;

constexpr int last_slot = 16;
constexpr std::size_t table_words = 9;

/// sda,sdb as /dev/sda /dev/sdb.
std::string device_list(std::string_view disks) {
    std::string devices;
    for (const std::string_view disk : split(disks, ",")) {
        devices.append(devices.empty() ? "/dev/" : " /dev/").append(disk);
    }
    return devices;
}

bool is_device_path(std::string_view path) {
    const auto name = name_in_dev(path);
    return name && is_plain_name(*name);
}

/// The device that a line of the table names among its first words; empty when it names none.
std::string_view device_of(std::string_view line) {
    auto words = split(line, blanks);
    words.resize(std::min(words.size(), table_words));
    const auto found = std::ranges::find_if(
        words, [](std::string_view word) { return word.starts_with(device_directory); });
    return found != words.end() ? *found : "";
}

std::optional<std::size_t> number_in(const std::vector<std::string_view>& words, std::size_t at) {
    const bool is_number = at < words.size() && std::ranges::all_of(words[at], is_digit);
    return is_number ? std::optional(decimal_size(words[at])) : std::nullopt;
}

/// What a line of the table says of its place.
TableRow read_row(std::string_view line, std::string_view path) {
    constexpr std::size_t slot_word = 3;
    const auto words = split(line, blanks);
    TableRow row;
    row.path = path;
    row.number = number_in(words, 0);
    row.slot = number_in(words, slot_word);
    row.has_data = std::ranges::find(words, "spare") == words.end();
    return row;
}

/// The row of a member; a disk that was found for the hole has the hole's.
const TableRow* find_row(const MemberTable& table, std::string_view path) {
    auto found = std::ranges::find(table.rows, path, &TableRow::path);
    if (found == table.rows.end()) {
        found = std::ranges::find(table.rows, "", &TableRow::path);
    }
    return found != table.rows.end() ? &*found : nullptr;
}

bool is_slot_line(std::string_view line) {
    return std::ranges::all_of(cut_at(line, blanks), is_digit);
}

} // namespace

int count_items(std::string_view list) {
    return static_cast<int>(split(list, ",").size());
}

std::string create_command_text(const mdinfo& array, std::string_view disks, std::int64_t kernel) {
    const char* name = array.name.c_str();
    const int count = count_items(disks);
    const RaidLevel* known = find_raid_level(array.type);
    const int level = known != nullptr ? known->number : 0;
    const std::string devices = device_list(disks);
    const bool foreground = equal_ignoring_case(array.status, foreground_status);
    if (array.type == raid_type::linear) {
        return format_text(create_linear_command, name, "linear", count, devices.c_str());
    }
    if (array.type != raid_type::raid5) {
        return foreground
                   ? format_text(create_foreground_command, name, level, count, devices.c_str())
                   : format_text(create_other_command, name, level, count, devices.c_str());
    }
    if (kernel <= last_kernel_without_bitmap) {
        return foreground
                   ? format_text(create_foreground_command, name, level, count, devices.c_str())
                   : format_text(create_command, name, level, count, devices.c_str());
    }
    return foreground
               ? format_text(create_with_bitmap_foreground_command, name, level, count,
                             devices.c_str())
               : format_text(create_with_bitmap_command, name, level, count, devices.c_str());
}

std::string recreate_command_text(std::string_view name, int level, std::string_view disks) {
    return format_text(create_command, std::string(name).c_str(), level, count_items(disks),
                       device_list(disks).c_str());
}

std::optional<std::string_view> parse_detail_value(std::string_view detail, const char* key) {
    const auto line = get_line(detail, key, 0, ":");
    if (!line) {
        return std::nullopt;
    }
    return field(*line, ":", 1);
}

bool is_rebuilding(std::string_view status) {
    return std::ranges::any_of(split(status, " ,"), [](std::string_view word) {
        word = word.substr(0, word.rfind('('));
        return word == "recovering" || word == "resyncing";
    });
}

std::optional<MemberTable> parse_member_table(std::string_view detail) {
    const auto count = parse_detail_value(detail, detail_key::raid_devices);
    if (!count) {
        return std::nullopt;
    }
    MemberTable table;
    table.raid_devices = decimal_size(*count);
    for (int slot = 0; slot <= last_slot; ++slot) {
        const auto line = get_line(detail, std::to_string(slot).c_str(), 0, blanks);
        if (!line) {
            continue;
        }
        const std::string_view path = device_of(*line);
        if (path.empty()) {
            table.hole = table.members.size() + 1;
            std::erase_if(table.rows, [](const TableRow& row) { return row.path.empty(); });
        } else if (is_device_path(path)) {
            table.members.emplace_back(path);
        } else {
            return std::nullopt; // it would become part of commands
        }
        table.rows.push_back(read_row(*line, path));
    }
    return table;
}

void close_hole(MemberTable& table) {
    if (table.hole == 0 || table.members.size() != table.raid_devices) {
        return;
    }
    // A hole behind the last member has it in place already.
    if (table.hole < table.members.size()) {
        const auto place = table.members.begin() + static_cast<std::ptrdiff_t>(table.hole - 1);
        std::rotate(place, table.members.end() - 1, table.members.end());
    }
    table.hole = 0;
}

std::size_t count_with_data(const MemberTable& table) {
    return static_cast<std::size_t>(
        std::ranges::count_if(table.members, [&table](const std::string& path) {
            const TableRow* row = find_row(table, path);
            return row == nullptr || row->has_data;
        }));
}

bool is_in_slot_order(const MemberTable& table) {
    std::size_t untold = 0;
    bool are_numbered = true;
    for (std::size_t place = 0; place < table.members.size(); ++place) {
        const TableRow* row = find_row(table, table.members[place]);
        if (row == nullptr) {
            continue;
        }
        const bool is_told = row->slot && *row->slot < table.raid_devices;
        if (is_told && *row->slot != place) {
            return false;
        }
        untold += is_told ? 0 : 1;
        are_numbered = are_numbered && (is_told || row->number == place);
    }
    return untold <= 1 || are_numbered;
}

bool superblock_names_one_of(std::string_view examination,
                             const std::vector<std::string>& members) {
    CountedLines lines(examination);
    std::string_view line;
    while (lines.next(line)) {
        if (is_slot_line(line) && std::ranges::find(members, device_of(line)) != members.end()) {
            return true;
        }
    }
    return false;
}

} // namespace zav
