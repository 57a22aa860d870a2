// SPDX-License-Identifier: MIT
// disksmart: lists disks with what they say about their health.
#include "applets/disksmart.h"

#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/disks.h"
#include "inventory/smart.h"
#include "records/disk.h"

#include <cstdio>

namespace zav {

namespace {

int disksmart_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all smart info"},
              {"-n channel -d dev", "display the smart info under channel"},
              {"--detail -n channel -d dev", "display the verbose smart info under channel"}}},
    {.letter = 'e', .name = "detail"},
    {.letter = 'n', .argument = Argument::channel, .help = "specify a channel"},
    {.letter = 'd', .argument = Argument::device, .help = "specify a dev"},
};

constexpr AppletTable table = {
    .name = "disksmart",
    .main = disksmart_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "S",
    .summary = "manage the smart info",
    .help_order = "dn",
};

constexpr std::uint32_t detail_bit = option_bit(options, 'e');

struct Arguments {
    std::uint32_t mode = 0;
    const char* channel = nullptr;
    const char* device = disk_device::main_controller;
};

// Support knows the failures by these numbers.
constexpr Fail fail("disksmart_main");
constexpr End end(fail);

/// Prints the disks, or with a channel of 1 or more that one, with their health; with `detail` with
/// the attributes too. Code::ok, Code::no_disk_list, Code::no_such_disk or Code::no_smart_data.
Code zav_disk_smart_display(int channel, const char* device, bool detail) {
    disk_list disks;
    const DiskSites sites = {LogSite::numbered(31), LogSite::numbered(46)};
    if (const Code result = get_disks(disks, channel, device, sites, standard_output());
        failed(result)) {
        return result;
    }
    const SmartMode mode = detail ? SmartMode::detail : SmartMode::summary;
    if (const Code result = fill_smart(disks, mode); failed(result)) {
        log_failure(result, LogSite::numbered(64));
        return Code::no_smart_data;
    }
    std::puts("diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\thotspare");
    std::puts("****************************************************************");
    show_list(&disks, disk_show);
    return Code::ok;
}

int display(const Arguments& arguments) {
    if (arguments.channel != nullptr && failed(check_number_list(arguments.channel))) {
        return fail(Code::bad_channel, 120);
    }
    if (failed(check_name8(arguments.device))) {
        return fail(Code::bad_device, 137);
    }
    const int channel = arguments.channel != nullptr ? decimal_int(arguments.channel) : 0;
    const bool detail = (arguments.mode & detail_bit) != 0;
    return end(zav_disk_smart_display(channel, arguments.device, detail), 156);
}

constexpr Action<Arguments> actions[] = {{option_bit(options, 'S'), display}};

int disksmart_main(int argc, char** argv) {
    Arguments arguments;
    arguments.mode =
        zav_getopt(argc, argv, disksmart_applet.options, {&arguments.channel, &arguments.device});
    return run_action(actions, arguments.mode, arguments);
}

} // namespace

void smart_summary_show(const smart_summary& summary) {
    std::puts("=== START OF INFORMATION SECTION ===");
    std::printf("Device Model:     %s\n", summary.device_model.c_str());
    std::printf("Serial Number:    %s\n", summary.serial_number.c_str());
    std::printf("Firmware Version: %s\n", summary.firmware_version.c_str());
    std::printf("User Capacity:    %s\n", summary.user_capacity.c_str());
    std::printf("ATA Version is:   %s\n", summary.ata_version.c_str());
    std::printf("ATA Standard is:  %s\n", summary.ata_standard.c_str());
    std::printf("SMART support is: %s\n", summary.support.c_str());
    std::printf("SMART support is: %s\n", summary.support_enabled.c_str());
    std::puts("=== START OF READ SMART DATA SECTION ===");
    std::printf("'%s'\n", summary.health.c_str());
}

void smart_attribute_show(const smart_attribute& attribute) {
    std::printf("'%s'\t'%s'\t'%u'\t'%u'\t'%u'\t'%s'\t'%u'\n", attribute.id.c_str(),
                attribute.name.c_str(), attribute.value, attribute.worst, attribute.threshold,
                attribute.when_failed.c_str(), attribute.raw);
}

void disk_show(const disk_info& disk) {
    std::printf("'%s'\t'%d'\t'%lld'\t'%s'\t'%s'\t'%s'\t'%s'\t'%d'\n", disk.name.c_str(),
                disk.channel, static_cast<long long>(disk.space.count), disk.status.c_str(),
                disk.model.c_str(), disk.usage.c_str(), disk.device.c_str(), disk.hotspare);
    if (disk.model == virtual_disk_model) {
        return;
    }
    smart_summary_show(disk.smart);
    show_list(&disk.smart_attributes, smart_attribute_show);
}

constexpr Applet disksmart_applet = applet_of<table>();
constexpr AppletTable disksmart_table = table;

} // namespace zav
