// SPDX-License-Identifier: MIT
#include "actions/arrays/changes.h"

#include "actions/disks/claims.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/array_members.h"
#include "inventory/arrays.h"
#include "inventory/disk_use.h"
#include "inventory/disks.h"
#include "inventory/groups.h"
#include "records/raid_level.h"
#include "sources/mdadm.h"

#include <algorithm>

namespace zav {

namespace {

/// An array and one disk, as adding and removing find them.
struct MemberChange {
    disk_list disks;
    mdinfo_list arrays;
    mdinfo* array = nullptr;
    BoundedText<8> channel;
    std::string disk;
};

bool takes_and_gives_disks(const mdinfo& array) {
    const RaidLevel* level = find_raid_level(array.type);
    return level != nullptr && level->changes_members;
}

/// Finds the array and the disk of the channel on the array's device. Code::ok or a code.
Code find_member_change(const char* array, const char* channel, MemberChange& change, Sink& out) {
    if (failed(get_disk_list(change.disks, out))) {
        return log_return(Code::no_disk_list);
    }
    if (failed(get_mdinfo(change.arrays, out))) {
        return log_return(Code::no_array_list);
    }
    change.channel = channel;
    change.array = find_array(change.arrays, array);
    if (change.array == nullptr) {
        return Code::unknown_array;
    }
    // One that is cut names another disk.
    const bool is_whole = change.channel.view() == channel;
    change.disk = change.channel.view();
    if (!is_whole || ch_to_disks(change.disks, change.disk, change.array->device, 1) != 1) {
        log_error("'%s' is not invalid disk", change.channel.c_str());
        return Code::wrong_disk;
    }
    return Code::ok;
}

/// Code::ok, or Code::disk_used with a message.
Code check_unused(const MemberChange& change, Sink& out) {
    if (overlaps_array(*change.array, change.disk)) {
        log_error("'%s' used in %s", change.channel.c_str(), change.array->name.c_str());
        return Code::disk_used;
    }
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        return log_return(result);
    }
    if (is_used_in_volume(change.disk, groups, change.disks)) {
        log_error("'%s' used in pv", change.channel.c_str());
        return Code::disk_used;
    }
    return Code::ok;
}

/// 0, or a code with a message. Only what mdadm itself marks counts as faulty.
Code check_faulty(const MemberChange& change) {
    const std::string_view member = find_member(change.array->members, change.disk);
    if (member.empty()) {
        log_error("'%s' is not in %s", change.channel.c_str(), change.array->name.c_str());
        return Code::wrong_disk;
    }
    if (member.find("(F") == std::string_view::npos) {
        log_error("'%s' in %s is not fauty", change.channel.c_str(), change.array->name.c_str());
        return Code::disk_not_faulty;
    }
    return Code::ok;
}

} // namespace

Code add_disk(const char* array, const char* channel, Sink& out) {
    MemberChange change;
    if (const Code result = find_member_change(array, channel, change, out); failed(result)) {
        return result;
    }
    if (!takes_and_gives_disks(*change.array)) {
        log_error("'%s' is not support add disk", change.array->name.c_str());
        return Code::level_without_change;
    }
    DiskClaims claims;
    if (!claims.add(change.disk)) {
        return Code::disk_used;
    }
    if (const Code result = check_unused(change, out); failed(result)) {
        return result;
    }
    // Under the claim: the arrays were listed before.
    if (is_disk_name(change.disk) && is_held_by_kernel(change.disk)) {
        log_error("'%s' is held by the kernel", change.channel.c_str());
        return Code::disk_used;
    }
    const std::string command =
        format_text(add_disk_command, change.array->name.c_str(), change.disk.c_str());
    if (!is_disk_name(change.disk)) {
        // Behind the RAID controller disks have no name of the kernel.
        ignore(refuse_command(command, no_disk_name));
        return Code::command_failed;
    }
    return run_or_fail(command);
}

Code remove_disk(const char* array, const char* channel, Sink& out) {
    MemberChange change;
    if (const Code result = find_member_change(array, channel, change, out); failed(result)) {
        return result;
    }
    if (!takes_and_gives_disks(*change.array)) {
        log_error("'%s' is not support remove disk", change.array->name.c_str());
        return Code::level_without_change;
    }
    if (const Code result = check_faulty(change); failed(result)) {
        return result;
    }
    return run_or_fail(
        {change.array->name, change.disk},
        format_text(remove_disk_command, change.array->name.c_str(), change.disk.c_str()));
}

Code check_delete(const char* name, Sink& out) {
    mdinfo_list arrays;
    if (failed(get_mdinfo(arrays, out))) {
        return log_return(Code::no_array_list);
    }
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        return log_return(result);
    }
    const mdinfo* array = find_array(arrays, name);
    if (array == nullptr) {
        return Code::unknown_array;
    }
    const bool carries_group = std::ranges::any_of(groups, [array](const vginfo& group) {
        return std::ranges::any_of(group.physical_volumes, [array](const pvinfo& volume) {
            return volume.name == array->name;
        });
    });
    return carries_group ? Code::array_carries_group : Code::ok;
}

Code stop_array(const char* name) {
    return run_or_fail({name}, format_text(stop_command, name));
}

Code delete_array(const char* name, Sink& out) {
    const Code result = check_delete(name, out);
    return !failed(result) ? stop_array(name) : result;
}

WaitStatus fail_disk(const char* array, const char* disk) {
    const std::string command = format_text(fail_disk_command, array, disk);
    if (failed(check_name32(array)) || !is_disk_name(disk)) {
        return refuse_command(command, is_disk_name(disk) ? not_plain_reason(array) : no_disk_name);
    }
    return run_and_log(command);
}

} // namespace zav
