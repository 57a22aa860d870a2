// SPDX-License-Identifier: MIT
#include "actions/arrays/changes.h"

#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/array_members.h"
#include "inventory/arrays.h"
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

/// Finds the array and the disk of the channel on the array's device. 0 or a code.
int find_member_change(const char* array, const char* channel, MemberChange& change) {
    if (get_disk_list(change.disks) != 0) {
        return log_return(error::no_disk_list);
    }
    if (get_mdinfo(change.arrays) != 0) {
        return log_return(error::no_array_list);
    }
    change.channel = channel;
    change.array = find_array(change.arrays, array);
    if (change.array == nullptr) {
        return error::unknown_array;
    }
    change.disk = change.channel.view();
    if (ch_to_disks(change.disks, change.disk, change.array->device, 1) != 1) {
        log_error("'%s' is not invalid disk", change.channel.c_str());
        return error::wrong_disk;
    }
    return 0;
}

/// 0, or error::disk_used with a message.
int check_unused(const MemberChange& change) {
    if (overlaps_array(*change.array, change.disk)) {
        log_error("'%s' used in %s", change.channel.c_str(), change.array->name.c_str());
        return error::disk_used;
    }
    vginfo_list groups;
    if (const int result = get_vginfo(groups); result != 0) {
        return log_return(result);
    }
    if (is_used_in_volume(change.disk, groups, change.disks)) {
        log_error("'%s' used in pv", change.channel.c_str());
        return error::disk_used;
    }
    return 0;
}

/// 0, or a code with a message. Only what mdadm itself marks counts as faulty.
int check_faulty(const MemberChange& change) {
    const std::string_view member = find_member(change.array->members, change.disk);
    if (member.empty()) {
        log_error("'%s' is not in %s", change.channel.c_str(), change.array->name.c_str());
        return error::wrong_disk;
    }
    if (member.find("(F") == std::string_view::npos) {
        log_error("'%s' in %s is not fauty", change.channel.c_str(), change.array->name.c_str());
        return error::disk_not_faulty;
    }
    return 0;
}

} // namespace

int add_disk(const char* array, const char* channel) {
    MemberChange change;
    if (const int result = find_member_change(array, channel, change); result != 0) {
        return result;
    }
    if (!takes_and_gives_disks(*change.array)) {
        log_error("'%s' is not support add disk", change.array->name.c_str());
        return error::level_without_change;
    }
    if (const int result = check_unused(change); result != 0) {
        return result;
    }
    const std::string command =
        format_text(add_disk_command, change.array->name.c_str(), change.disk.c_str());
    if (!is_disk_name(change.disk)) {
        // Behind the RAID controller disks have no name of the kernel.
        refuse_command(command);
        return error::command_failed;
    }
    return run_or_fail(command);
}

int remove_disk(const char* array, const char* channel) {
    MemberChange change;
    if (const int result = find_member_change(array, channel, change); result != 0) {
        return result;
    }
    if (!takes_and_gives_disks(*change.array)) {
        log_error("'%s' is not support remove disk", change.array->name.c_str());
        return error::level_without_change;
    }
    if (const int result = check_faulty(change); result != 0) {
        return result;
    }
    return run_or_fail(
        format_text(remove_disk_command, change.array->name.c_str(), change.disk.c_str()));
}

int check_delete(const char* name) {
    mdinfo_list arrays;
    if (get_mdinfo(arrays) != 0) {
        return log_return(error::no_array_list);
    }
    vginfo_list groups;
    if (const int result = get_vginfo(groups); result != 0) {
        return log_return(result);
    }
    const mdinfo* array = find_array(arrays, name);
    if (array == nullptr) {
        return error::unknown_array;
    }
    const bool carries_group = std::ranges::any_of(groups, [array](const vginfo& group) {
        return std::ranges::any_of(group.physical_volumes, [array](const pvinfo& volume) {
            return volume.name == array->name;
        });
    });
    return carries_group ? error::array_carries_group : 0;
}

int stop_array(const char* name) {
    return run_or_fail(format_text(stop_command, name));
}

int delete_array(const char* name) {
    const int result = check_delete(name);
    return result == 0 ? stop_array(name) : result;
}

int fail_disk(const char* array, const char* disk) {
    const std::string command = format_text(fail_disk_command, array, disk);
    if (check_name32(array) != 0 || !is_disk_name(disk)) {
        return refuse_command(command);
    }
    return run_and_log(command);
}

} // namespace zav
