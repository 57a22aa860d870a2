// SPDX-License-Identifier: MIT
/// \file
/// Every negative code that a function of the library or a command returns. A command's exit
/// status is its code modulo 256; the line "for errno '%d'" on standard output has the code itself.
#pragma once

namespace zav::error {

// Arguments of a command.
inline constexpr int bad_channel = -111;
inline constexpr int bad_size = -113;
inline constexpr int bad_share_name = -114; ///< also: no such share to show
inline constexpr int bad_share_mode = -115;
inline constexpr int bad_host = -116;
inline constexpr int bad_comment = -118;
inline constexpr int bad_device = -121;
inline constexpr int bad_pool_name = -126;  ///< also: no such pool, in look-ups by path
inline constexpr int bad_array_name = -127; ///< also: no array of that name, in look-ups by name
inline constexpr int bad_access = -128;
inline constexpr int bad_state = -129;
inline constexpr int bad_raid_level = -130;

// Disks.
inline constexpr int disk_in_use = -201; ///< in an array, a volume group or a mounted file system
inline constexpr int no_such_disk = -202;
inline constexpr int already_hotspare = -203;
inline constexpr int no_hotspare = -204; ///< also: neither to be made one nor to be removed
inline constexpr int no_disk_list = -205;
inline constexpr int hotspare_unchanged = -206;
inline constexpr int no_smart_data = -207;

// Volume groups, as vgmanage reports them.
inline constexpr int bad_volume_list = -122;
inline constexpr int bad_group_name = -123;
inline constexpr int group_not_deleted = -301; ///< not brought back before, or still there after
inline constexpr int group_not_created = -302; ///< printed only
inline constexpr int no_such_group = -303;
inline constexpr int no_group_list = -304;

// Pools, as lvmanage and fsmanage report them.
inline constexpr int pool_not_removed = -324; ///< still there after the removal
inline constexpr int pool_not_created = -325;
inline constexpr int pools_unread = -326;    ///< printed where a name is looked up
inline constexpr int pool_name_taken = -327; ///< also by a network disk's label, or in doubt

// File systems on pools and network disks, as fsmanage and netmanage report them.
inline constexpr int fs_not_repaired = -509; ///< also: not registered
inline constexpr int fs_not_mounted = -601;
inline constexpr int fs_not_unmounted = -602;
inline constexpr int fs_not_made = -603;

// Shares, as sharemanage reports them.
inline constexpr int no_such_share = -501;
inline constexpr int share_not_forbidden = -502;
inline constexpr int share_not_created = -503;
inline constexpr int share_not_deleted = -504;
inline constexpr int no_share_list = -505;
inline constexpr int share_not_used = -506;
inline constexpr int share_not_edited =
    -507; ///< one that is forbidden, or moved to another service
inline constexpr int share_not_restored = -508;
inline constexpr int share_not_repaired = fs_not_repaired;
inline constexpr int ftp_user_file_unopened = -511;
inline constexpr int ftp_user_file_unwritten = -512;
inline constexpr int home_not_rewritten = -513;
inline constexpr int share_exists = -514;
inline constexpr int user_file_unread = -611;
inline constexpr int passwd_unread = -612;
inline constexpr int unknown_user = -613; ///< or one that no file can carry

// LVM's backups.
inline constexpr int backup_directory_unread = -614;

// The file of reserved array names.
inline constexpr int reservation_unread = -401;
inline constexpr int reservation_not_locked = -403;
inline constexpr int name_reserved = -404;
inline constexpr int reservation_held = -405; ///< another process has the lock
inline constexpr int reservation_not_opened = -406;
inline constexpr int reservation_unwritten = -407;

// Arrays, as mdmanage reports them.
inline constexpr int missing_disk_not_found = -410;
inline constexpr int array_details_unread = -411;
inline constexpr int name_not_reserved = -412;
inline constexpr int array_not_stopped = -415;
inline constexpr int array_not_created = -416;
inline constexpr int disk_not_added = -417;
inline constexpr int disk_not_removed = -418;
inline constexpr int array_not_recovered = -419;
inline constexpr int array_inactive = -421;
inline constexpr int no_array_list = -422;
inline constexpr int no_such_array = -423;

// State of the system.
inline constexpr int model_unread = -1001;
inline constexpr int power_unread = -1002;
inline constexpr int power_tool_unread = -1003;
inline constexpr int start_time_unread = -1004;
inline constexpr int time_unread = -1005;
inline constexpr int host_name_unread = -1006;
inline constexpr int hardware_version_unread = -1007;
inline constexpr int software_version_unread = -1008;
inline constexpr int fan_speed_unread = -1009;
inline constexpr int temperature_unread = -1010;
inline constexpr int service_state_unread = -1011;

// Files of the kernel and output of the tools.
inline constexpr int partitions_unread = -1020;
inline constexpr int controller_directory_unread = -1021;
inline constexpr int controller_status_unread = -1022;
inline constexpr int disk_tool_output_unread = -1023; ///< the hot-spare list or df
inline constexpr int hotspare_line_missing = -1024;
inline constexpr int controller_scan_unread = -1025;
inline constexpr int array_output_unread = -1030;
inline constexpr int array_key_missing = -1031;
inline constexpr int array_directory_unread = -1032;
inline constexpr int array_status_unread = -1033;
inline constexpr int group_output_unread = -1040;
inline constexpr int pool_output_unread = -1050;
inline constexpr int pool_tool_failed = -1051; ///< what it printed is read all the same
inline constexpr int exports_unread = -1060;   ///< or the iSCSI volumes
inline constexpr int targets_unread = -1061;
inline constexpr int home_unread = -1062;
inline constexpr int ftp_limits_unread = -1063;
inline constexpr int register_unopened = -1066; ///< of mounted file systems, or its copy
inline constexpr int ftp_limits_copy_unopened = -1067;
inline constexpr int smart_unread = -1070;
inline constexpr int smart_attributes_unread = -1071;

// Checks of the array operations.
inline constexpr int disk_used = -2030;
inline constexpr int array_name_used = -2031;
inline constexpr int unknown_raid_type = -2032;
inline constexpr int wrong_disk = -2033; ///< no such channel on the device, or not in the array
inline constexpr int wrong_disk_count = -2034;
inline constexpr int array_carries_group = -2035;
inline constexpr int disk_not_faulty = -2036;
inline constexpr int level_without_change = -2037; ///< the level takes and gives up no disks
inline constexpr int unknown_array = -2038;

// Checks of the group operations.
inline constexpr int group_name_missing = -2040;
inline constexpr int group_name_used = -2041;
inline constexpr int no_such_volume_disk = -2042;
inline constexpr int volume_disk_used = -2043;
inline constexpr int no_such_volume_array = -2044;
inline constexpr int volume_used = -2045;
inline constexpr int unknown_group = -2046;
inline constexpr int group_has_pools = -2047;

// Checks of the pool operations.
inline constexpr int pool_name_missing = -2050; ///< or the group's
inline constexpr int pool_name_used = -2051;
inline constexpr int wrong_pool_group = -2052; ///< unknown, or not the pool's
inline constexpr int size_not_possible = -2053;
inline constexpr int no_such_pool = -2055;

// Steps on the share register and the services' files.
inline constexpr int share_register_unopened = -2060;
inline constexpr int service_file_unopened = -2061;
inline constexpr int file_locked = -2062; ///< by another process; nothing waits
inline constexpr int share_file_malformed = -2063;
inline constexpr int share_register_unwritten = -2064;
inline constexpr int service_file_unwritten = -2065;
inline constexpr int share_listed = -2066;     ///< there already
inline constexpr int share_not_listed = -2067; ///< where it was looked for
inline constexpr int unknown_service = -2068;
inline constexpr int user_secrets_unread = -2069;

inline constexpr int command_failed = -11000;
inline constexpr int group_model_unread = -11001;

} // namespace zav::error

namespace zav::file_error {

// Results of reading and writing configuration files; callers turn them into codes of their own.
// The first two are of sectioned key/value files.
inline constexpr int no_section = -1;
inline constexpr int no_key = -2;
inline constexpr int not_opened = -10;
inline constexpr int not_created = -11;
inline constexpr int unread = -12;
inline constexpr int unwritten = -13;
inline constexpr int malformed = -14;
inline constexpr int too_long = -22;

} // namespace zav::file_error
