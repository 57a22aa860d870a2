// SPDX-License-Identifier: MIT
// The kernel's mount table.
#include "sources/mounts.h"

#include "base/text.h"
#include "fuzz.h"

namespace zav::fuzz {

void run(std::string_view input) {
    const MountTable mounts = parse_mounts(input);
    for (const Mount& mount : mounts) {
        require(mount.device.size() <= input.size() && mount.directory.size() <= input.size(),
                "nothing grows");
        const std::string_view name = last_component(mount.directory);
        const Mount* found = find_mount_named(mounts, name);
        require(found != nullptr && found <= &mount, "a mount is found by its name, the first one");
        require(name.find('/') == name.npos, "a name is one part of a path");
        if (is_plain_path(mount.directory)) {
            require(mount.directory.find_first_of(" \t\n;&|<>$`\\\"'()*?[]#~{}!^") == input.npos,
                    "a plain path has nothing for a shell");
        }
    }
}

} // namespace zav::fuzz
