// SPDX-License-Identifier: MIT
#include "records/share.h"

#include "base/text.h"

#include <algorithm>
#include <cstdio>
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
        added.size = 0;
        added.usedsize = 0;
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

void share_show(share_info& share) {
    // Uses are counted in tenths of a GiB that has 1,024 of them.
    constexpr double units_in_a_gigabyte = 102.4;
    if (share.size == 0) {
        share.usedsize = 0;
    }
    if (share.device.empty()) {
        share.device = "N.A.";
    }
    std::printf("%s\t%s\t%s\t%s\t%s\t%lldGB\t%.2fGB\t%s\t%s\n", share.name.c_str(),
                share.type.c_str(), share.path.c_str(),
                share.users.empty() ? "*" : share.users.c_str(), share.write != 0 ? "rw" : "ro",
                static_cast<long long>(share.size),
                static_cast<double>(share.usedsize) / units_in_a_gigabyte,
                share.comment.empty() ? "(Null)" : share.comment.c_str(), share.device.c_str());
}

void share_table_show(share_list& list) {
    std::puts("sharename\ttype\tpath\tuser\taccess\tallsize\tusedsize\tcomment\tdevice");
    std::puts("************************************************");
    for (share_info& share : list) {
        share_show(share);
    }
}

} // namespace zav
