// SPDX-License-Identifier: MIT
#include "records/share.h"

#include "base/text.h"

#include <algorithm>
#include <memory>

namespace zav {

namespace {

/// The copy does not have the device, which is what the collector found out about one record.
share_info& append_copy(share_list& list, const share_info& share) {
    share_info& added = list.append(std::make_unique<share_info>(share));
    added.device = share_info().device.view();
    return added;
}

} // namespace

bool is_type(const share_info& share, std::string_view type) {
    return equal_ignoring_case(share.type, type);
}

std::string_view lookup_name(const share_info& share) {
    return is_type(share, share_type::iscsi) ? cut_at(share.name, ".") : share.name.view();
}

share_info* find_by_name(share_list& list, std::string_view name) {
    const auto found =
        std::ranges::find_if(list, [name](const share_info& share) { return share.name == name; });
    return found != list.end() ? &*found : nullptr;
}

share_info* find_same(share_list& list, const share_info& share) {
    const std::string_view name = lookup_name(share);
    const auto found = std::ranges::find_if(
        list, [name](const share_info& member) { return lookup_name(member) == name; });
    return found != list.end() ? &*found : nullptr;
}

bool share_list_update(const share_info& share, share_list& list) {
    share_info* member = find_by_name(list, share.name);
    if (member == nullptr) {
        share_info& added = append_copy(list, share);
        added.size = {};
        added.usedsize = {};
        return false;
    }
    copy_given(member->comment, share.comment);
    copy_given(member->users, share.users);
    member->write = share.write;
    member->type = share.type.view();
    return true;
}

bool share_list_add(const share_info& share, share_list& list) {
    if (find_by_name(list, share.name) != nullptr) {
        return false;
    }
    append_copy(list, share);
    return true;
}

bool share_list_remove(share_list& list, const share_info& share) {
    share_info* member = find_same(list, share);
    if (member == nullptr) {
        return false;
    }
    list.remove(*member);
    return true;
}

} // namespace zav
