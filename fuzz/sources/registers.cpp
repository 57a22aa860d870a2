// SPDX-License-Identifier: MIT
// The registers of mounted file systems: the first line of the input is a mount point to look for.
#include "base/text.h"
#include "fuzz.h"
#include "sources/fstab.h"
#include "sources/mdfstab.h"
#include "sources/netfstab.h"

#include <algorithm>

namespace zav::fuzz {

namespace {

void check_records(const fs_list& list, std::string_view text) {
    for (const fs_info& fs : list) {
        require(!fs.mntpoint.empty() && !fs.fstype.empty(), "a line has three words");
        require(text.find(fs.mntpoint.view()) != text.npos, "the mount point is in the text");
        require(fs.status.empty() && fs.allsize.count == 0, "its state is not told");
    }
}

} // namespace

void run(std::string_view input) {
    const std::string_view mntpoint = take_line(input);
    fs_list pools;
    parse_mdfstab(input, pools);
    check_records(pools, input);
    fs_list disks;
    parse_netfstab(input, disks);
    check_records(disks, input);
    require(pools.size() == disks.size(), "both registers have one layout");

    const auto kept = register_without(input, mntpoint);
    if (!kept) {
        return;
    }
    const auto feeds = static_cast<std::size_t>(std::ranges::count(input, '\n'));
    require(kept->size() <= input.size() + feeds + input.size() / 255 + 1,
            "a register only grows by line ends");
    require(kept->empty() || kept->ends_with('\n'), "its last line has an end");
    require(!register_has(*kept, mntpoint) || mntpoint.empty(), "the mount point is gone");
    require(!kept->starts_with('#') && kept->find("\n#") == kept->npos, "and the comments");
    const auto again = register_without(*kept, mntpoint);
    require(!again || mntpoint.empty(), "nothing is removed twice");
}

} // namespace zav::fuzz
