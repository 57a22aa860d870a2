// SPDX-License-Identifier: MIT
#include "actions/shares/steps.h"

#include "actions/shares/pools.h"
#include "base/codes.h"
#include "base/log.h"
#include "base/text.h"
#include "platform/services.h"
#include "sources/smb_conf.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zav {

namespace {

const ShareFile* const share_register = &share_register_file();

share_info& append_as_is(share_list& list, const share_info& share) {
    return list.append(std::make_unique<share_info>(share));
}

/// A registered share with the users and the access that are given for it.
share_info with_given(const share_info& entry, const share_info& share) {
    share_info given = entry;
    copy_given(given.users, share.users);
    given.write = share.write;
    return given;
}

void fill_missing_texts(share_info& share, const share_info& source) {
    if (share.users.empty()) {
        share.users = source.users.view();
    }
    if (share.comment.empty()) {
        share.comment = source.comment.view();
    }
}

/// The path that the share is registered with, by which its exports are told from those of others.
std::string own_path(ShareFiles& files, const share_info& share) {
    const share_info* registered = find_same(files.registered(), share);
    const bool is_known = registered != nullptr && !registered->path.empty();
    return std::string(is_known ? registered->path.view() : share.path.view());
}

/// The entries of a service's file by the names that they are looked up by.
using Namesakes = std::unordered_map<std::string_view, std::vector<share_info*>>;

Namesakes entries_by_name(share_list& list) {
    Namesakes entries;
    for (share_info& entry : list) {
        entries[lookup_name(entry)].push_back(&entry);
    }
    return entries;
}

/// The share as the recycle file of its service has it; null when that does not.
const share_info* find_parked(ShareFiles& files, const share_info& share) {
    const ShareFile* recycled = recycle_file(share.type);
    return recycled != nullptr ? find_same(files.shares(*recycled), share) : nullptr;
}

std::vector<const ShareFile*> recycle_files() {
    std::vector<const ShareFile*> files;
    for (const Service& service : services()) {
        if (service.recycled != nullptr) {
            files.push_back(service.recycled);
        }
    }
    return files;
}

/// Takes a share out of the recycle files; those that had it. What an older share of its name has
/// left there must not come back in its place.
std::vector<const ShareFile*> drop_parked(ShareFiles& files, const share_info& share) {
    auto changed = recycle_files();
    std::erase_if(changed, [&](const ShareFile* file) {
        return !share_list_remove(files.shares(*file), share);
    });
    return changed;
}

void append(std::vector<const ShareFile*>& changed, const std::vector<const ShareFile*>& files) {
    changed.insert(changed.end(), files.begin(), files.end());
}

/// Completes a share by what a recycle file knows of it: its users and its access are better than
/// everybody's.
void recall(share_info& share, const share_info& parked) {
    fill_missing_texts(share, parked);
    share.write = share.write != 0 && parked.write != 0 ? 1 : 0;
}

/// Puts a share into the list of a recycle file, in the place of what that has of it. Whether it
/// had it: of a share that its service's file has lost, that is all that is known, and the users of
/// one that is open to everybody are not given up for it.
bool park(share_list& list, share_info share, bool was_served) {
    const share_info* parked = find_by_name(list, share.name);
    const bool was_parked = parked != nullptr;
    if (was_parked && share.users.empty()) {
        share.users = parked->users.view();
    }
    if (was_parked && !was_served) {
        recall(share, *parked);
    }
    share_list_remove(list, share);
    share_list_add(share, list);
    return was_parked;
}

/// No file knows who may use a share that its service's file does not have.
void warn_of_open_share(const share_info& share) {
    if (share.users.empty()) {
        log_error("nothing tells the users of share '%s': it is open to everybody",
                  share.name.c_str());
    }
}

/// Completes a share that its service's file has lost.
void recall_lost(ShareFiles& files, share_info& share) {
    if (const share_info* known = find_parked(files, share)) {
        recall(share, *known);
    } else {
        warn_of_open_share(share);
    }
}

/// Brings the shares of a service in line with the registered ones. What a new share's users are,
/// only `share` tells; an older one that was lost is recalled.
void update_live_shares(ShareFiles& files, const share_info& share, bool is_new) {
    const ShareFile& live = *live_file(share.type);
    Namesakes members = entries_by_name(files.shares(live));
    for (const share_info& entry : files.registered()) {
        std::vector<share_info*>& namesakes = members[lookup_name(entry)];
        const std::vector<share_info*> own = own_entries(namesakes, entry.path);
        for (share_info* member : own) {
            copy_given(member->path, entry.path);
            copy_given(member->users, entry.users);
            copy_given(member->comment, entry.comment);
        }
        const bool is_sambas = share.type == share_type::samba && is_samba_own_section(entry.name);
        if (own.empty() && entry.type == share.type && live.path != nullptr && !is_sambas) {
            // The register has no users: without those given this share would be everybody's.
            const bool is_given = entry.name == share.name;
            share_info& added =
                append_as_is(files.shares(live), is_given ? with_given(entry, share) : entry);
            if (!is_given || !is_new) {
                recall_lost(files, added);
            }
            namesakes.push_back(&added);
        }
    }
}

/// Whether the list had the share, which it has afterwards; `found` are its entries.
bool apply(const share_info& share, share_list& list, const std::vector<share_info*>& found) {
    if (found.empty()) {
        append_as_is(list, share);
        return false;
    }
    for (share_info* member : found) {
        copy_given(member->comment, share.comment);
        copy_given(member->users, share.users);
        member->write = share.write;
        if (member->type.empty()) {
            copy_given(member->type, share.type);
            copy_given(member->path, share.path);
        }
    }
    return true;
}

void apply_to_register(ShareFiles& files, const share_info& share) {
    share_info* member = find_same(files.registered(), share);
    apply(share, files.registered(),
          member != nullptr ? std::vector{member} : std::vector<share_info*>());
}

/// Opens the register and the live files of services, which are joined by commas.
Code open_live_files(ShareFiles& files, std::string_view types) {
    Code result = files.open({share_register});
    for (const std::string_view type : split(types, ",")) {
        result = failed(result) ? result : service_conf_open(files, type);
    }
    return result;
}

/// Opens the register and all recycle files.
Code open_recycle_files(ShareFiles& files) {
    const Code result = files.open({share_register});
    return failed(result) ? result : files.open(recycle_files());
}

Code listed(bool was_listed) {
    return was_listed ? Code::ok : Code::share_not_listed;
}

/// Registers a share, a new one or one that was lost.
Code add(ShareFiles& files, const share_info& share, bool is_new) {
    if (const Code result = open_to_use(files, share); failed(result)) {
        return result;
    }
    const ShareFile* live = live_file(share.type);
    const bool is_added = share_list_add(share, files.registered());
    update_live_shares(files, share, is_added && is_new);
    if (is_added && share.write == 0) { // also where its service's file still had the name
        for (share_info* member : find_entries(files.shares(*live), share, share.path)) {
            member->write = 0;
        }
    }
    std::vector<const ShareFile*> changed = {is_added ? share_register : nullptr, live};
    if (is_added) {
        append(changed, drop_parked(files, share));
    }
    const Code result = files.write(changed);
    return failed(result) || is_added ? result : Code::share_listed;
}

/// Opens what removing a share needs, a forbidden one when it has no type.
Code open_to_remove(ShareFiles& files, const share_info& share) {
    const Code result = open_live_files(files, share.type); // none for a forbidden share
    return failed(result) ? result : open_recycle_files(files);
}

/// Takes a share in use out of the lists of all files that have it; `changed` are those to write.
/// Whether the register and its services had it.
bool take_out(ShareFiles& files, const share_info& share, std::vector<const ShareFile*>& changed) {
    const std::string path = own_path(files, share);
    bool was_listed = share_list_remove(files.registered(), share);
    changed = {share_register};
    for (const std::string_view type : split(share.type, ",")) {
        const ShareFile* live = live_file(type);
        was_listed = remove_entries(files.shares(*live), share, path) && was_listed;
        changed.push_back(live);
    }
    append(changed, drop_parked(files, share));
    return was_listed;
}

/// The same for a forbidden share. Whether any file had it; else none is to be written.
bool take_out_forbidden(ShareFiles& files, const share_info& share,
                        std::vector<const ShareFile*>& changed) {
    const bool was_registered = share_list_remove(files.registered(), share);
    const bool was_listed = !drop_parked(files, share).empty() || was_registered;
    if (was_listed) {
        changed = recycle_files();
        changed.push_back(share_register);
    }
    return was_listed;
}

} // namespace

Code open_files_of(ShareFiles& files, const share_info& share) {
    Code result = files.open({share_register});
    result = failed(result) ? result : service_conf_open(files, share.type);
    return failed(result) ? result : files.open({recycle_file(share.type)});
}

Code add_share(ShareFiles& files, const share_info& share) {
    return add(files, share, true);
}

Code add_lost_share(ShareFiles& files, const share_info& share) {
    return add(files, share, false);
}

Code apply_share(ShareFiles& files, const share_info& share) {
    if (const Code result = open_files_of(files, share); failed(result)) {
        return result;
    }
    const ShareFile* live = live_file(share.type);
    apply_to_register(files, share);
    const auto entries = find_entries(files.shares(*live), share, own_path(files, share));
    share_info given = share;
    if (live->path != nullptr && entries.empty()) {
        recall_lost(files, given);
    }
    const bool was_listed = apply(given, files.shares(*live), entries) || live->path == nullptr;
    const Code result = files.write({share_register, live});
    return failed(result) ? result : listed(was_listed);
}

Code open_to_use(ShareFiles& files, const share_info& share) {
    const Code result = open_files_of(files, share);
    return failed(result) ? result : open_recycle_files(files);
}

Code use_forbidden_share(ShareFiles& files, share_info& share) {
    if (const Code result = open_to_use(files, share); failed(result)) {
        return result;
    }
    const share_info* parked = find_parked(files, share);
    const bool is_known = parked != nullptr;
    if (is_known) {
        fill_missing_texts(share, *parked);
    }
    ignore(drop_parked(files, share)); // all are handed on
    const ShareFile* live = live_file(share.type);
    apply_to_register(files, share);
    const auto entries = find_entries(files.shares(*live), share, own_path(files, share));
    const bool was_listed = apply(share, files.shares(*live), entries) || live->path == nullptr;
    if (!was_listed && !is_known) {
        warn_of_open_share(share);
    }
    std::vector<const ShareFile*> changed = recycle_files();
    append(changed, {share_register, live});
    const Code result = files.write(changed);
    return failed(result) ? result : listed(was_listed);
}

Code forbid_share(ShareFiles& files, share_info& share, std::string_view served_by) {
    Code result = open_files_of(files, share);
    result = failed(result) ? result : open_live_files(files, served_by);
    if (failed(result)) {
        return result;
    }
    const ShareFile* live = live_file(share.type);
    const ShareFile* recycled = recycle_file(share.type);
    share_info moved = share;
    const std::string path = own_path(files, share);
    share.type.clear();
    share_list_update(share, files.registered());
    for (const share_info* member : find_entries(files.shares(*live), moved, path)) {
        fill_missing_texts(moved, *member);
    }
    const bool was_listed = remove_entries(files.shares(*live), moved, path);
    const bool was_parked = recycled != nullptr && park(files.shares(*recycled), moved, was_listed);
    std::vector<const ShareFile*> changed = {share_register, live, recycled};
    for (const std::string_view type : split(served_by, ",")) {
        const ShareFile* other = live_file(type);
        if (other != live && remove_entries(files.shares(*other), moved, path)) {
            changed.push_back(other);
        }
    }
    result = files.write(changed);
    if (failed(result)) {
        return result;
    }
    return was_listed && was_parked ? Code::share_listed : listed(was_listed);
}

Code unmount_and_unregister(ShareFiles& files, share_info& share, const std::string& mntpoint) {
    if (const Code result = files.open({share_register}); failed(result)) {
        return result;
    }
    share_info forbidden = share;
    forbidden.type.clear();
    const bool was_listed = share_list_update(forbidden, files.registered());
    if (const Code result = files.prepare({share_register}); failed(result)) {
        return result;
    }
    if (const Code result = give_up_mount_point(mntpoint); failed(result)) {
        return result; // users would still reach it, or again after a restart
    }
    share.type.clear();
    const Code result = files.write_prepared();
    return failed(result) ? result : listed(was_listed);
}

Code edit_forbidden_share(ShareFiles& files, share_info& share) {
    const share_info given = share;
    if (const Code result = open_files_of(files, given); failed(result)) {
        return result;
    }
    const ShareFile* live = live_file(given.type);
    const ShareFile* recycled = recycle_file(given.type);
    const std::string path = own_path(files, share);
    share.type.clear();
    bool was_listed = share_list_update(share, files.registered());
    if (recycled != nullptr) {
        share_info parked = share;
        if (find_by_name(files.shares(*recycled), share.name) == nullptr) {
            for (const share_info* member : find_entries(files.shares(*live), given, path)) {
                fill_missing_texts(parked, *member);
            }
        }
        was_listed = share_list_update(parked, files.shares(*recycled)) && was_listed;
    }
    const bool is_served = remove_entries(files.shares(*live), given, path);
    const Code result = files.write({share_register, recycled, is_served ? live : nullptr});
    return failed(result) ? result : listed(was_listed);
}

Code prepare_removal(ShareFiles& files, const share_info& share) {
    std::vector<const ShareFile*> changed;
    const Code opened = open_to_remove(files, share);
    if (failed(opened)) {
        return opened;
    }
    const bool was_listed = share.type.empty() ? take_out_forbidden(files, share, changed)
                                               : take_out(files, share, changed);
    const Code result = files.prepare(changed);
    return failed(result) ? result : listed(was_listed);
}

Code finish_removal(ShareFiles& files) {
    return files.write_prepared();
}

} // namespace zav
