// SPDX-License-Identifier: MIT
#include "inventory/disk_use.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/arrays.h"
#include "inventory/groups.h"
#include "sources/df.h"

#include <cstdlib>
#include <string>

namespace zav {

namespace {

void append_display_record(display_disk_list& listing, const disk_info& disk) {
    display_disk_info& shown = listing.append();
    shown.diskname = disk.name;
    shown.channel = disk.channel;
    shown.space = disk.space;
    shown.status = disk.status;
    shown.model = disk.model;
    shown.state = disk.usage;
    shown.device = disk.device.view();
    shown.hotspare = disk.hotspare;
}

/// Only the beginning is compared, so that sda is marked for sdaa too. A disk without a name
/// matches nothing.
bool is_beginning_of(const display_disk_info& disk, std::string_view text) {
    return !disk.diskname.empty() && starts_with_ignoring_case(text, disk.diskname);
}

void mark_members(display_disk_list& listing, const mdinfo& array) {
    for (const std::string_view member : split(array.members, ",")) {
        if (!member.starts_with("sd")) {
            continue;
        }
        for (display_disk_info& disk : listing) {
            if (is_beginning_of(disk, member) && disk.device == array.device) {
                disk.raid = array.name.view();
                disk.use = 1;
            }
        }
    }
}

void mark_volume(display_disk_list& listing, const pvinfo& volume) {
    // A volume on a single disk has the disk's channel for its name, which may be negative.
    const long channel = std::strtol(volume.name.c_str(), nullptr, 10);
    for (display_disk_info& disk : listing) {
        if (channel != 0 && disk.channel == channel && disk.device == volume.device) {
            disk.use = 1;
        }
    }
}

} // namespace

Code add_disk_list_info(const disk_list& disks, display_disk_list& listing, Sink& out) {
    for (const disk_info& disk : disks) {
        append_display_record(listing, disk);
    }
    if (const Code result = add_disk_list_mdinfo(listing, out); failed(result)) {
        log_failure(result, LogSite::numbered(238));
    }
    if (const Code result = add_disk_list_vginfo(listing, out); failed(result)) {
        log_failure(result, LogSite::numbered(244));
    }
    if (const Code result = get_diskinfo_from_df(listing); failed(result)) {
        log_failure(result, LogSite::numbered(250));
    }
    return Code::ok;
}

Code add_disk_list_mdinfo(display_disk_list& listing, Sink& out) {
    mdinfo_list arrays;
    if (const Code result = get_mdinfo(arrays, out); failed(result)) {
        log_failure(result, LogSite::numbered(114));
        return Code::no_array_list;
    }
    for (const mdinfo& array : arrays) {
        mark_members(listing, array);
    }
    return Code::ok;
}

Code add_disk_list_vginfo(display_disk_list& listing, Sink& out) {
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        log_failure(result, LogSite::numbered(169));
        return Code::no_group_list;
    }
    for (const vginfo& group : groups) {
        for (const pvinfo& volume : group.physical_volumes) {
            mark_volume(listing, volume);
        }
    }
    return Code::ok;
}

Code get_diskinfo_from_df(display_disk_list& listing) {
    Capture capture("/tmp/dfinfo.XXXXXX");
    if (failed(capture.run_and_log(format_text(mounted_command, capture.path())))) {
        return Code::command_failed;
    }
    const auto output = capture.read();
    if (!output) {
        log_errno(0, LogSite::numbered(54));
        return Code::disk_tool_output_unread;
    }
    for (const std::string_view name : parse_mounted_disks(*output)) {
        for (display_disk_info& disk : listing) {
            if (!disk.diskname.empty() && name.starts_with(disk.diskname.view())) {
                disk.use = 1;
            }
        }
    }
    // Support reads the last df of an appliance from /tmp: the file stays.
    capture.keep();
    return Code::ok;
}

} // namespace zav
