// SPDX-License-Identifier: MIT
#include "records/array.h"

#include "base/text.h"

#include <algorithm>
#include <cstdio>

namespace zav {

namespace {

template <std::size_t Size>
void set_if_empty(BoundedText<Size>& text, std::string_view shown) {
    if (text.empty()) {
        text = shown;
    }
}

} // namespace

int mdinfo_init(mdinfo& array) {
    array.name.clear();
    array.type.clear();
    array.status = inactive_state;
    array.progress.clear();
    array.allsize = 0;
    array.usedsize = 0;
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

void mdinfo_display(mdinfo& array) {
    set_if_empty(array.progress, "100%");
    set_if_empty(array.device, "N.A.");
    set_if_empty(array.spare, "None");
    const bool is_linear = equal_ignoring_case(array.type, raid_type::linear);
    std::printf("%s\t%s\t%s\t%s\t%s\t%lldGB\t%lldGB\t%s\t%s\n", array.name.c_str(),
                is_linear ? "JBOD" : array.type.c_str(), array.status.c_str(),
                array.progress.c_str(), array.device.c_str(), static_cast<long long>(array.allsize),
                static_cast<long long>(array.usedsize), array.members.c_str(), array.spare.c_str());
}

void mdinfo_list_display(mdinfo_list* list) {
    show_list(list, mdinfo_display);
}

int mdinfo_list_destroy(mdinfo_list* list) {
    return destroy_list(list);
}

void append_item(std::string& list, std::string_view item) {
    if (!list.empty()) {
        list += ',';
    }
    list += item;
}

} // namespace zav
