// SPDX-License-Identifier: MIT
// Disks and arrays.
#include "api/snapshot.h"
#include "base/file.h"
#include "base/text.h"
#include "inventory/array_account.h"
#include "inventory/arrays.h"
#include "inventory/disks.h"
#include "inventory/smart.h"
#include "sources/mdadm.h"
#include "sources/mdstat.h"
#include "sources/sys_block.h"

#include <algorithm>

namespace zav {

namespace {

constexpr std::string_view missing_member = "*";

/// The kernel's size, or the record's where it gives none.
std::uint64_t best_size(std::string_view device, Gib listed) {
    const std::uint64_t exact = kernel_size(device);
    return exact != 0 ? exact : in_bytes(listed);
}

zav_disk_state state_of(const disk_info& disk) {
    return disk.status.empty()        ? ZAV_DISK_UNKNOWN
           : disk.status == "running" ? ZAV_DISK_RUNNING
           : disk.status == "offline" ? ZAV_DISK_OFFLINE
                                      : ZAV_DISK_OTHER;
}

zav_verdict verdict_of(const smart_summary& smart) {
    const std::string_view health = trim(smart.health);
    return health.empty()       ? ZAV_VERDICT_UNKNOWN
           : health == "PASSED" ? ZAV_VERDICT_PASSED
                                : ZAV_VERDICT_FAILED;
}

void add_smart(SnapshotWork& work, const disk_info& disk, zav_disk& shown) {
    shown.smart = verdict_of(disk.smart);
    shown.serial = work.keep(disk.smart.serial_number);
    shown.firmware = work.keep(disk.smart.firmware_version);
    if (disk.smart_attributes.empty()) {
        return;
    }
    auto& attributes = work.snapshot.attributes.emplace_back();
    for (const smart_attribute& attribute : disk.smart_attributes) {
        attributes.push_back({work.keep(attribute.name), attribute.value, attribute.worst,
                              attribute.threshold, attribute.raw,
                              work.keep(attribute.when_failed)});
        // The two spellings differ in what is between the words.
        if (attribute.name.view().starts_with("Temperature")) {
            constexpr std::uint32_t hottest = 200; // more is another unit in the upper bytes
            shown.temperature_c = static_cast<std::int32_t>(
                attribute.raw <= hottest ? attribute.raw : attribute.raw & 0xff);
        }
    }
    shown.attributes = attributes.data();
    shown.attribute_count = attributes.size();
}

void add_disk(SnapshotWork& work, const disk_info& disk) {
    const auto index = static_cast<std::int32_t>(work.snapshot.disks.size());
    zav_disk shown = {};
    shown.name = work.keep(disk.name);
    shown.channel = disk.channel;
    shown.device = work.keep(disk.device);
    shown.size_bytes = best_size(disk.name, disk.space);
    shown.model = work.keep(disk.model);
    shown.state = state_of(disk);
    shown.state_text = work.keep(disk.status);
    shown.is_hotspare = disk.hotspare != 0 ? 1 : 0;
    shown.array = ZAV_NONE;
    shown.temperature_c = ZAV_UNKNOWN;
    add_smart(work, disk, shown);
    work.snapshot.disks.push_back(shown);
    if (!disk.name.empty()) {
        work.disks.emplace(disk.name.view(), index);
    }
    work.places.emplace(place_key(disk.channel, disk.device), index);
}

/// How an array is by mdadm's text, or the RAID controller's.
zav_array_state state_by_text(std::string_view status) {
    const auto words = split(status, " ,");
    const auto has = [&words](std::string_view word) {
        return std::ranges::find(words, word) != words.end();
    };
    if (status == inactive_state || has("FAILED")) {
        return ZAV_ARRAY_INACTIVE;
    }
    if (is_rebuilding(status) || has("reshaping")) {
        return ZAV_ARRAY_REBUILDING;
    }
    if (has("degraded")) {
        return ZAV_ARRAY_DEGRADED;
    }
    return has("clean") || has("active") || has("Normal") ? ZAV_ARRAY_CLEAN : ZAV_ARRAY_UNKNOWN;
}

/// Of an array that mdadm told nothing about, the kernel's account.
zav_array_state state_of(const mdinfo& array) {
    if (!array.type.empty()) {
        return state_by_text(array.status);
    }
    switch (array_account(array.name, "")) {
    case ArrayAccount::complete:
        return ZAV_ARRAY_CLEAN;
    case ArrayAccount::runs:
        return ZAV_ARRAY_DEGRADED;
    case ArrayAccount::lost:
        return ZAV_ARRAY_INACTIVE;
    default:
        return ZAV_ARRAY_UNKNOWN;
    }
}

/// The slot that the kernel gives a member.
std::int32_t slot_of(const mdinfo& array, std::string_view member) {
    if (!is_plain_name(array.name) || !is_plain_name(member)) {
        return ZAV_UNKNOWN;
    }
    const std::string path = format_text(array_directory_path, array.name.c_str()) + "/dev-" +
                             std::string(member) + "/slot";
    const auto slot = read_attribute_file(path.c_str());
    return slot && !slot->empty() && is_digit(slot->front()) ? decimal_int(*slot) : ZAV_UNKNOWN;
}

zav_member_state state_by_mark(std::string_view mark) {
    return mark.empty()  ? ZAV_MEMBER_ACTIVE
           : mark == "F" ? ZAV_MEMBER_FAULTY
           : mark == "S" ? ZAV_MEMBER_SPARE
           : mark == "M" ? ZAV_MEMBER_MISSING
                         : ZAV_MEMBER_UNKNOWN;
}

/// A member as the list has it, such as "sda", "sdb(F)", "*(M)"; behind the RAID controller its
/// disk's channel.
zav_member member_of(SnapshotWork& work, const mdinfo& array, std::string_view entry) {
    const std::string_view name = cut_at(entry, "(");
    const std::string_view mark = cut_at(entry.substr(name.size()), ")");
    zav_member member = {"", ZAV_NONE, state_by_mark(mark.substr(mark.empty() ? 0 : 1)),
                         ZAV_UNKNOWN};
    if (name == missing_member) {
        return member;
    }
    if (work.has_raid_controller) {
        member.disk = find(work.places, place_key(decimal_int(name), disk_device::main_controller));
        return member;
    }
    member.name = work.keep(name);
    member.disk = find(work.disks, whole_disk_name(name));
    member.slot = slot_of(array, name);
    if (member.state == ZAV_MEMBER_SPARE && member.slot != ZAV_UNKNOWN) {
        member.state = ZAV_MEMBER_REBUILDING;
    }
    return member;
}

void add_array(SnapshotWork& work, const mdinfo& array, const RebuildProgress& progress) {
    const auto index = static_cast<std::int32_t>(work.snapshot.arrays.size());
    zav_array shown = {};
    shown.name = work.keep(array.name);
    shown.level = work.keep(array.type);
    shown.state = state_of(array);
    shown.state_text = work.keep(array.status);
    shown.size_bytes = best_size(array.name, array.allsize);
    shown.device = work.keep(array.device);
    shown.group = ZAV_NONE;
    auto& members = work.snapshot.members.emplace_back();
    for (const std::string_view entry : split(array.members, ",")) {
        members.push_back(member_of(work, array, entry));
        if (members.back().disk != ZAV_NONE) {
            work.snapshot.disks[static_cast<std::size_t>(members.back().disk)].array = index;
        }
    }
    shown.members = members.empty() ? nullptr : members.data();
    shown.member_count = members.size();
    const auto rebuild = progress.details_of(array.name);
    shown.rebuild = {rebuild ? 1 : 0, rebuild ? rebuild->done : 0.0,
                     rebuild ? rebuild->seconds_left : -1};
    work.snapshot.arrays.push_back(shown);
    work.arrays.emplace(array.name.view(), index);
}

} // namespace

void add_disks(SnapshotWork& work) {
    disk_list disks;
    work.end_part("disks", get_disk_list(disks, work.out));
    if (work.wants(ZAV_SMART)) {
        work.end_part("smart", fill_smart_at_once(disks));
    }
    for (const disk_info& disk : disks) {
        add_disk(work, disk);
    }
}

void add_arrays(SnapshotWork& work) {
    mdinfo_list arrays;
    const Code result = get_mdinfo(arrays, work.out);
    const auto mdstat = arrays.empty() ? std::nullopt : read_file(mdstat_path);
    const RebuildProgress progress(mdstat ? std::string_view(*mdstat) : "");
    for (const mdinfo& array : arrays) {
        add_array(work, array, progress);
    }
    work.end_part("arrays", result);
}

} // namespace zav
