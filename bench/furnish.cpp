// SPDX-License-Identifier: MIT
#include "furnish.h"

#include "base/text.h"

namespace zav::bench {

namespace {

std::string group_name(int pool) {
    return format_text("group%d", pool % group_count);
}

} // namespace

std::string disk_name(int number) {
    return std::string("sd") + static_cast<char>('a' + number);
}

std::string array_name(int number) {
    return "md" + std::to_string(number);
}

void furnish_arrays(test::Machine& machine) {
    machine.disks(array_count);
    for (int number = 0; number < array_count; ++number) {
        machine.array({.name = array_name(number),
                       .level = "raid5",
                       .members = {{.name = disk_name(number)}}});
    }
}

void furnish_pools(test::Machine& machine) {
    furnish_arrays(machine);
    for (int group = 0; group < group_count; ++group) {
        machine.group({.name = format_text("group%d", group),
                       .volumes = {{.device = "/dev/" + array_name(2 * group)},
                                   {.device = "/dev/" + array_name(2 * group + 1)}}});
    }
    std::string pools;
    std::string lines;
    std::string mounts;
    for (int pool = 0; pool < pool_count; ++pool) {
        const std::string group = format_text("group%d", pool % group_count);
        const std::string name = format_text("%s/pool%d", group.c_str(), pool);
        pools += format_text("  /dev/%s:%s:3:1:-1:1:4194304:512:-1:0:-1:254:0\n", name.c_str(),
                             group.c_str());
        lines += format_text("/dev/%s\t/mnt/%s\txfs\tdefaults\t0 0\n", name.c_str(), name.c_str());
        mounts += format_text("/dev/mapper/pool%d /mnt/%s xfs rw 0 0\n", pool, name.c_str());
        machine.directory("/mnt/" + name);
    }
    machine.tool("/sbin/lvdisplay").any().prints(pools);
    machine.file("/etc/mdfstab", lines).file("/proc/mounts", mounts);
}

std::string pool_directory(int pool) {
    return format_text("/mnt/%s/pool%d", group_name(pool).c_str(), pool);
}

} // namespace zav::bench
