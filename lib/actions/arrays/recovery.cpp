// SPDX-License-Identifier: MIT
#include "actions/arrays/recovery.h"

#include "actions/arrays/creation.h"
#include "actions/disks/claims.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/text.h"
#include "inventory/array_account.h"
#include "inventory/disk_use.h"
#include "inventory/disks.h"
#include "sources/lvm.h"
#include "sources/mdadm.h"
#include "sources/sys_block.h"

#include <algorithm>
#include <utility>

namespace zav {

namespace {

/// What the kernel calls a member.
std::string_view disk_of(std::string_view path) {
    return name_in_dev(path).value_or(path);
}

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

/// The disk that the array lost, claimed from before it is looked at.
struct FoundDisk {
    std::string name = {};
    DiskClaims claim = {};
    bool is_claimed = false;
};

FoundDisk find_missing(const MemberTable& table, const disk_list& disks) {
    FoundDisk found;
    for (const disk_info& disk : disks) {
        const std::string path = std::string(device_directory) + disk.name.c_str();
        if (!is_disk_name(disk.name) || is_listed(path, table.members)) {
            continue;
        }
        FoundDisk candidate{.name = disk.name.c_str()};
        candidate.is_claimed = candidate.claim.add(candidate.name);
        if (was_member(candidate.name, table.members)) {
            found = std::move(candidate); // the last one counts
        }
    }
    return found;
}

/// Puts the path of the disk that the array lost into the hole. Code::ok;
/// Code::missing_disk_not_found; Code::array_details_unread for one that something else uses, which
/// is logged.
Code fill_hole(const char* array, MemberTable& table, FoundDisk& missing, Sink& out) {
    disk_list disks;
    if (failed(get_disk_list(disks, out))) {
        return Code::missing_disk_not_found;
    }
    missing = find_missing(table, disks);
    if (missing.name.empty()) {
        return Code::missing_disk_not_found;
    }
    if (!missing.is_claimed || is_held_by_kernel(missing.name)) {
        log_error("'%s' is not recovered: '%s' is held by %s", array, missing.name.c_str(),
                  missing.is_claimed ? "the kernel" : "another command");
        return Code::array_details_unread;
    }
    const auto place = static_cast<std::ptrdiff_t>(std::min(table.hole - 1, table.members.size()));
    table.members.insert(table.members.begin() + place,
                         std::string(device_directory) + missing.name);
    return Code::ok;
}

std::string disk_names(const std::vector<std::string>& paths) {
    std::string names;
    for (const std::string& path : paths) {
        append_item(names, disk_of(path));
    }
    return names;
}

/// Code::ok, or Code::array_details_unread with a message: what is created again with other members
/// than the array has slots, or with them in another order, destroys what they hold.
Code check_complete(const char* array, const MemberTable& table) {
    if (table.members.size() != table.raid_devices) {
        log_error("'%s' is not recovered: it has %zu slots, and %zu disks are found", array,
                  table.raid_devices, table.members.size());
        return Code::array_details_unread;
    }
    if (const std::size_t with_data = count_with_data(table); with_data != table.raid_devices) {
        log_error("'%s' is not recovered: of its %zu disks %zu are spares", array,
                  table.raid_devices, table.raid_devices - with_data);
        return Code::array_details_unread;
    }
    if (!is_in_slot_order(table)) {
        log_error("'%s' is not recovered: its disks are numbered in another order than its slots",
                  array);
        return Code::array_details_unread;
    }
    return Code::ok;
}

/// Code::ok, or Code::array_details_unread with a message for an array that needs no recovery.
Code check_broken(const char* array, const char* type) {
    const ArrayAccount account = array_account(array, type);
    if (account != ArrayAccount::complete && account != ArrayAccount::unread) {
        return Code::ok;
    }
    log_error("'%s' is not recovered: it %s", array,
              account == ArrayAccount::complete ? "runs with all its members"
                                                : "may run: its state cannot be read");
    return Code::array_details_unread;
}

/// Claims the array and the members that the kernel knows, before their states are looked at. False
/// with a message.
bool claim_array(DiskClaims& claims, const char* array) {
    const auto entries = directory_entries(format_text(array_directory_path, array).c_str());
    std::vector<std::string_view> devices = {array};
    if (entries) {
        for (const std::string& entry : *entries) {
            devices.push_back(member_of_entry(entry));
        }
    }
    return claims.add_all(std::move(devices));
}

/// Claims the other disks than the one that was found. Code::ok, or Code::array_details_unread with
/// a message.
Code claim_members(DiskClaims& claims, const MemberTable& table, std::string_view found) {
    std::vector<std::string_view> disks;
    for (const std::string_view path : table.members) {
        const std::string_view disk = disk_of(path);
        if (disk != found) {
            disks.push_back(disk);
        }
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
    DiskClaims claims;
    if (failed(check_name32(array)) || !claim_array(claims, array) ||
        failed(read_member_table(array, table))) {
        return log_return(Code::array_details_unread);
    }
    for (const std::string& path : table.members) {
        out.print("disk: %s\n", path.c_str());
    }
    if (failed(check_broken(array, type))) {
        return log_return(Code::array_details_unread);
    }
    close_hole(table);
    FoundDisk missing;
    if (table.hole != 0 && !table.members.empty()) {
        if (const Code filled = fill_hole(array, table, missing, out); failed(filled)) {
            return log_return(filled);
        }
    }
    if (failed(check_complete(array, table)) ||
        failed(claim_members(claims, table, missing.name))) {
        return log_return(Code::array_details_unread);
    }
    if (table.members.empty()) {
        return Code::ok;
    }
    return create_again(array, type, table) ? Code::ok : log_return(Code::array_not_recovered);
}

} // namespace zav
