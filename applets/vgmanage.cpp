// SPDX-License-Identifier: MIT
// vgmanage: lists, creates and deletes volume groups.
#include "actions/commands/groups.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "base/checks.h"
#include "base/codes.h"
#include "inventory/groups.h"

#include <algorithm>
#include <cstdio>
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

using Arguments = commands::NewGroupArguments;

constexpr Fail fail("vgmanage_main");

int create(const Arguments& arguments) {
    const Code result = commands::create_group(arguments, standard_output());
    const int status = end_command(result);
    // The output alone tells of that failure: front ends rely on the status.
    return result == Code::group_not_created ? 0 : status;
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
    return end_command(commands::remove_group(arguments.name, standard_output()));
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
