// SPDX-License-Identifier: MIT
#include "actions/commands/groups.h"

#include "actions/commands/command_log.h"
#include "actions/groups/groups.h"
#include "actions/groups/recovery.h"
#include "base/checks.h"
#include "base/text.h"
#include "inventory/groups.h"
#include "records/disk.h"

#include <string_view>

namespace zav::commands {

namespace {

constexpr CommandLog vgmanage("vgmanage_main");

void fill_group(const NewGroupArguments& arguments, vginfo& group) {
    group.name = arguments.name;
    group.device = arguments.device != nullptr ? arguments.device : disk_device::main_controller;
    for (const std::string_view name : split(arguments.volumes, ",")) {
        pvinfo& volume = group.physical_volumes.append();
        volume.name = name;
        volume.device = group.device;
    }
}

} // namespace

Code create_group(const NewGroupArguments& arguments, Sink& out) {
    if (failed(check_name32(arguments.name))) {
        return vgmanage.fail(Code::bad_group_name);
    }
    if (failed(check_name_list(arguments.volumes))) {
        return vgmanage.fail(Code::bad_volume_list);
    }
    if (arguments.device != nullptr && failed(check_name8(arguments.device))) {
        return vgmanage.fail(Code::bad_device);
    }
    vginfo group;
    fill_group(arguments, group);
    const Code result = zav::create_group(group, out);
    if (result != Code::command_failed) {
        return vgmanage.end(result);
    }
    // LVM may have failed after the group was there.
    return check_vgdisplay(arguments.name, out) == Presence::present
               ? Code::ok
               : vgmanage.fail(Code::group_not_created);
}

Code remove_group(const char* name, Sink& out) {
    if (failed(check_name32(name))) {
        return vgmanage.fail(Code::bad_group_name);
    }
    if (failed(vg_raid_resume(name, out))) {
        return vgmanage.fail(Code::group_not_deleted);
    }
    vginfo_list groups;
    const vginfo* group = nullptr;
    if (const Code result = find_group_to_delete(name, groups, group, out); failed(result)) {
        // The tool that lists the groups failed: the group is still there.
        return vgmanage.fail(result == Code::command_failed ? Code::group_not_deleted : result);
    }
    const Code result = zav::remove_group(*group, out);
    if (result != Code::command_failed) {
        return vgmanage.end(result);
    }
    // LVM may have failed after the group was gone.
    switch (check_removed_group(name, out)) {
    case Presence::absent:
        return Code::ok;
    case Presence::present:
        return vgmanage.fail(Code::group_not_deleted);
    case Presence::unknown:
        break;
    }
    return vgmanage.fail(Code::group_output_unread);
}

} // namespace zav::commands
