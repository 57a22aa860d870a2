// SPDX-License-Identifier: MIT
#include "raid/array_recovery.h"

#include "disks/disk_discovery.h"
#include "frame/checks.h"
#include "frame/command.h"
#include "frame/error_codes.h"
#include "frame/text.h"
#include "raid/array_commands.h"
#include "raid/array_creation.h"
#include "raid/array_sources.h"

#include <algorithm>
#include <cstdio>

namespace zav {

namespace {

constexpr std::string_view device_directory = "/dev/";
constexpr int last_slot = 16;
constexpr std::size_t table_words = 9;

bool is_device_path(std::string_view path) {
    return path.starts_with(device_directory) &&
           is_plain_name(path.substr(device_directory.size()));
}

/// The device that a line of the table names among its first words; empty when it names none.
std::string_view device_of(std::string_view line) {
    auto words = split(line, blanks);
    words.resize(std::min(words.size(), table_words));
    const auto found = std::ranges::find_if(
        words, [](std::string_view word) { return word.starts_with(device_directory); });
    return found != words.end() ? *found : "";
}

bool is_slot_line(std::string_view line) {
    return std::ranges::all_of(cut_at(line, blanks), is_digit);
}

bool is_listed(std::string_view path, const std::vector<std::string>& members) {
    return std::ranges::find(members, path) != members.end();
}

/// Reads the array's device table. 0 or error::array_details_unread.
int read_member_table(const char* array, MemberTable& table) {
    const Capture capture("/tmp/mdinfo.XXXXXX");
    if (capture.run_and_log(format_text(recover_detail_command, array, capture.path())) != 0) {
        return error::array_details_unread;
    }
    const auto detail = capture.read();
    auto parsed = detail ? parse_member_table(*detail) : std::nullopt;
    if (!parsed) {
        return error::array_details_unread;
    }
    table = std::move(*parsed);
    return 0;
}

bool was_member(const std::string& disk, const std::vector<std::string>& members) {
    const Capture capture("/tmp/diskinfo.XXXXXX");
    if (capture.run_and_log(format_text(examine_command, disk.c_str(), capture.path())) != 0) {
        return false; // a disk without a superblock
    }
    const auto examination = capture.read();
    return examination && superblock_names_one_of(*examination, members);
}

/// Puts the path of the disk that the array lost into the hole. 0 or error::missing_disk_not_found.
int fill_hole(MemberTable& table) {
    disk_list disks;
    if (get_disk_list(disks) != 0) {
        return error::missing_disk_not_found;
    }
    std::string missing;
    for (const disk_info& disk : disks) {
        const std::string path = std::string(device_directory) + disk.name.c_str();
        if (is_disk_name(disk.name) && !is_listed(path, table.members) &&
            was_member(disk.name.c_str(), table.members)) {
            missing = path; // the last one counts
        }
    }
    if (missing.empty()) {
        return error::missing_disk_not_found;
    }
    const auto place = static_cast<std::ptrdiff_t>(std::min(table.hole - 1, table.members.size()));
    table.members.insert(table.members.begin() + place, missing);
    return 0;
}

std::string disk_names(const std::vector<std::string>& paths) {
    std::string names;
    for (const std::string& path : paths) {
        append_item(names, std::string_view(path).substr(device_directory.size()));
    }
    return names;
}

bool create_again(const char* array, const char* type, const MemberTable& table) {
    return run_or_fail(format_text(stop_command, array)) == 0 &&
           run_recreate_command(array, type, disk_names(table.members)) == 0 &&
           run_or_fail(scan_groups_command) == 0;
}

} // namespace

std::optional<MemberTable> parse_member_table(std::string_view detail) {
    const auto count = parse_detail_value(detail, detail_key::raid_devices);
    if (!count) {
        return std::nullopt;
    }
    MemberTable table;
    table.raid_devices = decimal(*count);
    for (int slot = 0; slot <= last_slot; ++slot) {
        const auto line = get_line(detail, std::to_string(slot).c_str(), 0, blanks);
        if (!line) {
            continue;
        }
        const std::string_view path = device_of(*line);
        if (path.empty()) {
            table.hole = table.members.size() + 1;
        } else if (is_device_path(path)) {
            table.members.emplace_back(path);
        } else {
            return std::nullopt; // it would become part of commands
        }
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

bool superblock_names_one_of(std::string_view examination,
                             const std::vector<std::string>& members) {
    CountedLines lines(examination);
    std::string_view line;
    while (lines.next(line)) {
        if (is_slot_line(line) && is_listed(device_of(line), members)) {
            return true;
        }
    }
    return false;
}

int raid_recover(const char* array, const char* type) {
    MemberTable table;
    if (check_name32(array) != 0 || read_member_table(array, table) != 0) {
        return log_return(error::array_details_unread);
    }
    for (const std::string& path : table.members) {
        std::printf("disk: %s\n", path.c_str());
    }
    if (table.members.empty()) {
        return 0;
    }
    close_hole(table);
    if (table.hole != 0 && fill_hole(table) != 0) {
        return log_return(error::missing_disk_not_found);
    }
    return create_again(array, type, table) ? 0 : log_return(error::array_not_recovered);
}

} // namespace zav
