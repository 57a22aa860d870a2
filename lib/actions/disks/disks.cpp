// SPDX-License-Identifier: MIT
#include "actions/disks/disks.h"

#include "base/command.h"
#include "base/text.h"
#include "inventory/disk_use.h"
#include "records/disk.h"
#include "sources/diskformat.h"
#include "sources/hotspare.h"

#include <string>
#include <string_view>

namespace zav {

namespace {

void run_for_disk(std::string_view disk, const std::string& command) {
    if (is_disk_name(disk)) {
        ignore(run_and_log(command));
    } else {
        ignore(refuse_command(command, no_disk_name));
    }
}

/// What the kernel calls a disk that is named with or without "/dev/".
std::string kernel_name(std::string_view disk) {
    return std::string(name_in_dev(disk).value_or(disk));
}

} // namespace

void hotspare_command(const char* disk, HotspareMode mode) {
    switch (mode) {
    case HotspareMode::add:
        run_for_disk(disk, format_text(add_hotspare_command, disk));
        break;
    case HotspareMode::remove:
        run_for_disk(disk, format_text(remove_hotspare_command, disk));
        break;
    case HotspareMode::none:
        break;
    }
}

void disk_format(const char* disk) {
    const std::string name = kernel_name(disk);
    run_for_disk(name, format_text(format_disk_command, name.c_str()));
}

void disk_format_unless(const char* disk, std::string_view reason) {
    const std::string name = kernel_name(disk);
    if (reason.empty() && is_disk_name(name) && is_held_by_kernel(name)) {
        reason = held_by_kernel;
    }
    if (reason.empty()) {
        disk_format(name.c_str());
    } else {
        ignore(refuse_command(format_text(format_disk_command, name.c_str()), reason));
    }
}

} // namespace zav
