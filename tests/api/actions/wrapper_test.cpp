// SPDX-License-Identifier: MIT
// Actions through the C++ interface.
#include "api/actions/action_case.h"
#include "zav/zav.hpp"

namespace zav::test {
namespace {

zav_share_create_args pub() {
    zav_share_create_args args{};
    args.name = "pub";
    args.service = ZAV_SERVICE_SAMBA;
    args.group = "data";
    args.size_gib = 5;
    return args;
}

TEST(ActionsInCpp, ReturnWhenTheyHaveWorked) {
    ActionMachine machine;
    machine.operation([] {
        Context context;
        Texts steps;
        context.report_progress_to(
            [&steps](std::string_view step, unsigned) { steps.emplace_back(step); });
        share_create(context, pub());
        EXPECT_THAT(steps, testing::Contains("/sbin/lvcreate -L 5G -n pub data"));
    });
    EXPECT_THAT(machine.read(share_register), testing::HasSubstr("[pub]\n"));
}

TEST(ActionsInCpp, ThrowWhatTheErrorSays) {
    ActionMachine machine;
    const Result run = machine.operation([] {
        Context context;
        zav_share_create_args args = pub();
        args.name = "homes";
        try {
            share_create(context, args);
        } catch (const Error& error) {
            EXPECT_STREQ(error.what(), error.details().sentence);
            EXPECT_STREQ(error.details().next,
                         zav_error_advice_for(ZAV_E_BAD_SHARE_NAME, "sharemanage"));
            return error.code();
        }
        return 0;
    });
    EXPECT_EQ(run.returned, ZAV_E_BAD_SHARE_NAME);
}

// Each leads to the action of its name: without a name or a channel they all refuse, and the log
// tells which command's they are.
template <class Arguments>
void expect_refused(void (*action)(const Context&, const Arguments&), const char* function) {
    ActionMachine machine;
    const Result run = machine.call([action] {
        try {
            action(Context(), Arguments{});
        } catch (const Error& error) {
            return error.code();
        }
        return 0;
    });
    EXPECT_NE(run.returned, ZAV_E_INVALID_ARGUMENT);
    EXPECT_THAT(machine.logged(), testing::Contains(testing::StartsWith(function)));
}

TEST(ActionsInCpp, LeadToTheActionsOfTheirNames) {
    expect_refused<zav_disk_init_args>(disk_init, "zav_disk_init[");
    expect_refused<zav_hotspare_add_args>(hotspare_add, "diskmanage_main[828]");
    expect_refused<zav_hotspare_remove_args>(hotspare_remove, "diskmanage_main[828]");
    expect_refused<zav_array_create_args>(array_create, "mdmanage_main[");
    expect_refused<zav_array_delete_args>(array_delete, "mdmanage_main[");
    expect_refused<zav_array_recover_args>(array_recover, "mdmanage_main[");
    expect_refused<zav_array_add_disk_args>(array_add_disk, "mdmanage_main[");
    expect_refused<zav_array_remove_disk_args>(array_remove_disk, "mdmanage_main[");
    expect_refused<zav_group_create_args>(group_create, "vgmanage_main[");
    expect_refused<zav_group_delete_args>(group_delete, "vgmanage_main[");
    expect_refused<zav_pool_create_args>(pool_create, "lvmanage_main[");
    expect_refused<zav_pool_delete_args>(pool_delete, "lvmanage_main[");
    expect_refused<zav_fs_create_args>(fs_create, "fsmanage_main[");
    expect_refused<zav_fs_delete_args>(fs_delete, "fsmanage_main[");
    expect_refused<zav_fs_repair_args>(fs_repair, "fsmanage_main[");
    expect_refused<zav_netdisk_create_args>(netdisk_create, "netmanage_main[");
    expect_refused<zav_netdisk_delete_args>(netdisk_delete, "netmanage_main[");
    expect_refused<zav_netdisk_repair_args>(netdisk_repair, "netmanage_main[");
    expect_refused<zav_share_create_args>(share_create, "create_share_arg_check[");
    expect_refused<zav_share_delete_args>(share_delete, "delete_share_arg_check[");
    expect_refused<zav_share_edit_args>(share_edit, "edit_share_arg_check[");
    expect_refused<zav_share_repair_args>(share_repair, "repair_share_arg_check[");
    expect_refused<zav_share_restore_args>(share_restore, "restore_share_arg_check[");
}

} // namespace
} // namespace zav::test
