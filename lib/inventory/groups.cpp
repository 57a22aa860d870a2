// SPDX-License-Identifier: MIT
#include "inventory/groups.h"

#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/arrays.h"
#include "inventory/disks.h"
#include "platform/models.h"
#include "sources/lvm.h"
#include "zav/system_status.h"

#include <algorithm>

namespace zav {

namespace {

/// What a tool printed, for `pass`, or Code::group_output_unread.
Result<std::string> read_output(const Capture& capture, LogSite pass, Sink& out) {
    auto output = capture.read();
    if (!output) {
        out.print("cannot open %s\n", capture.path());
        return fail_with_errno(Code::group_output_unread, pass);
    }
    return std::move(*output);
}

/// What pvdisplay prints, for `pass`; Code::command_failed or Code::group_output_unread.
Result<std::string> run_pvdisplay(LogSite pass, Sink& out) {
    const Capture capture(pvdisplay_template);
    if (failed(capture.run_and_log(format_text(pvdisplay_command, capture.path())))) {
        return Code::command_failed;
    }
    return read_output(capture, pass, out);
}

/// The group keeps the device of the last volume that has one.
void set_device(pvinfo& volume, vginfo& group, std::string_view device) {
    volume.device = device;
    if (!device.empty()) {
        group.device = device;
    }
}

/// Builds the lists that physical volumes are looked up in, for `pass`. Without one of them only
/// the devices suffer.
void get_lists(disk_list& disks, mdinfo_list& arrays, LogSite pass, Sink& out) {
    if (const Code result = get_disk_list(disks, out); failed(result)) {
        log_errno(result, pass);
        disks.clear();
    }
    if (const Code result = get_mdinfo(arrays, out); failed(result)) {
        log_errno(result, pass);
        arrays.clear();
    }
}

/// Adds the physical volumes to their groups, each located by `locate`, for `pass`.
template <class Locate>
Code add_volumes(vginfo_list& list, const Locate& locate, LogSite pass, Sink& out) {
    disk_list disks;
    mdinfo_list arrays;
    get_lists(disks, arrays, pass, out);
    const auto output = run_pvdisplay(pass, out);
    if (!output) {
        return output.code();
    }
    parse_pvdisplay(*output, list,
                    [&](pvinfo& volume, vginfo& group) { locate(volume, group, disks, arrays); });
    return Code::ok;
}

/// What vgdisplay tells of one group, and how it ended.
Presence look_up_group(const char* name, WaitStatus& status, Sink& out) {
    if (failed(check_name32(name))) {
        return Presence::absent; // no name of a group, and nothing for a command
    }
    const Capture capture(vgdisplay_template);
    const std::string command = format_text(vgdisplay_group_command, name, capture.path());
    if (!is_plain_name(name)) {
        ignore(refuse_command(command, not_plain_reason(name)));
        return Presence::absent; // the tool would take it for an option
    }
    status = capture.run_and_log(command);
    const auto output = read_output(capture, LogSite::here("check_vgdisplay"), out);
    return output ? presence(has_group_line(*output, name)) : Presence::unknown;
}

} // namespace

Code get_vginfo(vginfo_list& list, Sink& out) {
    if (const Code result = get_vginfo_from_vgdisplay(list, out); failed(result)) {
        return result;
    }
    char model[32] = "";
    if (devmodel_get(model, sizeof model) != 0) {
        return fail_with_errno(Code::group_model_unread);
    }
    return find_model(model).has_raid_controller ? get_vginfo_from_vexadm(list, out)
                                                 : get_vginfo_from_pvdisplay(list, out);
}

Code get_vginfo_from_vgdisplay(vginfo_list& list, Sink& out) {
    const Capture capture(vgdisplay_template);
    if (failed(capture.run_and_log(format_text(vgdisplay_command, capture.path())))) {
        return Code::command_failed;
    }
    const auto output = read_output(capture, LogSite::here(), out);
    if (!output) {
        return output.code();
    }
    parse_vgdisplay(*output, list);
    return Code::ok;
}

Code get_vginfo_from_pvdisplay(vginfo_list& list, Sink& out) {
    return add_volumes(
        list,
        [](pvinfo& volume, vginfo& group, const disk_list& disks, mdinfo_list& arrays) {
            locate_on_disks(volume, group, disks, arrays);
        },
        LogSite::here(), out);
}

Code get_vginfo_from_vexadm(vginfo_list& list, Sink& out) {
    return add_volumes(
        list,
        [](pvinfo& volume, vginfo& group, const disk_list&, const mdinfo_list& arrays) {
            locate_on_controller(volume, group, arrays);
        },
        LogSite::here(), out);
}

void locate_on_disks(pvinfo& volume, vginfo& group, const disk_list& disks, mdinfo_list& arrays) {
    if (volume.name.view().starts_with("md")) {
        if (const mdinfo* array = find_array(arrays, volume.name)) {
            set_device(volume, group, array->device);
        }
    } else if (is_kind_of_disk(volume.name)) {
        const auto disk = std::ranges::find_if(
            disks, [&](const disk_info& candidate) { return candidate.name == volume.name; });
        if (disk != disks.end()) {
            set_device(volume, group, disk->device);
            volume.name = std::to_string(disk->channel);
        }
    }
}

void locate_on_controller(pvinfo& volume, vginfo& group, const mdinfo_list& arrays) {
    if (!volume.name.view().starts_with("sd")) {
        return;
    }
    const auto array = std::ranges::find_if(
        arrays, [&](const mdinfo& candidate) { return candidate.device == volume.name; });
    if (array != arrays.end()) {
        set_device(volume, group, disk_device::main_controller);
        volume.name = array->name.view();
    }
}

Presence check_vgdisplay(const char* name, Sink& out) {
    WaitStatus status = WaitStatus::not_started;
    return look_up_group(name, status, out);
}

Presence check_removed_group(const char* name, Sink& out) {
    WaitStatus status = WaitStatus::not_started;
    const Presence found = look_up_group(name, status, out);
    if (found != Presence::absent || !failed(status)) {
        return found;
    }
    vginfo_list groups;
    const bool may_be_there =
        failed(get_vginfo_from_vgdisplay(groups, out)) ||
        std::ranges::any_of(groups, [name](const vginfo& group) { return group.name == name; });
    return presence(may_be_there);
}

} // namespace zav
