// SPDX-License-Identifier: MIT
/// \file
/// The register of network disks, in the layout of fstab.
#pragma once

#include "records/filesystem.h"

#include <string_view>

namespace zav {

/// Where a network disk is mounted; the argument is its label.
inline constexpr char netdisk_mount_point[] = "/mnt/netdisk/%s";

inline constexpr const char* netfstab_path = "/etc/netfstab";

/// Of the copy that takes its place.
inline constexpr const char* netfstab_copy_template = "/tmp/netfstab.XXXXXX";

/// Label, mount point, type.
inline constexpr char netfstab_line[] = "LABEL=%s\t%s\t%s\tdefaults\t0 0";

/// The device that network disks are shown under; those behind the appliance's own controllers have
/// lower numbers.
inline constexpr const char* netdisk_device = "5";

/// Adds the network disks to the list, each under its label.
void parse_netfstab(std::string_view text, fs_list& list);

} // namespace zav
