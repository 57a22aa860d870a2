// SPDX-License-Identifier: MIT
#include "inventory/disks.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/text.h"
#include "base/units.h"
#include "platform/models.h"
#include "platform/product_model.h"
#include "sources/hotspare.h"
#include "sources/mvsata.h"
#include "sources/partitions.h"
#include "sources/sys_block.h"
#include "sources/vexadm.h"

#include <algorithm>
#include <cstdio>

namespace zav {

namespace {

constexpr std::size_t longest_status_name = 2;

int add_port_group(const std::string& name, disk_list& list) {
    const Capture capture(format_text("/tmp/disk%s.XXXXXX", name.c_str()));
    const std::string command =
        format_text(controller_status_command, name.c_str(), capture.path());
    if (capture.run_and_log(command, FailureWording::no_blank_before_for) != 0) {
        return error::command_failed;
    }
    const auto status = capture.read();
    if (!status) {
        log_errno(0, LogSite::numbered(499, "get_diskinfo_from_mvSata"));
        return error::controller_status_unread;
    }
    parse_controller_status(*status, list);
    return 0;
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
    disk.space = sectors_to_gib(decimal(*sectors));
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

} // namespace

int get_disk_list(disk_list& list) {
    if (product_model() == controller_model) {
        return get_diskinfo_from_vexadm(list);
    }
    for (const auto step :
         {get_diskinfo_from_mvSata, get_diskinfo_from_sysblock, get_global_hotspare}) {
        if (const int result = step(list); result != 0) {
            return result;
        }
    }
    return 0;
}

int get_diskinfo_from_mvSata(disk_list& list) {
    const auto names = directory_entries(controller_directory);
    if (!names) {
        log_errno(0, LogSite::numbered(458));
        return error::controller_directory_unread;
    }
    for (const std::string& name : *names) {
        // The name becomes part of a command.
        if (name.size() > longest_status_name || !is_plain_name(name)) {
            continue;
        }
        if (const int result = add_port_group(name, list); result != 0) {
            return result;
        }
    }
    return 0;
}

int get_diskinfo_from_sysblock(disk_list& list) {
    std::ranges::for_each(list, read_attributes);
    return 0;
}

int get_global_hotspare(disk_list& list) {
    const Capture capture("/tmp/hotspare.XXXXXX");
    if (capture.run_and_log(format_text(hotspare_list_command, capture.path())) != 0) {
        return error::command_failed;
    }
    const auto output = capture.read();
    if (!output) {
        log_errno(0, LogSite::numbered(862));
        return error::disk_tool_output_unread;
    }
    const auto names = parse_hotspare_list(*output);
    if (!names) {
        log_errno(0, LogSite::numbered(874));
        return error::hotspare_line_missing;
    }
    for (disk_info& disk : list) {
        if (std::ranges::find(*names, disk.name.view()) != names->end()) {
            disk.hotspare = 1;
        }
    }
    return 0;
}

int get_diskinfo_from_vexadm(disk_list& list) {
    const Capture capture("/tmp/diskinfo.XXXXXX");
    if (capture.run_and_log(format_text(controller_scan_command, capture.path())) != 0) {
        return error::command_failed;
    }
    const auto output = capture.read();
    if (!output) {
        std::printf("cannot open %s\n", capture.path());
        log_errno(0, LogSite::numbered(1482));
        return error::controller_scan_unread;
    }
    parse_controller_scan(*output, list);
    return 0;
}

int get_diskinfo_from_partitions(disk_list& list) {
    const auto partitions = read_file(partitions_path);
    if (!partitions) {
        std::puts("cannot open /proc/partitions");
        log_errno(0, LogSite::numbered(754));
        return error::partitions_unread;
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
    return 0;
}

int find_disk(disk_list& list, disk_list& target, int channel, std::string_view device) {
    const auto found = std::ranges::find_if(list, [&](const disk_info& disk) {
        return disk.channel == channel && disk.device == device;
    });
    const bool exists = found != list.end();
    if (exists) {
        append_copy(target, *found);
    }
    list.clear();
    return exists ? 0 : error::no_such_disk;
}

} // namespace zav
