// SPDX-License-Identifier: MIT
/// \file
/// Changes to the registers of mounted file systems. Both have the layout of fstab; the mount point
/// is the key. A change waits for another one, at most for longest_wait, and finishes one that was
/// cut short first. When it succeeds it is durable, and the register is handed to the appliance's
/// configuration tool. When it fails the register is as before; if the disk does not even take the
/// old content back, the next change finishes it.
#pragma once

#include "base/codes.h"

#include <string>

namespace zav {

struct MountRegister {
    const char* path;
    const char* copy_template; ///< of the file that takes its place, ending in "XXXXXX"
};

/// Finishes a change of a register that was cut short, or of another file that is replaced under
/// the lock of its name, unless somebody else has it: what mounts at the start of the system reads
/// the file alone.
void finish_register_change(const char* path);

/// Adds a line unless one has that mount point. Makes a missing register. Code::ok,
/// Code::mount_point_registered, which is no error, or Code::register_unopened, also for a register
/// that is locked or a line that could not be written.
Code register_add(const MountRegister& mounts, const char* mntpoint, const std::string& line);

/// Whether the mount point is in the register after register_add(), by this line or another one.
constexpr bool is_registered(Code result) {
    return !failed(result) || result == Code::mount_point_registered;
}

/// Removes the lines of that mount point, and with them all comments and empty lines; without one
/// the register stays as it is. It keeps its mode and owner. Runs mv. Code::ok,
/// Code::register_unopened or Code::command_failed.
Code register_remove(const MountRegister& mounts, const char* mntpoint);

} // namespace zav
