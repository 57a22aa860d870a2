// SPDX-License-Identifier: MIT
#include "actions/arrays/recovery.h"

#include "actions/arrays/creation.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/disks.h"
#include "sources/lvm.h"
#include "sources/mdadm.h"

#include <algorithm>
#include <cstdio>

namespace zav {

namespace {

constexpr std::string_view device_directory = "/dev/";

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
