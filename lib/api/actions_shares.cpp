// SPDX-License-Identifier: MIT
// The actions on shares.
#include "actions/commands/shares.h"
#include "api/actions.h"

namespace zav {

namespace {

constexpr const char* share_command = "sharemanage";

/// What says how a share is offered. The name of what is no service of shares is no name of one.
template <class Arguments>
commands::ShareArguments offered(const Arguments& given) {
    commands::ShareArguments arguments;
    arguments.name = given.name;
    arguments.service = zav_service_name(given.service);
    arguments.users = given.users;
    arguments.access = given.is_read_only != 0 ? "ro" : "rw";
    arguments.comment = given.comment;
    return arguments;
}

using ShareAction = Code (*)(const commands::ShareArguments& arguments, Sink& out);

template <class Arguments>
int add_share(zav_ctx* ctx, const Arguments* args, zav_error* error, ShareAction add) {
    return run_action(ctx, args, error, share_command, [add](const Arguments& given, Sink& out) {
        const std::string size = std::to_string(given.size_gib);
        commands::ShareArguments arguments = offered(given);
        arguments.size = size.c_str();
        arguments.group = given.group;
        return add(arguments, out);
    });
}

} // namespace

} // namespace zav

using namespace zav;

int zav_share_create(zav_ctx* ctx, const zav_share_create_args* args, zav_error* error) {
    return add_share(ctx, args, error, commands::create_share);
}

int zav_share_delete(zav_ctx* ctx, const zav_share_delete_args* args, zav_error* error) {
    return run_action(ctx, args, error, share_command,
                      [](const zav_share_delete_args& given, Sink& out) {
                          return commands::remove_share(given.name, out);
                      });
}

int zav_share_edit(zav_ctx* ctx, const zav_share_edit_args* args, zav_error* error) {
    return run_action(ctx, args, error, share_command,
                      [](const zav_share_edit_args& given, Sink& out) {
                          commands::ShareArguments arguments = offered(given);
                          arguments.state = given.is_in_use != 0 ? "1" : "0";
                          return commands::edit_share(arguments, out);
                      });
}

int zav_share_repair(zav_ctx* ctx, const zav_share_repair_args* args, zav_error* error) {
    return run_action(ctx, args, error, share_command,
                      [](const zav_share_repair_args& given, Sink& out) {
                          commands::ShareArguments arguments;
                          arguments.name = given.name;
                          arguments.service = zav_service_name(given.service);
                          arguments.group = given.group;
                          return commands::repair_share(arguments, out);
                      });
}

int zav_share_restore(zav_ctx* ctx, const zav_share_restore_args* args, zav_error* error) {
    return add_share(ctx, args, error, commands::restore_share);
}
