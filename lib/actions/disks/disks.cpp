// SPDX-License-Identifier: MIT
#include "actions/disks/disks.h"

#include "base/command.h"
#include "base/text.h"
#include "records/disk.h"
#include "sources/diskformat.h"
#include "sources/hotspare.h"

#include <string_view>

namespace zav {

namespace {

void run_for_disk(std::string_view disk, const std::string& command) {
    if (is_disk_name(disk)) {
        ignore(run_and_log(command));
    } else {
        ignore(refuse_command(command));
    }
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
    constexpr std::string_view directory = "/dev/";
    const bool has_directory = std::string_view(disk).starts_with(directory);
    const char* name = has_directory ? disk + directory.size() : disk;
    run_for_disk(name, format_text(format_disk_command, name));
}

} // namespace zav
