// SPDX-License-Identifier: MIT
// sharemanage: lists, creates, deletes, edits, restores and repairs shares.
#include "applets/sharemanage.h"

#include "actions/pools/pools.h"
#include "actions/shares/pools.h"
#include "actions/shares/shares.h"
#include "actions/shares/steps.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/log.h"
#include "base/shared_sync.h"
#include "base/text.h"
#include "inventory/share_checks.h"
#include "inventory/shares.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace zav {

namespace {

int sharemanage_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'C',
     .name = "create",
     .role = Role::mode,
     .operand = Argument::group,
     .ways = {{"-n sharename -f flag -s size [-u user] [-x ro/rw] [-c commnet] vgname",
               "create a share with 'sharename' 'flag' 'user' and 'size' on 'vgname'"}}},
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all share conf info"},
              {"-n sharename", "display share conf info specified by 'sharename'"}}},
    {.letter = 'D',
     .name = "delete",
     .role = Role::mode,
     .ways = {{"-n sharename", "delete a share specified by 'sharename'"}}},
    {.letter = 'E',
     .name = "edit",
     .role = Role::mode,
     .ways = {{"-n sharename -f flag [-s size] [-u user] [-x ro/rw] [-c comment] -b 0/1",
               " edit the share 'sharename'"}}},
    {.letter = 'R',
     .name = "repair",
     .role = Role::mode,
     .operand = Argument::group,
     .ways = {{"-n sharename -f flag vgname", " repair the share file system"}}},
    {.letter = 'Q',
     .name = "restore",
     .role = Role::mode,
     .operand = Argument::group,
     .ways = {{"-n sharename -f flag -s size [-u user] [-x ro/rw] [-c comment] vgname",
               " restore the share 'sharename'"}}},
    {.letter = 'n', .argument = Argument::share, .help = "specify a sharename"},
    {.letter = 'f', .argument = Argument::service, .help = "specify share mode"},
    {.letter = 's', .argument = Argument::size, .help = "specify size"},
    {.letter = 'u', .argument = Argument::users, .help = "specify user"},
    {.letter = 'x', .argument = Argument::access, .help = "specify access"},
    {.letter = 'c', .argument = Argument::comment, .help = "specify comment"},
    {.letter = 'b', .argument = Argument::state, .help = "specify share state"},
};

constexpr AppletTable table = {
    .name = "sharemanage",
    .main = sharemanage_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "SDRCEQ",
    .summary = "manage share conf info",
    .help_order = "nfsuxcb",
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

constexpr Fail fail("sharemanage_main");
constexpr End end(fail);

/// Prints the code of a check that has logged it.
int refuse(Code code) {
    std::printf("for errno '%d'\n", number_of(code));
    return number_of(code);
}

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
Code take_users(const Arguments& arguments, share_info& share) {
    if (arguments.users != nullptr) {
        if (const Code result =
                check_user(*find_service(share.type), arguments.users, standard_output());
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
Code take_new_share(const Arguments& arguments, share_info& share, RoomCheck has_room) {
    if (const Code result = check_share_name(arguments.name); failed(result)) {
        return result;
    }
    share.name = arguments.name;
    share.type = service_of_mode(arguments.mode);
    if (share.type.empty()) {
        return Code::bad_share_mode;
    }
    Code result = take_size(arguments.size, share);
    result = failed(result) ? result : take_access(arguments.access, share);
    result = failed(result) ? result : check_comment(share.comment, arguments.comment);
    result = failed(result) ? result : take_users(arguments, share);
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
    return has_room(arguments.group, unsigned_size(share.size), standard_output());
}

Code create_share_arg_check(const Arguments& arguments, share_info& share) {
    const Code result = take_new_share(arguments, share, vg_space_check);
    return !failed(result) ? Code::ok : log_return(result);
}

Code restore_share_arg_check(const Arguments& arguments, share_info& share) {
    const Code result = take_new_share(arguments, share, share_space_check);
    return !failed(result) ? Code::ok : log_return(result);
}

Code delete_share_arg_check(const Arguments& arguments) {
    // Whatever has got into the register can be taken out of it.
    return !failed(check_name32(arguments.name))
               ? Code::ok
               : log_return(Code::bad_share_name, LogSite::numbered(1797));
}

Code edit_share_arg_check(const Arguments& arguments, share_info& share) {
    if (const Code result = check_share_name(arguments.name); failed(result)) {
        return log_return(result);
    }
    share.name = arguments.name;
    share.type = service_of_mode(arguments.mode);
    if (share.type.empty()) {
        return log_return(
            Code::edit_mode_invalid); // not that of the other actions: front ends know it
    }
    Code result = arguments.size != nullptr ? take_size(arguments.size, share) : Code::ok;
    result = failed(result) ? result : take_access(arguments.access, share);
    result = failed(result) ? result : check_comment(share.comment, arguments.comment);
    result = failed(result) ? result : take_users(arguments, share);
    return !failed(result) ? Code::ok : log_return(result);
}

Code repair_share_arg_check(const Arguments& arguments) {
    Code result = check_share_name(arguments.name);
    if (!failed(result) && failed(check_name32(arguments.group))) {
        result = Code::bad_group_name;
    }
    if (!failed(result) && service_of_mode(arguments.mode).empty()) {
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

int create(const Arguments& arguments) {
    share_info share;
    if (const Code result = create_share_arg_check(arguments, share); failed(result)) {
        return refuse(result);
    }
    SharedSync sync;
    const Code result = create_share(share, arguments.group, standard_output());
    return end(end_on_disk(sync, result, Code::share_not_created));
}

/// Removes all shares but the one of that name. False when there is none.
bool keep_only(share_list& list, const char* name) {
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
    if (failed(collect_shares(list))) {
        return fail(Code::no_share_list);
    }
    if (arguments.name != nullptr &&
        (failed(check_name32(arguments.name)) || !keep_only(list, arguments.name))) {
        return fail(Code::bad_share_name);
    }
    merge_forbidden_shares(list);
    get_share_dev(list, standard_output());
    share_table_show(list);
    return 0;
}

int delete_named(const Arguments& arguments) {
    if (const Code result = delete_share_arg_check(arguments); failed(result)) {
        return refuse(result);
    }
    SharedSync sync;
    const Code result = delete_share(arguments.name, standard_output());
    return end(end_on_disk(sync, result, Code::share_not_deleted));
}

int edit(const Arguments& arguments) {
    share_info share;
    if (const Code result = edit_share_arg_check(arguments, share); failed(result)) {
        return refuse(result);
    }
    const std::string_view state = arguments.state != nullptr ? arguments.state : "";
    if (state != "0" && state != "1") {
        return fail(Code::bad_state, 2017); // support knows the number
    }
    const bool in_use = state == "1" || is_on_device(share);
    SharedSync sync;
    const Code edited = edit_share(share, in_use ? 1 : 0, standard_output());
    const Code result = end_on_disk(sync, edited, Code::share_not_edited);
    return result == Code::share_not_listed ? number_of(result) : end(result);
}

int repair(const Arguments& arguments) {
    if (const Code result = repair_share_arg_check(arguments); failed(result)) {
        return refuse(result);
    }
    const std::string_view type = service_of_mode(arguments.mode);
    if (!has_file_system(*find_service(type))) {
        return 0; // a device has no file system of ours
    }
    SharedSync sync;
    const Code result = repair_share(arguments.name, type, arguments.group, standard_output());
    return end(end_on_disk(sync, result, Code::share_not_repaired));
}

int restore(const Arguments& arguments) {
    share_info share;
    if (const Code result = restore_share_arg_check(arguments, share); failed(result)) {
        return refuse(result);
    }
    SharedSync sync;
    const Code restored = restore_share(share, arguments.group);
    return end(end_on_disk(sync, restored, Code::share_not_restored));
}

constexpr Action<Arguments> actions[] = {
    {option_bit(options, 'C'), create},       {option_bit(options, 'S'), display},
    {option_bit(options, 'D'), delete_named}, {option_bit(options, 'E'), edit},
    {option_bit(options, 'R'), repair},       {option_bit(options, 'Q'), restore},
};

int sharemanage_main(int argc, char** argv) {
    Arguments arguments;
    const std::uint32_t mode =
        zav_getopt(argc, argv, sharemanage_applet.options,
                   {&arguments.name, &arguments.mode, &arguments.size, &arguments.users,
                    &arguments.access, &arguments.comment, &arguments.state});
    if (optind < argc && std::strlen(argv[optind]) <= share_name_length) {
        arguments.group = argv[optind];
    }
    return run_action(actions, mode, arguments);
}

} // namespace

void share_show(const share_info& share) {
    constexpr double ten_mib_in_gib = 102.4;
    // The mark of a share that was found but not measured shows as -0.01GB: front ends know it.
    const TenMib used = share.size != SignedGib{} ? share.usedsize : TenMib{};
    std::printf("%s\t%s\t%s\t%s\t%s\t%lldGB\t%.2fGB\t%s\t%s\n", share.name.c_str(),
                share.type.c_str(), share.path.c_str(), text_or(share.users, "*"),
                share.write != 0 ? "rw" : "ro", static_cast<long long>(share.size.count),
                static_cast<double>(used.count) / ten_mib_in_gib, text_or(share.comment, "(Null)"),
                text_or(share.device, not_available));
}

void share_table_show(const share_list& list) {
    std::puts("sharename\ttype\tpath\tuser\taccess\tallsize\tusedsize\tcomment\tdevice");
    std::puts("************************************************");
    for (const share_info& share : list) {
        share_show(share);
    }
}

constexpr Applet sharemanage_applet = applet_of<table>();
constexpr AppletTable sharemanage_table = table;

} // namespace zav
