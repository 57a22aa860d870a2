// SPDX-License-Identifier: MIT
/// \file
/// Changes to the registers of mounted file systems. Both have the layout of fstab; the mount point
/// is the key. A changed register is handed to the appliance's configuration tool.
#pragma once

#include <string>

namespace zav {

struct MountRegister {
    const char* path;
    const char* copy_template; ///< of the file that takes its place, ending in "XXXXXX"
};

/// No error of the system: the mount point has a line already.
inline constexpr int mount_point_registered = -1;

/// Adds a line unless one has that mount point. 0, mount_point_registered or
/// error::register_unopened, also for a line that could not be written.
int register_add(const MountRegister& mounts, const char* mntpoint, const std::string& line);

/// Removes the lines of that mount point, and with them all comments and empty lines; without one
/// the register stays as it is. It keeps its mode and owner. Runs mv. 0, error::register_unopened
/// or error::command_failed.
int register_remove(const MountRegister& mounts, const char* mntpoint);

} // namespace zav
