// SPDX-License-Identifier: MIT
#include "actions/shares/steps.h"

#include "actions/filesystems/filesystems.h"
#include "actions/shares/files.h"
#include "base/codes.h"
#include "base/log.h"

#include <memory>
#include <string_view>
#include <unordered_map>

namespace zav {

namespace {

void append_copy(share_list& list, const share_info& share) {
    list.append(std::make_unique<share_info>(share));
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
    for (const share_info& entry : registered) {
        if (share_info* member = find_same(live.shares(), entry)) {
            copy_given(member->path, entry.path);
            copy_given(member->users, entry.users);
            copy_given(member->comment, entry.comment);
        } else if (entry.type == share.type) {
            // The register has no users: without those given this share would be everybody's.
            append_copy(live.shares(), entry.name == share.name ? with_given(entry, share) : entry);
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

/// Updates the register's entry. 0, Code::share_not_listed when it was added, or a code.
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
    if (is_failure(registered) || is_type(given, share_type::ftp)) {
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
    OpenServiceFile samba;
    OpenServiceFile exports;
    Code result = entries.open();
    bool was_listed = !failed(result) && share_list_remove(entries.shares(), share);
    for (auto [file, service] :
         {std::pair(&samba, share_type::samba), std::pair(&exports, share_type::nfs)}) {
        result = !failed(result) ? recy_conf_open(*file, service) : result;
        was_listed = (!failed(result) && share_list_remove(file->shares(), share)) || was_listed;
    }
    if (failed(result)) {
        return result;
    }
    if (!was_listed) {
        return Code::share_not_listed;
    }
    result = samba.write();
    result = !failed(result) ? exports.write() : result;
    return !failed(result) ? entries.write() : result;
}

Code remove_from_recycle_files(const share_info& share) {
    const Code result = take_from_recycle_file(share_type::samba, share);
    return is_failure(result) ? result : take_from_recycle_file(share_type::nfs, share);
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
    std::unordered_map<std::string_view, share_info*> members; // of namesakes the first
    for (share_info& share : list) {
        members.emplace(share.name, &share);
    }
    for (const std::string_view service : {share_type::samba, share_type::nfs}) {
        OpenServiceFile recycled;
        if (const Code result = recy_conf_open(recycled, service); failed(result)) {
            log_failure(result);
            continue;
        }
        for (const share_info& entry : recycled.shares()) {
            const auto found = members.find(entry.name);
            // An empty type is how front ends see that a share is forbidden.
            if (found == members.end() || !found->second->type.empty()) {
                continue;
            }
            share_info& member = *found->second;
            member.users = entry.users.view();
            member.write = entry.write;
            if (member.path.empty()) {
                member.path = entry.path.view();
            }
        }
    }
}

} // namespace zav
