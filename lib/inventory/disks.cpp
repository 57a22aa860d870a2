// SPDX-License-Identifier: MIT
#include "inventory/disks.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/text.h"
#include "base/units.h"
#include "platform/models.h"
#include "sources/hotspare.h"
#include "sources/mvsata.h"
#include "sources/partitions.h"
#include "sources/sys_block.h"
#include "sources/vexadm.h"

#include <algorithm>
#include <cerrno>

namespace zav {

namespace {

constexpr std::size_t longest_status_name = 2;

/// The names of the status files, and where they are; nothing when there are none, errno says why.
std::optional<std::vector<std::string>> list_status_files(bool& are_slots) {
    auto names = directory_entries(controller_directory);
    if (names || errno != ENOENT) {
        return names;
    }
    are_slots =
        is_directory_of(root_user, slots_parent) && is_directory_of(root_user, slots_directory);
    if (are_slots) {
        return directory_entries(slots_directory);
    }
    errno = ENOENT;
    return std::nullopt;
}

Code add_port_group(bool are_slots, const std::string& name, disk_list& list) {
    const Capture capture(format_text("/tmp/disk%s.XXXXXX", name.c_str()));
    const std::string command =
        are_slots ? format_text(slots_status_command, name.c_str(), capture.path())
                  : format_text(controller_status_command, name.c_str(), capture.path());
    if (failed(capture.run_and_log(command, FailureWording::no_blank_before_for))) {
        return Code::command_failed;
    }
    const auto status = capture.read();
    if (!status) {
        log_errno(0, LogSite::numbered(499, "get_diskinfo_from_mvSata"));
        return Code::controller_status_unread;
    }
    parse_controller_status(*status, list);
    return Code::ok;
}

/// An attribute file's text without its line end; nothing when it cannot be read.
std::optional<std::string> read_attribute(const disk_info& disk, const char* attribute) {
    const std::string path = format_text(disk_attribute_path, disk.name.c_str(), attribute);
    auto text = read_attribute_file(path.c_str());
    if (text) {
        text->resize(trim_right(*text).size());
    }
    return text;
}

void read_attributes(disk_info& disk) {
    if (!is_plain_name(disk.name)) {
        return;
    }
    const auto sectors = read_attribute(disk, "size");
    if (!sectors) {
        return;
    }
    disk.space = rounded<Gib>(Sectors{decimal(*sectors)});
    const auto state = read_attribute(disk, "device/state");
    if (!state) {
        return;
    }
    disk.status = *state;
    const auto model = read_attribute(disk, "device/model");
    if (!model) {
        return;
    }
    disk.model = *model;
    if (disk.model != virtual_disk_model && disk.device == disk_device::partition_table) {
        disk.device.clear();
    }
}

template <class List>
auto find_by_place(List& list, int channel, std::string_view device) {
    return std::ranges::find_if(list, [&](const disk_info& disk) {
        return disk.channel == channel && disk.device == device;
    });
}

void claim_nothing(const disk_list&) {}

/// Code::ok or Code::no_disk_list.
Code get_all_disks(disk_list& disks, LogSite no_list,
                   const std::function<void(const disk_list&)>& claim, Sink& out) {
    const Code result = get_claimed_disk_list(disks, claim, out);
    if (!failed(result)) {
        return Code::ok;
    }
    log_failure(result, no_list);
    return Code::no_disk_list;
}

} // namespace

Code get_disk_list(disk_list& list, Sink& out) {
    return get_claimed_disk_list(list, claim_nothing, out);
}

Code get_claimed_disk_list(disk_list& list, const std::function<void(const disk_list&)>& claim,
                           Sink& out) {
    const bool has_raid_controller = product_model().has_raid_controller;
    Code result =
        has_raid_controller ? get_diskinfo_from_vexadm(list, out) : get_diskinfo_from_mvSata(list);
    if (!failed(result) && !has_raid_controller) {
        result = get_diskinfo_from_sysblock(list);
    }
    if (failed(result)) {
        return result;
    }
    claim(list);
    return has_raid_controller ? Code::ok : get_global_hotspare(list);
}

Code get_diskinfo_from_mvSata(disk_list& list) {
    bool are_slots = false;
    const auto names = list_status_files(are_slots);
    if (!names) {
        log_errno(0, LogSite::numbered(458));
        return Code::controller_directory_unread;
    }
    for (const std::string& name : *names) {
        // The name becomes part of a command.
        if (name.size() > longest_status_name || !is_plain_name(name)) {
            continue;
        }
        if (const Code result = add_port_group(are_slots, name, list); failed(result)) {
            return result;
        }
    }
    return Code::ok;
}

Code get_diskinfo_from_sysblock(disk_list& list) {
    std::ranges::for_each(list, read_attributes);
    return Code::ok;
}

Code get_global_hotspare(disk_list& list) {
    const Capture capture("/tmp/hotspare.XXXXXX");
    if (failed(capture.run_and_log(format_text(hotspare_list_command, capture.path())))) {
        return Code::command_failed;
    }
    const auto output = capture.read();
    if (!output) {
        log_errno(0, LogSite::numbered(862));
        return Code::disk_tool_output_unread;
    }
    const auto names = parse_hotspare_list(*output);
    if (!names) {
        log_errno(0, LogSite::numbered(874));
        return Code::hotspare_line_missing;
    }
    for (disk_info& disk : list) {
        if (std::ranges::find(*names, disk.name.view()) != names->end()) {
            disk.hotspare = 1;
        }
    }
    return Code::ok;
}

Code get_diskinfo_from_vexadm(disk_list& list, Sink& out) {
    const Capture capture("/tmp/diskinfo.XXXXXX");
    if (failed(capture.run_and_log(format_text(controller_scan_command, capture.path())))) {
        return Code::command_failed;
    }
    const auto output = capture.read();
    if (!output) {
        out.print("cannot open %s\n", capture.path());
        log_errno(0, LogSite::numbered(1482));
        return Code::controller_scan_unread;
    }
    parse_controller_scan(*output, list);
    return Code::ok;
}

Code get_diskinfo_from_partitions(disk_list& list, Sink& out) {
    const auto partitions = read_file(partitions_path);
    if (!partitions) {
        out.write("cannot open /proc/partitions\n");
        log_errno(0, LogSite::numbered(754));
        return Code::partitions_unread;
    }
    int channel = 0;
    for (const std::string& name : parse_partition_disks(*partitions)) {
        if (std::ranges::find(list, std::string_view(name), [](const disk_info& disk) {
                return disk.name.view();
            }) != list.end()) {
            continue;
        }
        disk_info& disk = list.append();
        disk.name = name;
        disk.channel = ++channel;
        disk.device = disk_device::partition_table;
    }
    return Code::ok;
}

Code find_disk(disk_list& list, disk_list& target, int channel, std::string_view device) {
    const auto found = find_by_place(list, channel, device);
    const bool exists = found != list.end();
    if (exists) {
        append_copy(target, *found);
    }
    list.clear();
    return exists ? Code::ok : Code::no_such_disk;
}

Code get_disk(disk_list& found, int channel, const char* device, const DiskSites& sites,
              Sink& out) {
    return get_claimed_disk(
        found, channel, device, sites, [](const disk_info&) {}, out);
}

Code get_claimed_disk(disk_list& found, int channel, const char* device, const DiskSites& sites,
                      const std::function<void(const disk_info&)>& claim, Sink& out) {
    disk_list disks;
    const auto claim_named = [&](const disk_list& named) {
        const auto disk = find_by_place(named, channel, device);
        if (disk != named.end()) {
            claim(*disk);
        }
    };
    if (const Code result = get_all_disks(disks, sites.no_list, claim_named, out); failed(result)) {
        return result;
    }
    const Code result = find_disk(disks, found, channel, device);
    return !failed(result) ? Code::ok : log_return(result, sites.no_disk);
}

Code get_disks(disk_list& found, int channel, const char* device, const DiskSites& sites,
               Sink& out) {
    return channel >= 1 ? get_disk(found, channel, device, sites, out)
                        : get_all_disks(found, sites.no_list, claim_nothing, out);
}

} // namespace zav
