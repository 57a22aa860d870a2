// SPDX-License-Identifier: MIT
/// \file
/// Every command that the array code runs. Double blanks belong to the texts: logs and the front
/// end's tests compare them.
#pragma once

namespace zav {

// Discovery; the last argument is the captured output's path.
inline constexpr char mdstat_command[] = "cat /proc/mdstat > %s";
inline constexpr char array_detail_command[] = "/sbin/mdadm --detail /dev/%s > %s";
inline constexpr char controller_arrays_command[] = "/usr/local/bin/vexadm --display --scan > %s";

// Creation: array, level, number of disks, disks.
inline constexpr char create_with_bitmap_command[] =
    "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384  /dev/%s -l %d -n %d -R %s > /dev/null";
inline constexpr char create_with_bitmap_foreground_command[] =
    "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/%s --fg-init -l %d -n %d -R %s "
    "> /dev/null";
inline constexpr char create_command[] = "/sbin/mdadm -C /dev/%s -l %d -n %d -R %s > /dev/null";
inline constexpr char create_other_command[] =
    "/sbin/mdadm -C  /dev/%s -l %d -n %d -R %s > /dev/null";
inline constexpr char create_foreground_command[] =
    "/sbin/mdadm -C /dev/%s --fg-init -l %d -n %d -R %s > /dev/null";
inline constexpr char create_linear_command[] =
    "/sbin/mdadm -C /dev/%s -l %s -n %d -R %s > /dev/null";

// Changes: array, disk.
inline constexpr char add_disk_command[] = "/sbin/mdadm --manage /dev/%s --add /dev/%s > /dev/null";
inline constexpr char remove_disk_command[] = "/sbin/mdadm --manage /dev/%s -r /dev/%s > /dev/null";
inline constexpr char fail_disk_command[] = "/sbin/mdadm /dev/%s -f /dev/%s";
inline constexpr char stop_command[] = "/sbin/mdadm -S /dev/%s > /dev/null";

// Recovery.
inline constexpr char recover_detail_command[] = "/sbin/mdadm -D /dev/%s > %s";
inline constexpr char examine_command[] = "/sbin/mdadm -E /dev/%s > %s";
inline constexpr char scan_groups_command[] = "/sbin/vgscan > /dev/null";

} // namespace zav
