// SPDX-License-Identifier: MIT
// diskmanage: lists disks, makes them hot spares and back, clears them.
#include "applets/diskmanage.h"

#include "actions/commands/disks.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/disk_use.h"
#include "inventory/disks.h"
#include "records/disk.h"

#include <cstdio>

namespace zav {

namespace {

int diskmanage_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'I',
     .name = "init",
     .role = Role::mode,
     .ways = {{"-n channel -d dev", "initialize the disk undere channel"}}},
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", " display all disks info"},
              {"-n channel -d dev", "display a single disk info under channel"}}},
    {.letter = 'H',
     .name = "hotspare",
     .role = Role::mode,
     .needs = "ar",
     .ways = {{"-a channel -d dev", " create a hotspare disk with channel"},
              {"-r channel -d dev", "remove the hotapare disk under channel"}}},
    {.letter = 'a',
     .argument = Argument::channel,
     .refuses = "r",
     .help = "create a hotspare disk"},
    {.letter = 'n', .argument = Argument::channel, .help = "specify a channel"},
    {.letter = 'r', .argument = Argument::channel, .help = "remove a hotspare disk"},
    {.letter = 'd', .argument = Argument::device, .help = "specify a device"},
};

constexpr AppletTable table = {
    .name = "diskmanage",
    .main = diskmanage_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "SHI",
    .summary = "manage the disk info",
    .help_order = "dnar",
};

constexpr std::uint32_t add_bit = option_bit(options, 'a');
constexpr std::uint32_t remove_bit = option_bit(options, 'r');

struct Arguments : commands::DiskArguments {
    std::uint32_t mode = 0;
};

// Support knows the failures by these numbers.
constexpr Fail fail("diskmanage_main");
constexpr End end(fail);

int init(const Arguments& arguments) {
    return end_command(commands::initialize_disk(arguments, standard_output()));
}

/// Prints the disk listing: all disks, or with a channel of 1 or more that one. Code::ok,
/// Code::no_disk_list or Code::no_such_disk. Disks whose use cannot be read are listed as free.
Code zav_disk_display(int channel, const char* device) {
    disk_list disks;
    const DiskSites sites = {LogSite::numbered(417), LogSite::numbered(432)};
    if (const Code result = get_disks(disks, channel, device, sites, standard_output());
        failed(result)) {
        return result;
    }
    display_disk_list listing;
    ignore(add_disk_list_info(disks, listing, standard_output()));
    display_disk_list_show(&listing);
    return Code::ok;
}

int display(const Arguments& arguments) {
    if (failed(check_name8(arguments.device))) {
        return fail(Code::bad_device, 739);
    }
    if (arguments.channel != nullptr && failed(check_number_list(arguments.channel))) {
        return fail(Code::bad_channel, 756);
    }
    const int channel = arguments.channel != nullptr ? decimal_int(arguments.channel) : 0;
    return end(zav_disk_display(channel, arguments.device), 770);
}

HotspareMode hotspare_mode(std::uint32_t mode) {
    if ((mode & remove_bit) != 0) {
        return HotspareMode::remove;
    }
    return (mode & add_bit) != 0 ? HotspareMode::add : HotspareMode::none;
}

int set_hotspare(const Arguments& arguments) {
    return end_command(
        commands::set_hotspare(arguments, hotspare_mode(arguments.mode), standard_output()));
}

constexpr Action<Arguments> actions[] = {
    {option_bit(options, 'I'), init},
    {option_bit(options, 'S'), display},
    {option_bit(options, 'H'), set_hotspare},
};

int diskmanage_main(int argc, char** argv) {
    Arguments arguments;
    // Of several channels, with whatever option, the last one counts.
    arguments.mode =
        zav_getopt(argc, argv, diskmanage_applet.options,
                   {&arguments.channel, &arguments.channel, &arguments.channel, &arguments.device});
    return run_action(actions, arguments.mode, arguments);
}

} // namespace

void display_disk_show(const display_disk_info& disk) {
    std::printf("'%s'\t'%d'\t'%lld'\t'%s'\t'%s'\t'%s'\t'%s'\t'%s'\t'%d'\t'%s'\n",
                disk.diskname.c_str(), disk.channel, static_cast<long long>(disk.space.count),
                disk.status.c_str(), disk.model.c_str(), disk.state.c_str(), disk.device.c_str(),
                disk.raid.c_str(), disk.use, disk.hotspare == 1 ? "H" : "NH");
}

void display_disk_list_show(const display_disk_list* list) {
    if (list != nullptr) {
        std::puts("diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\traid\tuse\thotspare");
        std::puts("*****************************************************");
    }
    show_list(list, display_disk_show, "Can't show NULL disklist");
}

int display_disk_list_destroy(display_disk_list* list) {
    return destroy_list(list, "Can't destory NULL disklist");
}

constexpr Applet diskmanage_applet = applet_of<table>();
constexpr AppletTable diskmanage_table = table;

} // namespace zav
