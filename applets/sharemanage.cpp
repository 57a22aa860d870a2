// SPDX-License-Identifier: MIT
// sharemanage: lists, creates, deletes, edits, restores and repairs shares.
#include "applets/sharemanage.h"

#include "actions/commands/shares.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/text.h"
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

using Arguments = commands::ShareArguments;

constexpr Fail fail("sharemanage_main");

int create(const Arguments& arguments) {
    return end_command(commands::create_share(arguments, standard_output()));
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
    return end_command(commands::remove_share(arguments.name, standard_output()));
}

int edit(const Arguments& arguments) {
    const Code result = commands::edit_share(arguments, standard_output());
    // The status alone tells that the share was not where it should have been.
    return result == Code::share_not_listed ? number_of(result) : end_command(result);
}

int repair(const Arguments& arguments) {
    return end_command(commands::repair_share(arguments, standard_output()));
}

int restore(const Arguments& arguments) {
    return end_command(commands::restore_share(arguments, standard_output()));
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
                   {&arguments.name, &arguments.service, &arguments.size, &arguments.users,
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
