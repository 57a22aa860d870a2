// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace zav {

// Of all applets.
inline const std::vector<std::string> names = {"diskmanage",  "disksmart", "fsmanage",
                                               "lvmanage",    "mdmanage",  "netmanage",
                                               "sharemanage", "vgmanage"};

} // namespace zav
