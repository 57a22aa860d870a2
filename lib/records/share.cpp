// SPDX-License-Identifier: MIT
#include "records/share.h"

#include "base/text.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace zav {

namespace {

/// The copy does not have the device, which is what the collector found out about one record.
share_info& append_copy(share_list& list, const share_info& share) {
    share_info& added = list.append(std::make_unique<share_info>(share));
    added.device = share_info().device.view();
    return added;
}

std::vector<share_info*> namesakes_of(share_list& list, const share_info& share) {
    const std::string_view name = lookup_name(share);
    std::vector<share_info*> found;
    for (share_info& member : list) {
        if (lookup_name(member) == name) {
            found.push_back(&member);
        }
    }
    return found;
}

void remove_all(share_list& list, const std::vector<share_info*>& members) {
    for (share_info* member : members) {
        list.remove(*member);
    }
}

} // namespace

bool is_type(const share_info& share, std::string_view type) {
    return equal_ignoring_case(share.type, type);
}

bool is_served_by(const share_info& share, std::string_view type) {
    const auto types = split(share.type, ",");
    return std::ranges::any_of(
        types, [type](std::string_view served) { return equal_ignoring_case(served, type); });
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
    const std::vector<share_info*> found = namesakes_of(list, share);
    remove_all(list, found);
    return !found.empty();
}

std::vector<share_info*> own_entries(std::vector<share_info*> namesakes, std::string_view path) {
    const bool are_exports = !namesakes.empty() && is_type(*namesakes.front(), share_type::nfs);
    if (!are_exports || path.empty()) {
        return namesakes;
    }
    std::vector<share_info*> own;
    std::ranges::copy_if(namesakes, std::back_inserter(own),
                         [path](const share_info* entry) { return entry->path == path; });
    const bool is_one_path = std::ranges::all_of(
        namesakes, [&](const share_info* entry) { return entry->path == namesakes.front()->path; });
    return own.empty() && is_one_path ? namesakes : own;
}

std::vector<share_info*> find_entries(share_list& list, const share_info& share,
                                      std::string_view path) {
    return own_entries(namesakes_of(list, share), path);
}

bool remove_entries(share_list& list, const share_info& share, std::string_view path) {
    const std::vector<share_info*> found = find_entries(list, share, path);
    remove_all(list, found);
    return !found.empty();
}

} // namespace zav
