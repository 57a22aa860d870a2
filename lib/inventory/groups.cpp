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

#include <cstdio>

namespace zav {

namespace {

/// What a tool printed, for `pass`. 0 or error::group_output_unread.
int read_output(const Capture& capture, std::string& text, LogSite pass) {
    auto output = capture.read();
    if (!output) {
        std::printf("cannot open %s\n", capture.path());
        return fail_with_errno(error::group_output_unread, pass);
    }
    text = std::move(*output);
    return 0;
}

/// Runs pvdisplay for `pass`. 0, error::command_failed or error::group_output_unread.
int run_pvdisplay(std::string& text, LogSite pass) {
    const Capture capture(pvdisplay_template);
    if (capture.run_and_log(format_text(pvdisplay_command, capture.path())) != 0) {
        return error::command_failed;
    }
    return read_output(capture, text, pass);
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
void get_lists(disk_list& disks, mdinfo_list& arrays, LogSite pass) {
    if (const int result = get_disk_list(disks); result != 0) {
        log_errno(result, pass);
        disks.clear();
    }
    if (const int result = get_mdinfo(arrays); result != 0) {
        log_errno(result, pass);
        arrays.clear();
    }
}

/// Adds the physical volumes to their groups, each located by `locate`, for `pass`.
template <class Locate>
int add_volumes(vginfo_list& list, const Locate& locate, LogSite pass) {
    disk_list disks;
    mdinfo_list arrays;
    get_lists(disks, arrays, pass);
    std::string output;
    if (const int result = run_pvdisplay(output, pass); result != 0) {
        return result;
    }
    parse_pvdisplay(output, list,
                    [&](pvinfo& volume, vginfo& group) { locate(volume, group, disks, arrays); });
    return 0;
}

} // namespace

int get_vginfo(vginfo_list& list) {
    if (const int result = get_vginfo_from_vgdisplay(list); result != 0) {
        return result;
    }
    char model[32] = "";
    if (devmodel_get(model, sizeof model) != 0) {
        return fail_with_errno(error::group_model_unread);
    }
    return model == controller_model ? get_vginfo_from_vexadm(list)
                                     : get_vginfo_from_pvdisplay(list);
}

int get_vginfo_from_vgdisplay(vginfo_list& list) {
    const Capture capture(vgdisplay_template);
    if (capture.run_and_log(format_text(vgdisplay_command, capture.path())) != 0) {
        return error::command_failed;
    }
    std::string output;
    if (const int result = read_output(capture, output, LogSite::here()); result != 0) {
        return result;
    }
    parse_vgdisplay(output, list);
    return 0;
}

int get_vginfo_from_pvdisplay(vginfo_list& list) {
    return add_volumes(
        list,
        [](pvinfo& volume, vginfo& group, const disk_list& disks, mdinfo_list& arrays) {
            locate_on_disks(volume, group, disks, arrays);
        },
        LogSite::here());
}

int get_vginfo_from_vexadm(vginfo_list& list) {
    return add_volumes(
        list,
        [](pvinfo& volume, vginfo& group, const disk_list&, const mdinfo_list& arrays) {
            locate_on_controller(volume, group, arrays);
        },
        LogSite::here());
}

void locate_on_disks(pvinfo& volume, vginfo& group, const disk_list& disks, mdinfo_list& arrays) {
    if (volume.name.view().starts_with("md")) {
        if (const mdinfo* array = find_array(arrays, volume.name)) {
            set_device(volume, group, array->device);
        }
    } else if (volume.name.view().starts_with("sd")) {
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

int check_vgdisplay(const char* name) {
    if (check_name32(name) != 0) {
        return 0; // no name of a group, and nothing for a command
    }
    const Capture capture(vgdisplay_template);
    (void)capture.run_and_log(format_text(vgdisplay_group_command, name, capture.path()));
    std::string output;
    if (const int result = read_output(capture, output, LogSite::here()); result != 0) {
        return result;
    }
    return has_group_line(output, name) ? 1 : 0;
}

} // namespace zav
