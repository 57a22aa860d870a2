// SPDX-License-Identifier: MIT
// The device table that an array is re-created from, and the table of a superblock.
#include "base/text.h"
#include "fuzz.h"
#include "sources/mdadm.h"

#include <algorithm>

namespace zav::fuzz {

namespace {

void check_table(const MemberTable& table) {
    require(table.members.size() <= 17, "there are 17 slots");
    require(table.hole <= table.members.size() + 1, "the hole is within the table");
    for (const std::string& path : table.members) {
        require(path.starts_with("/dev/") && is_plain_name(std::string_view(path).substr(5)),
                "a member is the path of a plain device");
    }
}

} // namespace

void run(std::string_view input) {
    auto table = parse_member_table(input);
    if (!table) {
        return;
    }
    check_table(*table);
    const MemberTable before = *table;
    close_hole(*table);
    check_table(*table);
    require(std::ranges::is_permutation(before.members, table->members), "no member is lost");
    require(table->hole == 0 || table->hole == before.hole, "the hole is closed or stays");
    if (superblock_names_one_of(input, before.members)) {
        require(!before.members.empty(), "a superblock names a member");
    }
    require(!superblock_names_one_of(input, {}), "nothing is named when there are no members");
}

} // namespace zav::fuzz
