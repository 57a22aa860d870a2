// SPDX-License-Identifier: MIT
// sharemanage: lists, creates, deletes, edits, restores and repairs shares.
#include "actions/pools/pools.h"
#include "actions/shares/pools.h"
#include "actions/shares/shares.h"
#include "actions/shares/steps.h"
#include "applets/applets.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
#include "inventory/share_checks.h"
#include "inventory/shares.h"

#include <cstring>
#include <memory>

namespace zav {

namespace {

// The bits of the options, by their places in the option string.
enum : std::uint32_t {
    create_bit = 0x1,
    display_bit = 0x2,
    delete_bit = 0x4,
    edit_bit = 0x8,
    repair_bit = 0x10,
    restore_bit = 0x20
};

struct Arguments {
    const char* name = nullptr;
    const char* mode = nullptr;
    const char* size = nullptr;
    const char* users = nullptr;
    const char* access = nullptr;
    const char* comment = nullptr;
    const char* state = nullptr;
    const char* group = "";
};

/// In the name of the command, from the line that calls this.
int fail(int code, int line = __builtin_LINE()) {
    return fail_command(code, {"sharemanage_main", line});
}

/// How the command ends with an operation's result.
int end(int result, int line = __builtin_LINE()) {
    return result == 0 ? 0 : fail(result, line);
}

/// Prints the code of a check that has logged it.
int refuse(int code) {
    std::printf("for errno '%d'\n", code);
    return code;
}

/// 0 or error::bad_access.
int take_access(const char* access, share_info& share) {
    const std::string_view given = access != nullptr ? access : "rw";
    share.write = given == "rw" ? 1 : 0;
    return given == "rw" || given == "ro" ? 0 : error::bad_access;
}

int take_size(const char* size, share_info& share) {
    if (check_number8(size) != 0) {
        return error::bad_size;
    }
    share.size = static_cast<std::int64_t>(decimal(size));
    return 0;
}

/// The users, or for NFS the hosts; the FTP user is the default one unless given.
int take_users(const Arguments& arguments, share_info& share) {
    if (arguments.users != nullptr) {
        if (const int result = check_user(share.type, arguments.users); result != 0) {
            return result;
        }
        share.users = arguments.users;
    }
    if (is_type(share, share_type::ftp) && share.users.empty()) {
        share.users = default_ftp_user;
    }
    return 0;
}

using RoomCheck = int (*)(const char* group, std::uint64_t size);

/// The checks of create and restore, in their order; they differ in how they look for room.
int take_new_share(const Arguments& arguments, share_info& share, RoomCheck has_room) {
    if (const int result = check_share_name(arguments.name); result != 0) {
        return result;
    }
    share.name = arguments.name;
    share.type = service_of_mode(arguments.mode);
    if (share.type.empty()) {
        return error::bad_share_mode;
    }
    int result = take_size(arguments.size, share);
    result = result == 0 ? take_access(arguments.access, share) : result;
    result = result == 0 ? check_comment(share.comment, arguments.comment) : result;
    result = result == 0 ? take_users(arguments, share) : result;
    if (result != 0) {
        return result;
    }
    if (is_type(share, share_type::nfs) && share.users.view().starts_with("0.0.0.0")) {
        share.users = "*";
    }
    if (check_name32(arguments.group) != 0) {
        return error::bad_group_name;
    }
    share.path = share_path(share.type, arguments.group, arguments.name);
    return has_room(arguments.group, static_cast<std::uint64_t>(share.size));
}

int create_share_arg_check(const Arguments& arguments, share_info& share) {
    const int result = take_new_share(arguments, share, vg_space_check);
    return result == 0 ? 0 : log_return(result);
}

int restore_share_arg_check(const Arguments& arguments, share_info& share) {
    const int result = take_new_share(arguments, share, share_space_check);
    return result == 0 ? 0 : log_return(result);
}

int delete_share_arg_check(const Arguments& arguments) {
    // Whatever has got into the register can be taken out of it.
    return check_name32(arguments.name) == 0
               ? 0
               : log_return(error::bad_share_name, LogSite::numbered(1797));
}

int edit_share_arg_check(const Arguments& arguments, share_info& share) {
    constexpr int bad_mode = -1; // not the code of the other actions: front ends know it
    if (const int result = check_share_name(arguments.name); result != 0) {
        return log_return(result);
    }
    share.name = arguments.name;
    share.type = service_of_mode(arguments.mode);
    if (share.type.empty()) {
        return log_return(bad_mode);
    }
    int result = arguments.size != nullptr ? take_size(arguments.size, share) : 0;
    result = result == 0 ? take_access(arguments.access, share) : result;
    result = result == 0 ? check_comment(share.comment, arguments.comment) : result;
    result = result == 0 ? take_users(arguments, share) : result;
    return result == 0 ? 0 : log_return(result);
}

int repair_share_arg_check(const Arguments& arguments) {
    int result = check_share_name(arguments.name);
    if (result == 0 && check_name32(arguments.group) != 0) {
        result = error::bad_group_name;
    }
    if (result == 0 && service_of_mode(arguments.mode).empty()) {
        result = error::bad_share_mode;
    }
    return result == 0 ? 0 : log_return(result);
}

int create(const Arguments& arguments) {
    share_info share;
    if (const int result = create_share_arg_check(arguments, share); result != 0) {
        return refuse(result);
    }
    return end(create_share(share, arguments.group));
}

/// Leaves the share of that name alone in the list. False when there is none.
bool narrow(share_list& list, const char* name) {
    const share_info* found = find_by_name(list, name);
    if (found == nullptr) {
        return false;
    }
    auto share = std::make_unique<share_info>(*found);
    list.clear();
    list.append(std::move(share));
    return true;
}

int display(const Arguments& arguments) {
    share_list list;
    if (collect_shares(list) != 0) {
        return fail(error::no_share_list);
    }
    if (arguments.name != nullptr &&
        (check_name32(arguments.name) != 0 || !narrow(list, arguments.name))) {
        return fail(error::bad_share_name);
    }
    merge_forbidden_shares(list);
    get_share_dev(list);
    share_table_show(list);
    return 0;
}

int delete_named(const Arguments& arguments) {
    if (const int result = delete_share_arg_check(arguments); result != 0) {
        return refuse(result);
    }
    return end(delete_share(arguments.name));
}

int edit(const Arguments& arguments) {
    share_info share;
    if (const int result = edit_share_arg_check(arguments, share); result != 0) {
        return refuse(result);
    }
    const std::string_view state = arguments.state != nullptr ? arguments.state : "";
    if (state != "0" && state != "1") {
        return fail_command(error::bad_state, {"sharemanage_main", 2017});
    }
    const bool in_use = state == "1" || is_type(share, share_type::iscsi);
    const int result = edit_share(share, in_use ? 1 : 0);
    return result == error::share_not_listed ? result : end(result);
}

int repair(const Arguments& arguments) {
    if (const int result = repair_share_arg_check(arguments); result != 0) {
        return refuse(result);
    }
    const std::string_view type = service_of_mode(arguments.mode);
    if (equal_ignoring_case(type, share_type::iscsi)) {
        return 0; // a device has no file system of ours
    }
    return end(repair_share(arguments.name, type, arguments.group));
}

int restore(const Arguments& arguments) {
    share_info share;
    if (const int result = restore_share_arg_check(arguments, share); result != 0) {
        return refuse(result);
    }
    const int result = restore_share(share, arguments.group);
    return result == error::share_listed ? result : end(result);
}

} // namespace

int sharemanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode =
        zav_getopt(argc, argv, applet_options("sharemanage"),
                   {&arguments.name, &arguments.mode, &arguments.size, &arguments.users,
                    &arguments.access, &arguments.comment, &arguments.state});
    if (optind < argc && std::strlen(argv[optind]) <= share_name_length) {
        arguments.group = argv[optind];
    }
    constexpr std::pair<std::uint32_t, int (*)(const Arguments&)> actions[] = {
        {create_bit, create}, {display_bit, display}, {delete_bit, delete_named},
        {edit_bit, edit},     {repair_bit, repair},   {restore_bit, restore}};
    for (const auto& [bit, action] : actions) {
        if ((mode & bit) != 0) {
            return action(arguments);
        }
    }
    // An unknown option came before any mode.
    return 0;
}

} // namespace zav
