// SPDX-License-Identifier: MIT
#include "actions/arrays/creation.h"

#include "actions/disks/claims.h"
#include "actions/disks/disks.h"
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
#include "sources/kernel_release.h"
#include "sources/mdadm.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <sys/utsname.h>

namespace zav {

namespace {

constexpr RaidLevel other_level = {"", 0, 2, most_array_disks, false, std::nullopt};

// Every type that is not listed is made again as level 0, a mirror too: appliances in the field
// count on what recovery has always run.
constexpr std::array<std::string_view, 2> recreated_types = {raid_type::raid5, raid_type::raid6};

RaidLevel level_of(std::string_view type) {
    const RaidLevel* level = find_raid_level(type);
    return level != nullptr ? *level : other_level;
}

/// Code::ok, or Code::wrong_disk_count with a message.
Code check_count(int count, const RaidLevel& level, std::string_view type) {
    if (count >= level.fewest_disks && count <= level.most_disks) {
        return Code::ok;
    }
    log_error("disks num %d exceed [%d, %d] in %s", count, level.fewest_disks, level.most_disks,
              std::string(type).c_str());
    return Code::wrong_disk_count;
}

/// Code::ok, or Code::command_failed for a command that is refused: a list of disks that is cut can
/// name another disk.
Code check_run_whole(const std::string& command) {
    if (is_run_whole(command)) {
        return Code::ok;
    }
    ignore(refuse_command(command, too_long_to_run));
    return Code::command_failed;
}

std::int64_t running_kernel_version() {
    utsname system = {};
    return ::uname(&system) == 0 ? kernel_version(system.release) : -1;
}

/// What a creation looks at. The disks' names are those of the record's channels.
struct Creation {
    mdinfo& array;
    disk_list disks;
    mdinfo_list arrays;
    std::string members;
    DiskClaims claims;
    bool has_claims = false;
};

/// The number behind "md" of an array's name.
int array_number(std::string_view name) {
    return decimal_int(name.substr(std::min<std::size_t>(2, name.size())));
}

/// Claims the disks of the record's channels as far as they are disks. Before it is looked what
/// uses them: another command may be about to.
bool claim_members(Creation& creation) {
    std::string names(creation.array.members.view());
    const int count = count_items(names);
    return ch_to_disks(creation.disks, names, creation.array.device, count) != count ||
           creation.claims.add_all(split(names, ","));
}

Code get_lists(Creation& creation, Sink& out) {
    if (failed(get_disk_list(creation.disks, out))) {
        return log_return(Code::no_disk_list);
    }
    creation.has_claims = claim_members(creation);
    return !failed(get_mdinfo(creation.arrays, out)) ? Code::ok : log_return(Code::no_array_list);
}

Code translate_members(Creation& creation) {
    const mdinfo& array = creation.array;
    creation.members = array.members.view();
    const int count = count_items(creation.members);
    if (ch_to_disks(creation.disks, creation.members, array.device, count) != count) {
        log_error("'%s in %s' includes invalid channelIDs", array.members.c_str(),
                  array.device.c_str());
        return Code::wrong_disk;
    }
    return Code::ok;
}

/// Checks the new array against one that exists, and moves a name that is to be chosen behind it.
Code check_against(const mdinfo& existing, bool choose_name, Creation& creation) {
    mdinfo& array = creation.array;
    if (choose_name) {
        if (const long long number = array_number(existing.name);
            number >= array_number(array.name)) {
            array.name = format_text("md%lld", number + 1);
        }
    } else if (existing.name == array.name) {
        log_error("'%s' used", array.name.c_str());
        return Code::array_name_used;
    }
    if (overlaps_array(existing, creation.members, array.spare)) {
        log_error("'%s' or '%s' includes used disk in %s", creation.members.c_str(),
                  array.spare.c_str(), existing.name.c_str());
        return Code::disk_used;
    }
    return Code::ok;
}

Code check_claims(Creation& creation) {
    if (creation.has_claims) {
        return Code::ok;
    }
    log_error("'%s' or '%s' includes a disk that another command uses", creation.members.c_str(),
              creation.array.spare.c_str());
    return Code::disk_used;
}

Code check_arrays(Creation& creation) {
    const bool choose_name = creation.array.name.empty();
    if (choose_name) {
        creation.array.name = "md0";
    }
    for (const mdinfo& existing : creation.arrays) {
        if (const Code result = check_against(existing, choose_name, creation); failed(result)) {
            return result;
        }
    }
    return Code::ok;
}

Code check_volumes(const Creation& creation, Sink& out) {
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        return log_return(result);
    }
    if (is_used_in_volume(creation.members, groups, creation.disks) ||
        is_used_in_volume(creation.array.spare, groups, creation.disks)) {
        log_error("'%s' or '%s' includes used disk in pv", creation.members.c_str(),
                  creation.array.spare.c_str());
        return Code::disk_used;
    }
    return Code::ok;
}

Code check_hotspares(const Creation& creation, Sink& out) {
    disk_list disks;
    if (failed(get_disk_list(disks, out))) {
        return log_return(Code::no_disk_list);
    }
    const bool includes_hotspare = std::ranges::any_of(disks, [&creation](const disk_info& disk) {
        return disk.hotspare != 0 && !disk.name.empty() &&
               !find_member(creation.members, disk.name).empty();
    });
    if (includes_hotspare) {
        log_error("'%s' or '%s' includes global hotspare disk", creation.members.c_str(),
                  creation.array.spare.c_str());
        return Code::disk_used;
    }
    return Code::ok;
}

/// What no list knows of: a mounted partition, an array of another kind.
Code check_held(const Creation& creation) {
    for (const std::string_view disk : split(creation.members, ",")) {
        if (is_held_by_kernel(disk)) {
            log_error("'%s' is held by the kernel", std::string(disk).c_str());
            return Code::disk_used;
        }
    }
    return Code::ok;
}

} // namespace

Code create_array(mdinfo& array, Sink& out) {
    Creation creation{array, {}, {}, {}, {}};
    if (!array.name.empty() && failed(check_name32(array.name.c_str()))) {
        return Code::bad_array_name;
    }
    if (const Code result = get_lists(creation, out); failed(result)) {
        return result;
    }
    if (find_raid_level(array.type) == nullptr) {
        return Code::unknown_raid_type;
    }
    for (const auto step : {translate_members, check_claims, check_arrays}) {
        if (const Code result = step(creation); failed(result)) {
            return result;
        }
    }
    for (const auto step : {check_volumes, check_hotspares}) {
        if (const Code result = step(creation, out); failed(result)) {
            return result;
        }
    }
    const Code held = check_held(creation);
    return failed(held) ? held : run_create_command(array, creation.members);
}

Code run_create_command(const mdinfo& array, std::string_view disks) {
    const auto names = split(disks, ",");
    const RaidLevel level = level_of(array.type);
    if (const Code result = check_count(static_cast<int>(names.size()), level, array.type);
        failed(result)) {
        return result;
    }
    const std::string command = create_command_text(array, disks, running_kernel_version());
    if (const Code result = check_run_whole(command); failed(result)) {
        return result; // nothing has been touched yet
    }
    for (const std::string_view name : names) {
        disk_format(std::string(name).c_str());
    }
    return run_or_fail(command);
}

Code run_recreate_command(std::string_view name, std::string_view type, std::string_view disks) {
    const int count = count_items(disks);
    const bool is_known = std::ranges::find(recreated_types, type) != recreated_types.end();
    const RaidLevel level = is_known ? level_of(type) : other_level;
    if (const Code result = check_count(count, level, type); failed(result)) {
        return result;
    }
    const std::string command = recreate_command_text(name, level.number, disks);
    if (const Code result = check_run_whole(command); failed(result)) {
        return result;
    }
    return run_or_fail(command);
}

} // namespace zav
