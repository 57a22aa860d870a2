// SPDX-License-Identifier: MIT
// The RAID controller's scan of its arrays.
#include "base/text.h"
#include "fuzz.h"
#include "sources/vexadm.h"

namespace zav::fuzz {

void run(std::string_view input) {
    mdinfo_list arrays;
    parse_controller_arrays(input, arrays);
    require(arrays.empty() || input.find('=') != input.npos, "a rule comes before the arrays");
    for (const mdinfo& array : arrays) {
        require(is_plain_name(array.name) && array.name.view().starts_with("md"),
                "an array has a plain name");
        require(array.type.view().starts_with("raid"), "its level makes its type");
        require(array.status.view().find_first_of(blanks) == std::string_view::npos,
                "its state is one word");
        require(array.members.view().find_first_of(blanks) == std::string_view::npos,
                "members are separated by commas");
        require(array.progress.empty() && array.spare.empty() && array.usedsize.count == 0,
                "the scan tells nothing else");
    }
}

} // namespace zav::fuzz
