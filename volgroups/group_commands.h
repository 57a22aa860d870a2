// SPDX-License-Identifier: MIT
/// \file
/// Every command that the volume-group code runs, and that recovery shares with it.
#pragma once

namespace zav {

// Discovery; the last argument is the captured output's path.
inline constexpr const char* vgdisplay_template = "/tmp/vgdisplay.XXXXXX";
inline constexpr const char* pvdisplay_template = "/tmp/pvdisplay.XXXXXX";
inline constexpr char vgdisplay_command[] = "/sbin/vgdisplay -c > %s";
inline constexpr char vgdisplay_group_command[] = "/sbin/vgdisplay -c %s > %s";
inline constexpr char pvdisplay_command[] = "/sbin/pvdisplay -c > %s";

// Changes: volume; group and its volumes, each with a blank in front; group; group, volume.
inline constexpr char create_volume_command[] = "/sbin/pvcreate /dev/%s > /dev/null";
inline constexpr char remove_volume_command[] = "/sbin/pvremove /dev/%s > /dev/null";
inline constexpr char create_group_command[] = "/sbin/vgcreate %s %s > /dev/null";
inline constexpr char remove_group_command[] = "/sbin/vgremove %s > /dev/null";
inline constexpr char extend_group_command[] = "/sbin/vgextend %s /dev/%s > /dev/null";

} // namespace zav
