// SPDX-License-Identifier: MIT
// The list of the hot-spare tool.
#include "sources/hotspare.h"

#include "fuzz.h"

namespace zav::fuzz {

void run(std::string_view input) {
    const auto names = parse_hotspare_list(input);
    if (!names) {
        return;
    }
    require(input.find("Global hotspare disk") != input.npos, "the list has its line");
    require(names->size() <= 16, "there are at most 16 names");
    for (const std::string& name : *names) {
        require(!name.empty() && name.size() <= 5, "a name has 1 to 5 characters");
        require(name.find(' ') == name.npos, "a name has no blank");
    }
}

} // namespace zav::fuzz
