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
int update_live_file(const share_info& share, const share_list& registered) {
    OpenServiceFile live;
    if (const int result = service_conf_open(live, share.type); result != 0) {
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

/// Updates the register's entry. 0, error::share_not_listed when it was added, or a code.
int update_register(const share_info& share) {
    OpenRegister entries;
    if (const int result = entries.open(); result != 0) {
        return result;
    }
    const bool was_listed = share_list_update(share, entries.shares()) == 0;
    const int result = entries.write();
    return result != 0 || was_listed ? result : error::share_not_listed;
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
int take_from_live_file(share_info& share) {
    OpenServiceFile live;
    if (const int result = service_conf_open(live, share.type); result != 0) {
        return result;
    }
    const share_info* member = find_same(live.shares(), share);
    const bool was_listed = member != nullptr;
    if (was_listed) {
        fill_missing_texts(share, *member);
        share_list_remove(live.shares(), share);
    }
    const int result = live.write();
    return result != 0 || was_listed ? result : error::share_not_listed;
}

int put_into_recycle_file(const share_info& share) {
    OpenServiceFile recycled;
    if (const int result = recy_conf_open(recycled, share.type); result != 0) {
        return result;
    }
    const bool is_new = share_list_add(share, recycled.shares()) == 0;
    const int result = recycled.write();
    return result != 0 || is_new ? result : error::share_listed;
}

/// Takes a share out of one recycle file, which is rewritten either way.
int take_from_recycle_file(std::string_view service, const share_info& share) {
    OpenServiceFile recycled;
    if (const int result = recy_conf_open(recycled, service); result != 0) {
        return result;
    }
    const bool was_listed = share_list_remove(recycled.shares(), share) == 0;
    const int result = recycled.write();
    return result != 0 || was_listed ? result : error::share_not_listed;
}

/// A failure, not merely a share that was or was not listed.
bool is_failure(int result) {
    return result != 0 && result != error::share_listed && result != error::share_not_listed;
}

} // namespace

int add_share(const share_info& share) {
    OpenRegister entries;
    if (const int result = entries.open(); result != 0) {
        return result;
    }
    const bool is_new = share_list_add(share, entries.shares()) == 0;
    if (is_new) {
        if (const int result = entries.write(); result != 0) {
            return result;
        }
    }
    const int result = update_live_file(share, entries.shares());
    return result != 0 || is_new ? result : error::share_listed;
}

int apply_share(const share_info& share) {
    OpenRegister entries;
    if (const int result = entries.open(); result != 0) {
        return result;
    }
    apply(share, entries.shares());
    if (const int result = entries.write(); result != 0) {
        return result;
    }
    OpenServiceFile live;
    if (const int result = service_conf_open(live, share.type); result != 0) {
        return result;
    }
    const bool was_listed = apply(share, live.shares()) || !live.has_file();
    const int result = live.write();
    return result != 0 || was_listed ? result : error::share_not_listed;
}

int forbid_share(share_info& share) {
    share_info moved = share;
    share.type.clear();
    int result = update_register(share);
    if (is_failure(result)) {
        return result;
    }
    result = take_from_live_file(moved);
    if (is_failure(result) || recycle_file(moved.type) == nullptr) {
        return result;
    }
    const int recycled = put_into_recycle_file(moved);
    return result != 0 && !is_failure(recycled) ? result : recycled;
}

int unmount_and_unregister(share_info& share, const std::string& mntpoint) {
    if (const int result = fs_umount(mntpoint.c_str()); result != 0) {
        return result; // what is still mounted must not be removed
    }
    mntdir_remove(mntpoint.c_str());
    mdfstab_remove(mntpoint.c_str());
    share.type.clear();
    return update_register(share);
}

int edit_forbidden_share(share_info& share) {
    const share_info given = share;
    share.type.clear();
    const int registered = update_register(share);
    if (is_failure(registered) || is_type(given, share_type::ftp)) {
        return registered;
    }
    OpenServiceFile recycled;
    if (const int result = recy_conf_open(recycled, given.type); result != 0) {
        return result;
    }
    const bool was_listed = share_list_update(share, recycled.shares()) == 0;
    const int result = recycled.write();
    return result != 0 || (was_listed && registered == 0) ? result : error::share_not_listed;
}

int remove_share(const share_info& share) {
    OpenRegister entries;
    if (const int result = entries.open(); result != 0) {
        return result;
    }
    const bool was_registered = share_list_remove(entries.shares(), share) == 0;
    if (const int result = entries.write(); result != 0) {
        return result;
    }
    share_info member = share;
    const int result = take_from_live_file(member);
    return result != 0 || was_registered ? result : error::share_not_listed;
}

int remove_forbidden_share(const share_info& share) {
    OpenRegister entries;
    OpenServiceFile samba;
    OpenServiceFile exports;
    int result = entries.open();
    bool was_listed = result == 0 && share_list_remove(entries.shares(), share) == 0;
    for (auto [file, service] :
         {std::pair(&samba, share_type::samba), std::pair(&exports, share_type::nfs)}) {
        result = result == 0 ? recy_conf_open(*file, service) : result;
        was_listed = (result == 0 && share_list_remove(file->shares(), share) == 0) || was_listed;
    }
    if (result != 0) {
        return result;
    }
    if (!was_listed) {
        return error::share_not_listed;
    }
    result = samba.write();
    result = result == 0 ? exports.write() : result;
    return result == 0 ? entries.write() : result;
}

int remove_from_recycle_files(const share_info& share) {
    const int result = take_from_recycle_file(share_type::samba, share);
    return is_failure(result) ? result : take_from_recycle_file(share_type::nfs, share);
}

void recall_texts(share_info& share) {
    OpenServiceFile recycled;
    if (recy_conf_open(recycled, share.type) != 0) {
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
        if (const int result = recy_conf_open(recycled, service); result != 0) {
            log_return(result);
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
