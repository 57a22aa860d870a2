// SPDX-License-Identifier: MIT
#include "actions/commands/shares.h"

#include "actions/commands/command_log.h"
#include "actions/pools/pools.h"
#include "actions/shares/pools.h"
#include "actions/shares/shares.h"
#include "base/checks.h"
#include "base/shared_sync.h"
#include "base/text.h"
#include "inventory/share_checks.h"
#include "inventory/shares.h"

#include <string_view>

namespace zav::commands {

namespace {

constexpr CommandLog sharemanage("sharemanage_main");

/// Code::ok or Code::bad_access.
Code take_access(const char* access, share_info& share) {
    const std::string_view given = access != nullptr ? access : "rw";
    share.write = given == "rw" ? 1 : 0;
    return given == "rw" || given == "ro" ? Code::ok : Code::bad_access;
}

Code take_size(const char* size, share_info& share) {
    if (failed(check_number8(size))) {
        return Code::bad_size;
    }
    share.size = {static_cast<std::int64_t>(decimal(size))};
    return Code::ok;
}

/// The users, or for NFS the hosts; the FTP user is the default one unless given.
Code take_users(const ShareArguments& arguments, share_info& share, Sink& out) {
    if (arguments.users != nullptr) {
        if (const Code result = check_user(*find_service(share.type), arguments.users, out);
            failed(result)) {
            return result;
        }
        share.users = arguments.users;
    }
    if (has_ftp_account(share) && share.users.empty()) {
        share.users = default_ftp_user;
    }
    return Code::ok;
}

using RoomCheck = Code (*)(const char* group, Gib size, Sink& out);

/// The checks of create and restore, in their order; they differ in how they look for room.
Code take_new_share(const ShareArguments& arguments, share_info& share, RoomCheck has_room,
                    Sink& out) {
    if (const Code result = check_share_name(arguments.name); failed(result)) {
        return result;
    }
    share.name = arguments.name;
    share.type = service_of_mode(arguments.service);
    if (share.type.empty()) {
        return Code::bad_share_mode;
    }
    Code result = take_size(arguments.size, share);
    result = failed(result) ? result : take_access(arguments.access, share);
    result = failed(result) ? result : check_comment(share.comment, arguments.comment);
    result = failed(result) ? result : take_users(arguments, share, out);
    if (failed(result)) {
        return result;
    }
    if (find_service(share.type)->users == ShareUsers::hosts &&
        share.users.view().starts_with("0.0.0.0")) {
        share.users = "*";
    }
    if (failed(check_name32(arguments.group))) {
        return Code::bad_group_name;
    }
    share.path = share_path(share.type, arguments.group, arguments.name);
    return has_room(arguments.group, unsigned_size(share.size), out);
}

Code create_share_arg_check(const ShareArguments& arguments, share_info& share, Sink& out) {
    const Code result = take_new_share(arguments, share, vg_space_check, out);
    return !failed(result) ? Code::ok : log_return(result);
}

Code restore_share_arg_check(const ShareArguments& arguments, share_info& share, Sink& out) {
    const Code result = take_new_share(arguments, share, share_space_check, out);
    return !failed(result) ? Code::ok : log_return(result);
}

Code delete_share_arg_check(const char* name) {
    // Whatever has got into the register can be taken out of it.
    return !failed(check_name32(name)) ? Code::ok
                                       : log_return(Code::bad_share_name, LogSite::numbered(1797));
}

Code edit_share_arg_check(const ShareArguments& arguments, share_info& share, Sink& out) {
    if (const Code result = check_share_name(arguments.name); failed(result)) {
        return log_return(result);
    }
    share.name = arguments.name;
    share.type = service_of_mode(arguments.service);
    if (share.type.empty()) {
        return log_return(
            Code::edit_mode_invalid); // not that of the other actions: front ends know it
    }
    Code result = arguments.size != nullptr ? take_size(arguments.size, share) : Code::ok;
    result = failed(result) ? result : take_access(arguments.access, share);
    result = failed(result) ? result : check_comment(share.comment, arguments.comment);
    result = failed(result) ? result : take_users(arguments, share, out);
    return !failed(result) ? Code::ok : log_return(result);
}

Code repair_share_arg_check(const ShareArguments& arguments) {
    Code result = check_share_name(arguments.name);
    if (!failed(result) && failed(check_name32(arguments.group))) {
        result = Code::bad_group_name;
    }
    if (!failed(result) && service_of_mode(arguments.service).empty()) {
        result = Code::bad_share_mode;
    }
    return !failed(result) ? Code::ok : log_return(result);
}

/// The end of an action: what it has done is on the disk, or it has failed.
Code end_on_disk(SharedSync& sync, Code result, Code failure) {
    const bool has_worked =
        !failed(result) || result == Code::share_listed || result == Code::share_not_listed;
    return sync.finish() || !has_worked ? result : fail_with_errno(failure);
}

} // namespace

Code create_share(const ShareArguments& arguments, Sink& out) {
    share_info share;
    if (const Code result = create_share_arg_check(arguments, share, out); failed(result)) {
        return result;
    }
    SharedSync sync;
    const Code result = zav::create_share(share, arguments.group, out);
    return sharemanage.end(end_on_disk(sync, result, Code::share_not_created));
}

Code remove_share(const char* name, Sink& out) {
    if (const Code result = delete_share_arg_check(name); failed(result)) {
        return result;
    }
    SharedSync sync;
    const Code result = delete_share(name, out);
    return sharemanage.end(end_on_disk(sync, result, Code::share_not_deleted));
}

Code edit_share(const ShareArguments& arguments, Sink& out) {
    share_info share;
    if (const Code result = edit_share_arg_check(arguments, share, out); failed(result)) {
        return result;
    }
    const std::string_view state = arguments.state != nullptr ? arguments.state : "";
    if (state != "0" && state != "1") {
        return sharemanage.fail(Code::bad_state, 2017); // support knows the number
    }
    const bool in_use = state == "1" || is_on_device(share);
    SharedSync sync;
    const Code edited = zav::edit_share(share, in_use ? 1 : 0, out);
    const Code result = end_on_disk(sync, edited, Code::share_not_edited);
    return result == Code::share_not_listed ? result : sharemanage.end(result);
}

Code repair_share(const ShareArguments& arguments, Sink& out) {
    if (const Code result = repair_share_arg_check(arguments); failed(result)) {
        return result;
    }
    const std::string_view type = service_of_mode(arguments.service);
    if (!has_file_system(*find_service(type))) {
        return Code::ok; // a device has no file system of ours
    }
    SharedSync sync;
    const Code result = zav::repair_share(arguments.name, type, arguments.group, out);
    return sharemanage.end(end_on_disk(sync, result, Code::share_not_repaired));
}

Code restore_share(const ShareArguments& arguments, Sink& out) {
    share_info share;
    if (const Code result = restore_share_arg_check(arguments, share, out); failed(result)) {
        return result;
    }
    SharedSync sync;
    const Code restored = zav::restore_share(share, arguments.group);
    return sharemanage.end(end_on_disk(sync, restored, Code::share_not_restored));
}

} // namespace zav::commands
