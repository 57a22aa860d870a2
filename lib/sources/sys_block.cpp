// SPDX-License-Identifier: MIT
#include "sources/sys_block.h"

#include "base/text.h"
#include "records/disk.h"

namespace zav {

DiskState parse_member_state(std::string_view text) {
    return text == "faulty"    ? DiskState::faulty
           : text == "spare"   ? DiskState::spare
           : text == "in_sync" ? DiskState::in_sync
                               : DiskState::other;
}

std::string_view member_of_entry(std::string_view entry) {
    constexpr std::string_view tag = "dev-";
    const bool is_member = entry.starts_with(tag);
    const std::string_view name = is_member ? entry.substr(tag.size()) : "";
    return is_kind_of_disk(name) ? name : "";
}

} // namespace zav
