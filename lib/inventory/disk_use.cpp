// SPDX-License-Identifier: MIT
#include "inventory/disk_use.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/text.h"
#include "inventory/arrays.h"
#include "inventory/groups.h"
#include "inventory/mounts.h"
#include "platform/models.h"
#include "sources/df.h"
#include "sources/mdstat.h"
#include "sources/sys_block.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>

namespace zav {

namespace {

constexpr std::string_view scsi_disk = "sd";

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

/// Whether a disk is an array's member, which may carry a mark. A device is that of the array's
/// disks; an array whose disks could not be looked up has none.
bool is_member(const display_disk_info& disk, std::string_view member, const mdinfo& array) {
    const bool is_on_device = disk.device == array.device || array.device.empty();
    return is_on_device &&
           (member.starts_with(scsi_disk) ? is_beginning_of(disk, member)
                                          : is_whole_disk_of(cut_at(member, "("), disk.diskname));
}

void mark_members(display_disk_list& listing, const mdinfo& array) {
    for (const std::string_view member : split(array.members, ",")) {
        if (!is_kind_of_disk(member)) {
            continue;
        }
        for (display_disk_info& disk : listing) {
            if (is_member(disk, member, array)) {
                disk.raid = array.name.view();
                disk.use = 1;
            }
        }
    }
}

void mark_volume(display_disk_list& listing, const pvinfo& volume) {
    // A volume on a single disk has the disk's channel for its name, which may be negative.
    const long long channel = std::strtoll(volume.name.c_str(), nullptr, 10);
    for (display_disk_info& disk : listing) {
        const bool has_channel =
            channel != 0 && disk.channel == channel && disk.device == volume.device;
        // One on a partition, or whose disk could not be looked up, has the kernel's name.
        if (has_channel || is_whole_disk_of(volume.name, disk.diskname)) {
            disk.use = 1;
        }
    }
}

/// Whether the kernel's own list of arrays can be read and the tool's has all of them. The kernel's
/// is never empty: a list without arrays has its frame.
bool has_all_arrays(const mdinfo_list& arrays) {
    if (product_model().has_raid_controller) {
        return true;
    }
    const auto mdstat = read_file(mdstat_path);
    return mdstat && !mdstat->empty() &&
           std::ranges::all_of(parse_mdstat_names(*mdstat), [&arrays](const std::string& name) {
               return std::ranges::any_of(
                   arrays, [&name](const mdinfo& array) { return array.name == name; });
           });
}

Code mark_all_members(display_disk_list& listing, bool& is_sure, Sink& out) {
    mdinfo_list arrays;
    if (const Code result = get_mdinfo(arrays, out); failed(result)) {
        log_failure(result, LogSite::numbered(114, "add_disk_list_mdinfo"));
        return Code::no_array_list;
    }
    for (const mdinfo& array : arrays) {
        mark_members(listing, array);
    }
    is_sure = is_sure && has_all_arrays(arrays);
    return Code::ok;
}

Code mark_all_volumes(display_disk_list& listing, bool& is_sure, Sink& out) {
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        log_failure(result, LogSite::numbered(169, "add_disk_list_vginfo"));
        return Code::no_group_list;
    }
    for (const vginfo& group : groups) {
        for (const pvinfo& volume : group.physical_volumes) {
            mark_volume(listing, volume);
        }
        // There is no group without a volume: the tool was silent about them.
        is_sure = is_sure && group.physical_volumes.begin() != group.physical_volumes.end();
    }
    return Code::ok;
}

Code mark_all_mounted(display_disk_list& listing, bool& is_sure) {
    Capture capture("/tmp/dfinfo.XXXXXX");
    if (failed(capture.run_and_log(format_text(mounted_command, capture.path())))) {
        return Code::command_failed;
    }
    const auto output = capture.read();
    if (!output) {
        log_errno(0, LogSite::numbered(54, "get_diskinfo_from_df"));
        return Code::disk_tool_output_unread;
    }
    for (const std::string_view name : parse_mounted_disks(*output)) {
        for (display_disk_info& disk : listing) {
            const bool is_scsi = name.starts_with(scsi_disk);
            if (is_scsi ? !disk.diskname.empty() && name.starts_with(disk.diskname.view())
                        : is_whole_disk_of(name, disk.diskname)) {
                disk.use = 1;
            }
        }
    }
    is_sure = is_sure && has_df_header(*output);
    // Support reads the last df of an appliance from /tmp: the file stays.
    capture.keep();
    return Code::ok;
}

/// Whether something that the kernel has built is on a device, by its directory under /sys/block,
/// or it cannot be told.
bool has_holders(const std::string& directory) {
    const auto holders = directory_entries((directory + "/holders").c_str());
    return holders ? !holders->empty() : !is_absence(errno);
}

/// The same for a disk and its partitions, or for one partition.
bool is_built_upon(std::string_view device) {
    const std::string disk(whole_disk_name(device));
    const std::string directory = format_text(disk_attribute_path, disk.c_str(), "");
    if (device != disk) {
        return has_holders(directory + std::string(device));
    }
    const auto entries = directory_entries(directory.c_str());
    if (!entries) {
        return !is_absence(errno);
    }
    return has_holders(directory) || std::ranges::any_of(*entries, [&](const std::string& entry) {
               return entry.starts_with(disk) && has_holders(directory + entry);
           });
}

/// Whether a device is mounted, or it cannot be told.
bool is_mounted(std::string_view device) {
    const auto mounts = read_mounts();
    if (!mounts) {
        return !is_absence(errno);
    }
    return std::ranges::any_of(*mounts, [&](const Mount& mount) {
        const auto mounted = name_in_dev(mount.device);
        return mounted && (*mounted == device || whole_disk_name(*mounted) == device);
    });
}

} // namespace

Code add_disk_list_info(const disk_list& disks, display_disk_list& listing, Sink& out) {
    ignore(mark_disks_in_use(disks, listing, out));
    return Code::ok;
}

bool mark_disks_in_use(const disk_list& disks, display_disk_list& listing, Sink& out) {
    constexpr const char* site = "add_disk_list_info"; // support knows it
    for (const disk_info& disk : disks) {
        append_display_record(listing, disk);
    }
    bool is_sure = true;
    const Code arrays = mark_all_members(listing, is_sure, out);
    if (failed(arrays)) {
        log_failure(arrays, LogSite::numbered(238, site));
    }
    const Code groups = mark_all_volumes(listing, is_sure, out);
    if (failed(groups)) {
        log_failure(groups, LogSite::numbered(244, site));
    }
    const Code mounts = mark_all_mounted(listing, is_sure);
    if (failed(mounts)) {
        log_failure(mounts, LogSite::numbered(250, site));
    }
    return is_sure && !failed(arrays) && !failed(groups) && !failed(mounts);
}

bool is_held_by_kernel(std::string_view device) {
    if (!is_plain_name(device)) {
        return false; // no command takes it
    }
    const std::string path = "/dev/" + std::string(device);
    // Of a block device the kernel gives nobody a second exclusive use.
    const FileDescriptor fd = FileDescriptor::open(path.c_str(), O_RDONLY | O_EXCL | O_NONBLOCK);
    return (!fd && !is_absence(errno)) || is_built_upon(device) || is_mounted(device);
}

Code add_disk_list_mdinfo(display_disk_list& listing, Sink& out) {
    bool is_sure = true;
    return mark_all_members(listing, is_sure, out);
}

Code add_disk_list_vginfo(display_disk_list& listing, Sink& out) {
    bool is_sure = true;
    return mark_all_volumes(listing, is_sure, out);
}

Code get_diskinfo_from_df(display_disk_list& listing) {
    bool is_sure = true;
    return mark_all_mounted(listing, is_sure);
}

} // namespace zav
