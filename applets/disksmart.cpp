// SPDX-License-Identifier: MIT
// disksmart: lists disks with what they say about their health.
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
enum : std::uint32_t { display_bit = 0x1, detail_bit = 0x2 };

/// In the name of the command; support knows its failures by these numbers.
int fail(Code code, int number) {
    return fail_command(code, {"disksmart_main", number});
}

} // namespace

int disksmart_main(int argc, char** argv) {
    const char* channel = nullptr;
    const char* device = disk_device::main_controller;
    const std::uint32_t mode =
        zav_getopt(argc, argv, applet_options("disksmart"), {&channel, &device});
    if ((mode & display_bit) == 0) {
        return 0;
    }
    if (channel != nullptr && failed(check_number_list(channel))) {
        return fail(Code::bad_channel, 120);
    }
    if (failed(check_name8(device))) {
        return fail(Code::bad_device, 137);
    }
    const Code result = zav_disk_smart_display(channel != nullptr ? decimal_int(channel) : 0,
                                               device, (mode & detail_bit) != 0, standard_output());
    return !failed(result) ? 0 : fail(result, 156);
}

} // namespace zav
