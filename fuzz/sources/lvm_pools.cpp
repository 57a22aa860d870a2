// SPDX-License-Identifier: MIT
// What lvdisplay prints, of all pools and of one.
#include "base/bounded_text.h"
#include "base/text.h"
#include "fuzz.h"
#include "records/group.h"
#include "records/pool.h"
#include "sources/lvm.h"

namespace zav::fuzz {

void run(std::string_view input) {
    vginfo_list groups;
    vginfo& group = groups.append();
    group.name = "vg1";
    group.device = "0";
    pool_list pools;
    parse_lvdisplay(input, groups, pools);
    for (const pool_info& pool : pools) {
        const std::string_view path = pool.name;
        require(path.starts_with("/dev/"), "a pool has a device");
        require(input.find(path) != input.npos, "it is in the output");
        require(pool.status.view().ends_with("available"), "it is available or not");
        require(pool.usedsize.count == 0, "nothing tells its use");
        require(pool.device.empty() || pool.vgname == "vg1", "its device is its group's");
    }
    if (has_pool_line(input, "pool")) {
        require(input.find("pool") != input.npos, "a pool that is found is in the output");
    }
}

} // namespace zav::fuzz
