// SPDX-License-Identifier: MIT
#include "sources/sys_block.h"

#include "base/text.h"

namespace zav {

DiskState parse_member_state(std::string_view text) {
    return text == "faulty"    ? DiskState::faulty
           : text == "spare"   ? DiskState::spare
           : text == "in_sync" ? DiskState::in_sync
                               : DiskState::other;
}

std::string_view member_of_entry(std::string_view entry) {
    constexpr std::string_view tag = "dev-";
    constexpr std::string_view disk_entry = "dev-sd";
    return entry.starts_with(disk_entry) ? entry.substr(tag.size()) : "";
}

} // namespace zav
