// SPDX-License-Identifier: MIT
#include "actions/arrays/recovery.h"

#include "actions/arrays/creation.h"
#include "actions/disks/claims.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/array_account.h"
#include "inventory/disks.h"
#include "sources/lvm.h"
#include "sources/mdadm.h"

#include <algorithm>

namespace zav {

namespace {

constexpr std::string_view device_directory = "/dev/";

bool is_listed(std::string_view path, const std::vector<std::string>& members) {
    return std::ranges::find(members, path) != members.end();
}

/// Reads the array's device table. Code::ok or Code::array_details_unread.
Code read_member_table(const char* array, MemberTable& table) {
    const Capture capture("/tmp/mdinfo.XXXXXX");
    if (failed(capture.run_and_log(format_text(recover_detail_command, array, capture.path())))) {
        return Code::array_details_unread;
    }
    const auto detail = capture.read();
    auto parsed = detail ? parse_member_table(*detail) : std::nullopt;
    if (!parsed) {
        return Code::array_details_unread;
    }
    table = std::move(*parsed);
    return Code::ok;
}

bool was_member(const std::string& disk, const std::vector<std::string>& members) {
    const Capture capture("/tmp/diskinfo.XXXXXX");
    if (failed(capture.run_and_log(format_text(examine_command, disk.c_str(), capture.path())))) {
        return false; // a disk without a superblock
    }
    const auto examination = capture.read();
    return examination && superblock_names_one_of(*examination, members);
}

/// Puts the path of the disk that the array lost into the hole. Code::ok or
/// Code::missing_disk_not_found.
Code fill_hole(MemberTable& table, Sink& out) {
    disk_list disks;
    if (failed(get_disk_list(disks, out))) {
        return Code::missing_disk_not_found;
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
        return Code::missing_disk_not_found;
    }
    const auto place = static_cast<std::ptrdiff_t>(std::min(table.hole - 1, table.members.size()));
    table.members.insert(table.members.begin() + place, missing);
    return Code::ok;
}

std::string disk_names(const std::vector<std::string>& paths) {
    std::string names;
    for (const std::string& path : paths) {
        append_item(names, std::string_view(path).substr(device_directory.size()));
    }
    return names;
}

/// Code::ok, or Code::array_details_unread with a message: what is created again with other members
/// than the array has slots destroys what they hold.
Code check_complete(const char* array, const MemberTable& table) {
    if (table.members.size() == table.raid_devices) {
        return Code::ok;
    }
    log_error("'%s' is not recovered: it has %zu slots, and %zu disks are found", array,
              table.raid_devices, table.members.size());
    return Code::array_details_unread;
}

/// Code::ok, or Code::array_details_unread with a message for an array that needs no recovery.
Code check_broken(const char* array, const char* type) {
    if (array_account(array, type) != ArrayAccount::complete) {
        return Code::ok;
    }
    log_error("'%s' is not recovered: it runs with all its members", array);
    return Code::array_details_unread;
}

/// Claims the disks. Code::ok, or Code::array_details_unread with a message.
Code claim_members(DiskClaims& claims, const MemberTable& table) {
    std::vector<std::string_view> disks;
    for (const std::string_view path : table.members) {
        disks.push_back(path.substr(device_directory.size()));
    }
    return claims.add_all(disks) ? Code::ok : Code::array_details_unread;
}

bool create_again(const char* array, const char* type, const MemberTable& table) {
    return !failed(run_or_fail(format_text(stop_command, array))) &&
           !failed(run_recreate_command(array, type, disk_names(table.members))) &&
           !failed(run_or_fail(scan_groups_command));
}

} // namespace

Code raid_recover(const char* array, const char* type, Sink& out) {
    MemberTable table;
    if (failed(check_name32(array)) || failed(read_member_table(array, table))) {
        return log_return(Code::array_details_unread);
    }
    for (const std::string& path : table.members) {
        out.print("disk: %s\n", path.c_str());
    }
    if (failed(check_broken(array, type))) {
        return log_return(Code::array_details_unread);
    }
    close_hole(table);
    if (table.hole != 0 && !table.members.empty() && failed(fill_hole(table, out))) {
        return log_return(Code::missing_disk_not_found);
    }
    DiskClaims claims;
    if (failed(check_complete(array, table)) || failed(claim_members(claims, table))) {
        return log_return(Code::array_details_unread);
    }
    if (table.members.empty()) {
        return Code::ok;
    }
    return create_again(array, type, table) ? Code::ok : log_return(Code::array_not_recovered);
}

} // namespace zav
