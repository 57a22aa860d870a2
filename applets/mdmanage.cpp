// SPDX-License-Identifier: MIT
// mdmanage: lists, creates, deletes and recovers arrays, adds disks to them and removes them.
#include "applets/mdmanage.h"

#include "actions/commands/arrays.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/arrays.h"
#include "inventory/disks.h"

#include <cstdio>
#include <memory>

namespace zav {

namespace {

int mdmanage_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'C',
     .name = "create",
     .role = Role::mode,
     .operand = Argument::channels,
     .ways = {{"[--fg-init] -n raidname -l raidlevel -d dev channels",
               "create a raid with 'raidname' 'raidlevel' and 'channels' in 'device'"}}},
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all raid info"},
              {"-n raidname", "display a raid info specified by 'raidname'"}}},
    {.letter = 'D',
     .name = "delete",
     .role = Role::mode,
     .ways = {{"-n raidname", "delete a raid specified by 'raidname'"}}},
    {.letter = 'R',
     .name = "recover",
     .role = Role::mode,
     .ways = {{"-n raidname", "recover the raid in state of 'NOT START'"}}},
    {.letter = 'g', .name = "fg-init", .help = "intialize raid"},
    {.letter = 'n', .argument = Argument::array, .help = "specify raidname"},
    {.letter = 'l', .argument = Argument::level, .help = "specify raidlevel"},
    {.letter = 'd', .argument = Argument::device, .help = "specify a device"},
    // The first part of the usage has the effects of -a and -r swapped.
    {.letter = 'a',
     .argument = Argument::channel,
     .role = Role::open_mode,
     .refuses = "r",
     .operand = Argument::array,
     .ways = {{"channel raidname", "remove disk with 'channel' form the raid 'raidname'"}},
     .help = "add disk to raid"},
    {.letter = 'r',
     .argument = Argument::channel,
     .role = Role::open_mode,
     .operand = Argument::array,
     .ways = {{"channel raidname", "add disk with 'channel' to the raid 'raidname'"}},
     .help = "remove disk to raid"},
    // The front end's documentation quotes this line, although there is no such option.
    {.letter = 'c', .role = Role::only_shown, .help = "specify strip size"},
};

constexpr AppletTable table = {
    .name = "mdmanage",
    .main = mdmanage_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "SarDRC",
    .summary = "manage the raid info",
    .help_order = "dnlcgra",
};

constexpr std::uint32_t foreground_bit = option_bit(options, 'g');

struct Arguments {
    std::uint32_t mode = 0;
    const char* name = nullptr;
    const char* level = nullptr;
    const char* device = nullptr;
    const char* added_channel = nullptr;
    const char* removed_channel = nullptr;
    const char* operand = nullptr;
};

constexpr Fail fail("mdmanage_main");
constexpr End end(fail);

int create(const Arguments& arguments) {
    constexpr int created_with_error = 1;
    const Code result =
        commands::create_array({arguments.name, arguments.level, arguments.device,
                                arguments.operand, (arguments.mode & foreground_bit) != 0},
                               standard_output());
    return result == Code::command_failed ? created_with_error : end_command(result);
}

/// Leaves only the array of that name in the list. Code::ok or a code.
Code choose_array(mdinfo_list& arrays, const char* name) {
    if (failed(check_name32(name))) {
        return Code::bad_array_name;
    }
    const mdinfo* found = find_array(arrays, name);
    if (found == nullptr) {
        return Code::no_such_array;
    }
    auto chosen = std::make_unique<mdinfo>(*found);
    arrays.clear();
    arrays.append(std::move(chosen));
    return Code::ok;
}

int display(const Arguments& arguments) {
    mdinfo_list arrays;
    if (failed(get_mdinfo(arrays, standard_output()))) {
        return fail(Code::no_array_list);
    }
    if (arguments.name != nullptr) {
        if (const Code result = choose_array(arrays, arguments.name); failed(result)) {
            return fail(result);
        }
    }
    // The table is printed with kernel names when there are no channels to print.
    const Code result = disks_to_ch(arrays, standard_output());
    std::puts("raidname\ttype\tstatus\tprogress\tdevice\tallsize\tusedsize\tchannel\tspare");
    std::puts("*******************************************************");
    mdinfo_list_display(&arrays);
    return end(result);
}

int add_member(const Arguments& arguments) {
    return end_command(
        commands::add_member({arguments.operand, arguments.added_channel}, standard_output()));
}

int remove_member(const Arguments& arguments) {
    return end_command(
        commands::remove_member({arguments.operand, arguments.removed_channel}, standard_output()));
}

int recover(const Arguments& arguments) {
    return end_command(commands::recover_array(arguments.name, standard_output()));
}

int remove_array(const Arguments& arguments) {
    return end_command(commands::remove_array(arguments.name, standard_output()));
}

constexpr Action<Arguments> actions[] = {
    {option_bit(options, 'C'), create},     {option_bit(options, 'S'), display},
    {option_bit(options, 'a'), add_member}, {option_bit(options, 'r'), remove_member},
    {option_bit(options, 'R'), recover},    {option_bit(options, 'D'), remove_array},
};

int mdmanage_main(int argc, char** argv) {
    Arguments arguments;
    arguments.mode = zav_getopt(argc, argv, mdmanage_applet.options,
                                {&arguments.name, &arguments.level, &arguments.device,
                                 &arguments.added_channel, &arguments.removed_channel});
    arguments.operand = optind < argc ? argv[optind] : nullptr;
    // Without a mode the status is the bits of what came before the unknown option.
    return run_action(actions, arguments.mode, arguments, static_cast<int>(arguments.mode));
}

} // namespace

void mdinfo_display(const mdinfo& array) {
    const bool is_linear = equal_ignoring_case(array.type, raid_type::linear);
    std::printf("%s\t%s\t%s\t%s\t%s\t%lldGB\t%lldGB\t%s\t%s\n", array.name.c_str(),
                is_linear ? "JBOD" : array.type.c_str(), array.status.c_str(),
                text_or(array.progress, "100%"), text_or(array.device, not_available),
                static_cast<long long>(array.allsize.count),
                static_cast<long long>(array.usedsize.count), array.members.c_str(),
                text_or(array.spare, "None"));
}

void mdinfo_list_display(const mdinfo_list* list) {
    show_list(list, mdinfo_display);
}

int mdinfo_list_destroy(mdinfo_list* list) {
    return destroy_list(list);
}

constexpr Applet mdmanage_applet = applet_of<table>();
constexpr AppletTable mdmanage_table = table;

} // namespace zav
