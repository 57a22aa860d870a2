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

/// Runs a command about a disk. The result is that of the log call, which is 0, and so is success:
/// a failed command is not reported further.
int run_for_disk(std::string_view disk, const std::string& command) {
    if (!is_disk_name(disk)) {
        refuse_command(command);
    } else if (const int status = run_command(command); status != 0) {
        return log_command_failure(command, status);
    }
    return 0;
}

} // namespace

int hotspare_command(const char* disk, int mode) {
    switch (mode) {
    case 1:
        return run_for_disk(disk, format_text(add_hotspare_command, disk));
    case -1:
        return run_for_disk(disk, format_text(remove_hotspare_command, disk));
    default:
        return mode + 1;
    }
}

int disk_format(const char* disk) {
    constexpr std::string_view directory = "/dev/";
    const bool has_directory = std::string_view(disk).starts_with(directory);
    const char* name = has_directory ? disk + directory.size() : disk;
    return run_for_disk(name, format_text(format_disk_command, name));
}

} // namespace zav
