// SPDX-License-Identifier: MIT
#include "actions/groups/groups.h"

#include "actions/disks/claims.h"
#include "actions/disks/disks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/array_members.h"
#include "inventory/arrays.h"
#include "inventory/disk_use.h"
#include "inventory/disks.h"
#include "inventory/groups.h"
#include "sources/lvm.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace zav {

namespace {

constexpr std::string_view disk_prefix = "sd";

/// refuse_command(), for an operation's result.
Code refuse(const std::string& command, std::string_view reason) {
    ignore(refuse_command(command, reason));
    return Code::command_failed;
}

/// The first name that is not plain; nothing when all are.
template <class Names>
std::optional<std::string> find_unsafe(std::string_view group, const Names& volumes) {
    if (!is_plain_name(group)) {
        return std::string(group);
    }
    for (const pvinfo& volume : volumes) {
        if (!is_plain_name(volume.name)) {
            return std::string(volume.name.view());
        }
    }
    return std::nullopt;
}

bool is_channel_list(std::string_view name) {
    return std::ranges::all_of(name, [](char c) { return is_digit(c) || c == ','; });
}

const vginfo* find_group(const vginfo_list& groups, std::string_view name) {
    const auto found =
        std::ranges::find_if(groups, [name](const vginfo& group) { return group.name == name; });
    return found != groups.end() ? &*found : nullptr;
}

/// Whether a group has a volume that is listed under this name, or on a partition of it. Volumes on
/// disks are listed under their channels: a kernel name is never among them.
bool is_listed_volume(const vginfo_list& groups, std::string_view name) {
    return std::ranges::any_of(groups, [name](const vginfo& group) {
        return std::ranges::any_of(group.physical_volumes, [name](const pvinfo& volume) {
            return volume.name == name || whole_disk_name(volume.name) == name;
        });
    });
}

Code check_array(const mdinfo_list& arrays, std::string_view name) {
    const bool exists =
        std::ranges::any_of(arrays, [name](const mdinfo& array) { return array.name == name; });
    if (!exists) {
        log_error("cannot find md '%s'", std::string(name).c_str());
        return Code::no_such_volume_array;
    }
    return Code::ok;
}

/// Translates `name` into the kernel name of a disk that is free.
Code check_disk(const disk_list& disks, const mdinfo_list& arrays, std::string& name,
                std::string_view device, const char* typed) {
    if (ch_to_disks(disks, name, device, 1) != 1) {
        log_error("invalid disk channelID: '%s'", typed);
        return Code::no_such_volume_disk;
    }
    if (std::ranges::any_of(
            arrays, [&name](const mdinfo& array) { return uses_disk(array.members, name); })) {
        log_error("disk channelID '%s' used in raid", typed);
        return Code::volume_disk_used;
    }
    if (std::ranges::any_of(disks, [&name](const disk_info& disk) {
            return disk.name == name && disk.hotspare == 1;
        })) {
        log_error("disk channelID '%s' used hotspare disk", typed);
        return Code::volume_disk_used;
    }
    return Code::ok;
}

/// Makes a physical volume; on a single disk, which is cleared, or on an array.
Code create_volume(const pvinfo& volume, Sink& out) {
    const char* name = volume.name.c_str();
    if (volume.name.view().starts_with(disk_prefix)) {
        disk_format(name);
    }
    const Code result = run_or_fail(format_text(create_volume_command, name));
    if (failed(result)) {
        out.print("cannot create %s\n", name);
    }
    return result;
}

Code run_create_group(const vginfo& group, Sink& out) {
    std::string volumes;
    for (const pvinfo& volume : group.physical_volumes) {
        volumes += format_text(" /dev/%s", volume.name.c_str());
    }
    const std::string command =
        format_text(create_group_command, group.name.c_str(), volumes.c_str());
    // A cut list can name another device; behind the RAID controller disks have no name at all.
    const auto unsafe = find_unsafe(group.name, group.physical_volumes);
    if (unsafe || !is_run_whole(command)) {
        return refuse(command, unsafe ? not_plain_reason(*unsafe) : too_long_to_run);
    }
    for (const pvinfo& volume : group.physical_volumes) {
        if (const Code result = create_volume(volume, out); failed(result)) {
            return result;
        }
    }
    return run_or_fail(command);
}

/// What LVM calls a volume of a group, which may be listed by its channel.
std::string name_of_volume(const pvinfo& volume, const disk_list& disks) {
    std::string name = volume.name.c_str();
    if (is_channel_list(name)) {
        ch_to_disks(disks, name, volume.device, 1);
    }
    return name;
}

/// Releases a volume. Code::ok or Code::command_failed.
Code remove_volume(const std::string& name, Sink& out) {
    const Code result = run_or_fail({name}, format_text(remove_volume_command, name.c_str()));
    if (failed(result)) {
        out.print("cannot del %s\n", name.c_str());
    }
    return result;
}

bool is_disk_of_user(std::string_view name) {
    return is_channel_list(name) || name.starts_with(disk_prefix);
}

/// What a volume is called under /dev; empty when there is no such disk.
std::string device_of_volume(const disk_list& disks, std::string name, std::string_view device) {
    const bool is_there = !is_disk_of_user(name) || ch_to_disks(disks, name, device, 1) == 1;
    return is_there ? name : "";
}

/// Code::ok, or the code of a volume in use, with a message.
Code check_volume_free(const std::string& name, const char* typed, bool is_claimed,
                       const vginfo_list& groups) {
    if (is_listed_volume(groups, name)) {
        log_error("'%s' is used in vg", typed);
        return Code::volume_used;
    }
    if (!is_claimed || is_held_by_kernel(name)) {
        log_error("'%s' is held by %s", typed, is_claimed ? "the kernel" : "another command");
        return name.starts_with(disk_prefix) ? Code::volume_disk_used : Code::volume_used;
    }
    return Code::ok;
}

/// check_new_volume(), with the claim on the volume.
Code claim_new_volume(const disk_list& disks, std::string& name, std::string_view device,
                      DiskClaims& claims, Sink& out) {
    const bool is_disk = is_disk_of_user(name);
    const BoundedText<8> typed_channel(name);
    const std::string typed = is_disk ? typed_channel.c_str() : name;
    // Before it is looked what uses it: another command may be about to.
    const bool is_claimed = claims.add(device_of_volume(disks, name, device));
    mdinfo_list arrays;
    if (failed(get_mdinfo(arrays, out))) {
        return log_return(Code::no_array_list, LogSite::here("check_new_volume"));
    }
    if (const Code result = is_disk ? check_disk(disks, arrays, name, device, typed.c_str())
                                    : check_array(arrays, name);
        failed(result)) {
        return result;
    }
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        return log_return(result, LogSite::here("check_new_volume"));
    }
    return check_volume_free(name, typed.c_str(), is_claimed, groups);
}

/// Claims what the group is to be made of, as far as it is there. What cannot be claimed is found
/// out again with each volume's check.
void claim_volumes(const disk_list& disks, const vginfo& group, DiskClaims& claims) {
    std::vector<std::string> devices;
    for (const pvinfo& volume : group.physical_volumes) {
        devices.push_back(device_of_volume(disks, volume.name.c_str(), volume.device));
    }
    claims.add_all({devices.begin(), devices.end()});
}

} // namespace

Code check_group_name(const vginfo& group, Sink& out) {
    if (group.name.empty()) {
        log_error("Cannot find vgname!");
        return Code::group_name_missing;
    }
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        return log_return(result);
    }
    if (find_group(groups, group.name) != nullptr) {
        log_error("vgname '%s' used", group.name.c_str());
        return Code::group_name_used;
    }
    return Code::ok;
}

Code check_new_volume(const disk_list& disks, std::string& name, std::string_view device,
                      Sink& out) {
    DiskClaims claims;
    return claim_new_volume(disks, name, device, claims, out);
}

Code create_group(vginfo& group, Sink& out) {
    if (const Code result = check_group_name(group, out); failed(result)) {
        return result;
    }
    disk_list disks;
    DiskClaims claims;
    const auto claim = [&](const disk_list& named) { claim_volumes(named, group, claims); };
    if (failed(get_claimed_disk_list(disks, claim, out))) {
        return log_return(Code::no_disk_list);
    }
    for (pvinfo& volume : group.physical_volumes) {
        std::string name = volume.name.c_str();
        if (const Code result = claim_new_volume(disks, name, volume.device, claims, out);
            failed(result)) {
            return result;
        }
        volume.name = name;
    }
    return run_create_group(group, out);
}

Code find_group_to_delete(const char* name, vginfo_list& groups, const vginfo*& group, Sink& out) {
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        return log_return(result);
    }
    group = find_group(groups, name);
    if (group == nullptr) {
        return Code::unknown_group;
    }
    return group->usedsize != Gib{} ? Code::group_has_pools : Code::ok;
}

Code remove_group(const vginfo& group, Sink& out) {
    disk_list disks;
    const bool has_disks = std::ranges::any_of(
        group.physical_volumes, [](const pvinfo& volume) { return is_channel_list(volume.name); });
    if (has_disks && failed(get_disk_list(disks, out))) {
        return log_return(Code::no_disk_list);
    }
    const std::string command = format_text(remove_group_command, group.name.c_str());
    if (!is_plain_name(group.name)) {
        return refuse(command, not_plain_reason(group.name));
    }
    DiskClaims claims; // else another group could take the volumes before they are released
    std::vector<std::string> names;
    for (const pvinfo& volume : group.physical_volumes) {
        names.push_back(name_of_volume(volume, disks));
        if (!claims.add(names.back())) {
            return Code::volume_used;
        }
    }
    Code result = run_or_fail(command);
    for (const std::string& name : names) {
        // The last result counts: a group that is gone all the same is a success.
        result = remove_volume(name, out);
        if (failed(result)) {
            return result;
        }
    }
    return result;
}

Code delete_group(const char* name, Sink& out) {
    vginfo_list groups;
    const vginfo* group = nullptr;
    const Code result = find_group_to_delete(name, groups, group, out);
    return !failed(result) ? remove_group(*group, out) : result;
}

Code extend_group(const char* group, const char* volume) {
    const std::string command = format_text(extend_group_command, group, volume);
    if (!is_plain_name(group) || !is_plain_name(volume)) {
        return refuse(command, not_plain_reason(is_plain_name(group) ? volume : group));
    }
    const Code result = run_or_fail(format_text(create_volume_command, volume));
    return !failed(result) ? run_or_fail(command) : result;
}

Code extend_group_checked(const char* group, std::string volume, std::string_view device,
                          Sink& out) {
    disk_list disks;
    DiskClaims claims;
    const auto claim = [&](const disk_list& named) {
        claims.add(device_of_volume(named, volume, device)); // seen again with the check
    };
    if (failed(get_claimed_disk_list(disks, claim, out))) {
        return log_return(Code::no_disk_list);
    }
    const Code result = claim_new_volume(disks, volume, device, claims, out);
    return !failed(result) ? extend_group(group, volume.c_str()) : result;
}

} // namespace zav
