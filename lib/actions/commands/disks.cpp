// SPDX-License-Identifier: MIT
#include "actions/commands/disks.h"

#include "actions/commands/command_log.h"
#include "actions/disks/management.h"
#include "base/checks.h"
#include "base/text.h"

namespace zav::commands {

namespace {

// Support knows the failures by their numbers.
constexpr CommandLog diskmanage("diskmanage_main");

} // namespace

Code initialize_disk(const DiskArguments& arguments, Sink& out) {
    if (failed(check_name8(arguments.device))) {
        return diskmanage.fail(Code::bad_device, 695);
    }
    if (failed(check_number_list(arguments.channel))) {
        return diskmanage.fail(Code::bad_channel, 710);
    }
    return diskmanage.end(zav_disk_init(decimal_int(arguments.channel), arguments.device, out),
                          723);
}

Code set_hotspare(const DiskArguments& arguments, HotspareMode mode, Sink& out) {
    if (failed(check_name8(arguments.device))) {
        return diskmanage.fail(Code::bad_device, 791);
    }
    if (failed(check_number_list(arguments.channel))) {
        return diskmanage.fail(Code::bad_channel, 815);
    }
    return diskmanage.end(
        zav_set_hotspare(decimal_int(arguments.channel), mode, arguments.device, out), 828);
}

} // namespace zav::commands
