// SPDX-License-Identifier: MIT
// The output of df.
#include "sources/df.h"

#include "base/text.h"
#include "fuzz.h"

namespace zav::fuzz {

void run(std::string_view input) {
    for (const std::string_view name : parse_mounted_disks(input)) {
        require(name.starts_with("sd"), "a disk's name begins with sd");
        require(name.find_first_of(blanks) == name.npos, "a name is one word");
        require(name.data() >= input.data() + 5 &&
                    name.data() + name.size() <= input.data() + input.size(),
                "a name is part of the output");
    }
}

} // namespace zav::fuzz
