// SPDX-License-Identifier: MIT
#include "actions/shares/steps.h"

#include "actions/filesystems/filesystems.h"
#include "actions/shares/files.h"
#include "base/codes.h"
#include "base/log.h"
#include "platform/services.h"
#include "records/share_index.h"

#include <list>
#include <memory>
#include <string_view>
#include <vector>

namespace zav {

namespace {

share_info& append_copy(share_list& list, const share_info& share) {
    return list.append(std::make_unique<share_info>(share));
}

/// A registered share with the users and the access that are given for it.
share_info with_given(const share_info& entry, const share_info& share) {
    share_info given = entry;
    copy_given(given.users, share.users);
    given.write = share.write;
    return given;
}

/// Brings the file of the share's service in line with the registered shares.
Code update_live_file(const share_info& share, const share_list& registered) {
    OpenServiceFile live;
    if (const Code result = service_conf_open(live, share.type); failed(result)) {
        return result;
    }
    ShareIndex members = first_shares(
        live.shares(), [](const share_info&) { return true; }, lookup_name);
    for (const share_info& entry : registered) {
        if (share_info* member = find(members, lookup_name(entry))) {
            copy_given(member->path, entry.path);
            copy_given(member->users, entry.users);
            copy_given(member->comment, entry.comment);
        } else if (entry.type == share.type) {
            // The register has no users: without those given this share would be everybody's.
            share_info& added = append_copy(
                live.shares(), entry.name == share.name ? with_given(entry, share) : entry);
            members.emplace(lookup_name(added), &added);
        }
    }
    return live.write();
}

/// Whether the list had the share, which it has afterwards.
bool apply(const share_info& share, share_list& list) {
    share_info* member = find_same(list, share);
    if (member == nullptr) {
        append_copy(list, share);
        return false;
    }
    copy_given(member->comment, share.comment);
    copy_given(member->users, share.users);
    member->write = share.write;
    if (member->type.empty()) {
        copy_given(member->type, share.type);
        copy_given(member->path, share.path);
    }
    return true;
}

/// Updates the register's entry. Code::ok, Code::share_not_listed when it was added, or a code.
Code update_register(const share_info& share) {
    OpenRegister entries;
    if (const Code result = entries.open(); failed(result)) {
        return result;
    }
    const bool was_listed = share_list_update(share, entries.shares());
    const Code result = entries.write();
    return failed(result) || was_listed ? result : Code::share_not_listed;
}

void fill_missing_texts(share_info& share, const share_info& source) {
    if (share.users.empty()) {
        share.users = source.users.view();
    }
    if (share.comment.empty()) {
        share.comment = source.comment.view();
    }
}

/// Takes a share out of its service's file; `share` gets the texts it had there where it has none.
Code take_from_live_file(share_info& share) {
    OpenServiceFile live;
    if (const Code result = service_conf_open(live, share.type); failed(result)) {
        return result;
    }
    const share_info* member = find_same(live.shares(), share);
    const bool was_listed = member != nullptr;
    if (was_listed) {
        fill_missing_texts(share, *member);
        share_list_remove(live.shares(), share);
    }
    const Code result = live.write();
    return failed(result) || was_listed ? result : Code::share_not_listed;
}

Code put_into_recycle_file(const share_info& share) {
    OpenServiceFile recycled;
    if (const Code result = recy_conf_open(recycled, share.type); failed(result)) {
        return result;
    }
    const bool is_new = share_list_add(share, recycled.shares());
    const Code result = recycled.write();
    return failed(result) || is_new ? result : Code::share_listed;
}

/// Takes a share out of one recycle file, which is rewritten either way.
Code take_from_recycle_file(std::string_view service, const share_info& share) {
    OpenServiceFile recycled;
    if (const Code result = recy_conf_open(recycled, service); failed(result)) {
        return result;
    }
    const bool was_listed = share_list_remove(recycled.shares(), share);
    const Code result = recycled.write();
    return failed(result) || was_listed ? result : Code::share_not_listed;
}

/// The services that keep their forbidden shares in a file.
std::vector<const Service*> recycling_services() {
    std::vector<const Service*> found;
    for (const Service& service : services()) {
        if (service.recycled != nullptr) {
            found.push_back(&service);
        }
    }
    return found;
}

/// A failure, not merely a share that was or was not listed.
bool is_failure(Code result) {
    return failed(result) && result != Code::share_listed && result != Code::share_not_listed;
}

} // namespace

Code add_share(const share_info& share) {
    OpenRegister entries;
    if (const Code result = entries.open(); failed(result)) {
        return result;
    }
    const bool is_new = share_list_add(share, entries.shares());
    if (is_new) {
        if (const Code result = entries.write(); failed(result)) {
            return result;
        }
    }
    const Code result = update_live_file(share, entries.shares());
    return failed(result) || is_new ? result : Code::share_listed;
}

Code apply_share(const share_info& share) {
    OpenRegister entries;
    if (const Code result = entries.open(); failed(result)) {
        return result;
    }
    apply(share, entries.shares());
    if (const Code result = entries.write(); failed(result)) {
        return result;
    }
    OpenServiceFile live;
    if (const Code result = service_conf_open(live, share.type); failed(result)) {
        return result;
    }
    const bool was_listed = apply(share, live.shares()) || !live.has_file();
    const Code result = live.write();
    return failed(result) || was_listed ? result : Code::share_not_listed;
}

Code forbid_share(share_info& share) {
    share_info moved = share;
    share.type.clear();
    Code result = update_register(share);
    if (is_failure(result)) {
        return result;
    }
    result = take_from_live_file(moved);
    if (is_failure(result) || recycle_file(moved.type) == nullptr) {
        return result;
    }
    const Code recycled = put_into_recycle_file(moved);
    return failed(result) && !is_failure(recycled) ? result : recycled;
}

Code unmount_and_unregister(share_info& share, const std::string& mntpoint) {
    if (const Code result = fs_umount(mntpoint.c_str()); failed(result)) {
        return result; // what is still mounted must not be removed
    }
    ignore(mntdir_remove(mntpoint.c_str()));
    ignore(mdfstab_remove(mntpoint.c_str()));
    share.type.clear();
    return update_register(share);
}

Code edit_forbidden_share(share_info& share) {
    const share_info given = share;
    share.type.clear();
    const Code registered = update_register(share);
    if (is_failure(registered) || has_ftp_account(given)) {
        return registered;
    }
    OpenServiceFile recycled;
    if (const Code result = recy_conf_open(recycled, given.type); failed(result)) {
        return result;
    }
    const bool was_listed = share_list_update(share, recycled.shares());
    const Code result = recycled.write();
    return failed(result) || (was_listed && !failed(registered)) ? result : Code::share_not_listed;
}

Code remove_share(const share_info& share) {
    OpenRegister entries;
    if (const Code result = entries.open(); failed(result)) {
        return result;
    }
    const bool was_registered = share_list_remove(entries.shares(), share);
    if (const Code result = entries.write(); failed(result)) {
        return result;
    }
    share_info member = share;
    const Code result = take_from_live_file(member);
    return failed(result) || was_registered ? result : Code::share_not_listed;
}

Code remove_forbidden_share(const share_info& share) {
    OpenRegister entries;
    if (const Code result = entries.open(); failed(result)) {
        return result;
    }
    bool was_listed = share_list_remove(entries.shares(), share);
    std::list<OpenServiceFile> recycled;
    for (const Service* service : recycling_services()) {
        OpenServiceFile& file = recycled.emplace_back();
        if (const Code result = file.open(*service->recycled); failed(result)) {
            return result;
        }
        was_listed = share_list_remove(file.shares(), share) || was_listed;
    }
    if (!was_listed) {
        return Code::share_not_listed;
    }
    for (OpenServiceFile& file : recycled) {
        if (const Code result = file.write(); failed(result)) {
            return result;
        }
    }
    return entries.write();
}

Code remove_from_recycle_files(const share_info& share) {
    Code result = Code::ok; // that of the last one
    for (const Service* service : recycling_services()) {
        result = take_from_recycle_file(service->name, share);
        if (is_failure(result)) {
            break;
        }
    }
    return result;
}

void recall_texts(share_info& share) {
    OpenServiceFile recycled;
    if (failed(recy_conf_open(recycled, share.type))) {
        return;
    }
    if (const share_info* member = find_same(recycled.shares(), share)) {
        fill_missing_texts(share, *member);
    }
}

void merge_forbidden_shares(share_list& list) {
    const ShareIndex members = first_shares(
        list, [](const share_info&) { return true; }, name_of);
    for (const Service* service : recycling_services()) {
        OpenServiceFile recycled;
        if (const Code result = recycled.open(*service->recycled); failed(result)) {
            log_failure(result);
            continue;
        }
        for (const share_info& entry : recycled.shares()) {
            share_info* member = find(members, entry.name);
            // An empty type is how front ends see that a share is forbidden.
            if (member == nullptr || !member->type.empty()) {
                continue;
            }
            member->users = entry.users.view();
            member->write = entry.write;
            if (member->path.empty()) {
                member->path = entry.path.view();
            }
        }
    }
}

} // namespace zav
