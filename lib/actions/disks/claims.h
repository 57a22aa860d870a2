// SPDX-License-Identifier: MIT
/// \file
/// Claims on the disks that a command is about to clear, or to hand to mdadm or LVM. A claimed disk
/// counts as used for every other instance of this program, from before the command looks whether
/// it is free to the end of the command, and of the tool that a killed command leaves running.
#pragma once

#include "base/system_lock.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

class DiskClaims {
  public:
    /// Claims the disk that a device, named as under /dev, is or is a partition of; an array goes
    /// by its name too. What cannot be part of a command needs no claim. False, logged, when
    /// another command has the disk, or when it cannot be told; and from then on, since what was
    /// found out about the disk meanwhile may not hold any more.
    bool add(std::string_view device);

    /// The same for several. They are claimed in one order, whatever order they are named in: of
    /// several commands with disks in common at least one gets all of its disks.
    bool add_all(std::vector<std::string_view> devices);

  private:
    struct Claim {
        std::string disk;
        SystemLock lock;
    };
    std::vector<Claim> claims_;
    std::vector<std::string> refused_;
};

} // namespace zav
