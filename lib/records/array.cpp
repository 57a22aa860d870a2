// SPDX-License-Identifier: MIT
#include "records/array.h"

#include <algorithm>

namespace zav {

int mdinfo_init(mdinfo& array) {
    array.name.clear();
    array.type.clear();
    array.status = inactive_state;
    array.progress.clear();
    array.allsize = {};
    array.usedsize = {};
    array.members.clear();
    array.spare.clear();
    array.device.clear();
    return 0;
}

mdinfo* find_array(mdinfo_list& list, std::string_view name) {
    const auto found =
        std::ranges::find_if(list, [name](const mdinfo& array) { return array.name == name; });
    return found != list.end() ? &*found : nullptr;
}

void append_item(std::string& list, std::string_view item) {
    if (!list.empty()) {
        list += ',';
    }
    list += item;
}

} // namespace zav
