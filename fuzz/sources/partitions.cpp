// SPDX-License-Identifier: MIT
// The kernel's partition table.
#include "sources/partitions.h"

#include "base/text.h"
#include "fuzz.h"
#include "sources/mdstat.h"

#include <set>

namespace zav::fuzz {

void run(std::string_view input) {
    std::set<std::string> seen;
    for (const std::string& name : parse_partition_disks(input)) {
        require(name.starts_with("sd"), "a disk's name begins with sd");
        require(!is_digit(name.back()), "a name that ends in a digit is a partition");
        require(name.find_first_of(blanks) == name.npos, "a name is one word");
        require(seen.insert(name).second, "a disk is told of once");
    }
    for (const std::string& name : parse_partition_arrays(input)) {
        require(name.starts_with("md") && is_plain_name(name), "an array has a plain name");
    }
}

} // namespace zav::fuzz
