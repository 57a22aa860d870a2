// SPDX-License-Identifier: MIT
// diskmanage: lists disks, makes them hot spares and back, clears them.
#include "actions/disks/management.h"
#include "applets/applets.h"
#include "applets/standard_output.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "records/disk.h"

namespace zav {

namespace {

// The bits of the options, by their places in the option string.
enum : std::uint32_t {
    init_bit = 0x1,
    display_bit = 0x2,
    hotspare_bit = 0x4,
    add_bit = 0x8,
    remove_bit = 0x20,
};

struct Arguments {
    std::uint32_t mode = 0;
    const char* channel = nullptr;
    const char* device = disk_device::main_controller;
};

/// In the name of the command; support knows its failures by these numbers.
int fail(Code code, int number) {
    return fail_command(code, {"diskmanage_main", number});
}

int end(Code result, int number) {
    return !failed(result) ? 0 : fail(result, number);
}

int init(const Arguments& arguments) {
    if (failed(check_name8(arguments.device))) {
        return fail(Code::bad_device, 695);
    }
    if (failed(check_number_list(arguments.channel))) {
        return fail(Code::bad_channel, 710);
    }
    return end(zav_disk_init(decimal_int(arguments.channel), arguments.device, standard_output()),
               723);
}

int display(const Arguments& arguments) {
    if (failed(check_name8(arguments.device))) {
        return fail(Code::bad_device, 739);
    }
    if (arguments.channel != nullptr && failed(check_number_list(arguments.channel))) {
        return fail(Code::bad_channel, 756);
    }
    const int channel = arguments.channel != nullptr ? decimal_int(arguments.channel) : 0;
    return end(zav_disk_display(channel, arguments.device, standard_output()), 770);
}

HotspareMode hotspare_mode(std::uint32_t mode) {
    if ((mode & remove_bit) != 0) {
        return HotspareMode::remove;
    }
    return (mode & add_bit) != 0 ? HotspareMode::add : HotspareMode::none;
}

int set_hotspare(const Arguments& arguments) {
    if (failed(check_name8(arguments.device))) {
        return fail(Code::bad_device, 791);
    }
    if (failed(check_number_list(arguments.channel))) {
        return fail(Code::bad_channel, 815);
    }
    return end(zav_set_hotspare(decimal_int(arguments.channel), hotspare_mode(arguments.mode),
                                arguments.device, standard_output()),
               828);
}

} // namespace

int diskmanage_main(int argc, char** argv) {
    Arguments arguments;
    // Of several channels, with whatever option, the last one counts.
    arguments.mode =
        zav_getopt(argc, argv, applet_options("diskmanage"),
                   {&arguments.channel, &arguments.channel, &arguments.channel, &arguments.device});
    if ((arguments.mode & init_bit) != 0) {
        return init(arguments);
    }
    if ((arguments.mode & display_bit) != 0) {
        return display(arguments);
    }
    if ((arguments.mode & hotspare_bit) != 0) {
        return set_hotspare(arguments);
    }
    // An unknown option came before any mode.
    return 0;
}

} // namespace zav
