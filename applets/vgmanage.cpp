// SPDX-License-Identifier: MIT
// vgmanage: lists, creates and deletes volume groups.
#include "actions/groups/groups.h"
#include "actions/groups/recovery.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/groups.h"
#include "records/disk.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

namespace zav {

namespace {

int vgmanage_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'C',
     .name = "create",
     .role = Role::mode,
     .ways = {{"-c pvname(channel or md?) -n vgname -d dev",
               "create a vg with 'vgname' on 'pvname'"}}},
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all vg info"},
              {"-n vgname", "display a vg info specified by 'vgname'"}}},
    {.letter = 'D',
     .name = "delete",
     .role = Role::mode,
     .ways = {{"-n vgname", "delete a vg specified by 'vgname'"}}},
    {.letter = 'n', .argument = Argument::group, .help = "specify vgname"},
    {.letter = 'c', .argument = Argument::volumes, .help = "specify pvname"},
    {.letter = 'd', .argument = Argument::device, .help = "specify device"},
};

constexpr AppletTable table = {
    .name = "vgmanage",
    .main = vgmanage_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "SCD",
    .summary = "manage the vg info",
    .help_order = "dnc",
};

struct Arguments {
    const char* name = nullptr;
    const char* volumes = nullptr;
    const char* device = nullptr;
};

constexpr Fail fail("vgmanage_main");
constexpr End end(fail);

void fill_group(const Arguments& arguments, vginfo& group) {
    group.name = arguments.name;
    group.device = arguments.device != nullptr ? arguments.device : disk_device::main_controller;
    for (const std::string_view name : split(arguments.volumes, ",")) {
        pvinfo& volume = group.physical_volumes.append();
        volume.name = name;
        volume.device = group.device;
    }
}

int create(const Arguments& arguments) {
    if (failed(check_name32(arguments.name))) {
        return fail(Code::bad_group_name);
    }
    if (failed(check_name_list(arguments.volumes))) {
        return fail(Code::bad_volume_list);
    }
    if (arguments.device != nullptr && failed(check_name8(arguments.device))) {
        return fail(Code::bad_device);
    }
    vginfo group;
    fill_group(arguments, group);
    const Code result = create_group(group, standard_output());
    if (result != Code::command_failed) {
        return end(result);
    }
    if (check_vgdisplay(arguments.name, standard_output()) != Presence::present) {
        fail(Code::group_not_created);
    }
    return 0; // the output alone tells of the failure: front ends rely on the status
}

void show_group(const vginfo& group) {
    std::string volumes;
    for (const pvinfo& volume : group.physical_volumes) {
        volumes.append(volumes.empty() ? "" : ",").append(volume.name);
    }
    std::printf("%s\t%s\t%s\t%lldG\t%lldG\t%s\n", group.name.c_str(), group.status.c_str(),
                group.device.c_str(), static_cast<long long>(group.allsize.count),
                static_cast<long long>(group.usedsize.count), volumes.c_str());
}

int display(const Arguments& arguments) {
    vginfo_list groups;
    if (failed(get_vginfo(groups, standard_output()))) {
        return fail(Code::no_group_list);
    }
    if (arguments.name != nullptr && failed(check_name32(arguments.name))) {
        return fail(Code::bad_group_name);
    }
    const auto is_shown = [&arguments](const vginfo& group) {
        return arguments.name == nullptr || group.name == arguments.name;
    };
    if (arguments.name != nullptr && std::ranges::none_of(groups, is_shown)) {
        return fail(Code::no_such_group);
    }
    std::puts("vgname\tstatus\tdevice\tallsize\tusedsize\tpvname");
    std::puts("*****************************************************");
    for (const vginfo& group : groups) {
        if (is_shown(group)) {
            show_group(group);
        }
    }
    return 0;
}

int delete_named(const Arguments& arguments) {
    if (failed(check_name32(arguments.name))) {
        return fail(Code::bad_group_name);
    }
    if (failed(vg_raid_resume(arguments.name, standard_output()))) {
        return fail(Code::group_not_deleted);
    }
    vginfo_list groups;
    const vginfo* group = nullptr;
    if (const Code result = find_group_to_delete(arguments.name, groups, group, standard_output());
        failed(result)) {
        // The tool that lists the groups failed: the group is still there.
        return fail(result == Code::command_failed ? Code::group_not_deleted : result);
    }
    const Code result = remove_group(*group, standard_output());
    if (result != Code::command_failed) {
        return end(result);
    }
    // LVM may have failed after the group was gone.
    switch (check_removed_group(arguments.name, standard_output())) {
    case Presence::absent:
        return 0;
    case Presence::present:
        return fail(Code::group_not_deleted);
    case Presence::unknown:
        break;
    }
    return fail(Code::group_output_unread);
}

constexpr Action<Arguments> actions[] = {
    {option_bit(options, 'C'), create},
    {option_bit(options, 'S'), display},
    {option_bit(options, 'D'), delete_named},
};

int vgmanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode = zav_getopt(argc, argv, vgmanage_applet.options,
                                          {&arguments.name, &arguments.volumes, &arguments.device});
    return run_action(actions, mode, arguments);
}

} // namespace

constexpr Applet vgmanage_applet = applet_of<table>();
constexpr AppletTable vgmanage_table = table;

} // namespace zav
