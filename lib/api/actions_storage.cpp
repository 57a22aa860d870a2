// SPDX-License-Identifier: MIT
// The actions on disks, arrays, groups, pools, file systems and network disks.
#include "actions/commands/arrays.h"
#include "actions/commands/disks.h"
#include "actions/commands/filesystems.h"
#include "actions/commands/groups.h"
#include "actions/commands/netdisks.h"
#include "actions/commands/pools.h"
#include "api/actions.h"

namespace zav {

namespace {

const char* device_or_main(const char* device) {
    return device != nullptr ? device : disk_device::main_controller;
}

template <class Arguments>
int set_hotspare(zav_ctx* ctx, const Arguments* args, zav_error* error, HotspareMode mode) {
    return run_action(ctx, args, error, "diskmanage", [mode](const Arguments& given, Sink& out) {
        const std::string channel = std::to_string(given.channel);
        return commands::set_hotspare({channel.c_str(), device_or_main(given.device)}, mode, out);
    });
}

/// A level as on the command line; empty for none.
const char* level_text(zav_raid_level level) {
    switch (level) {
    case ZAV_LEVEL_RAID0:
        return "0";
    case ZAV_LEVEL_RAID1:
        return "1";
    case ZAV_LEVEL_RAID5:
        return "5";
    case ZAV_LEVEL_RAID6:
        return "6";
    case ZAV_LEVEL_LINEAR:
        return "JBOD";
    case ZAV_LEVEL_NONE:
        break;
    }
    return "";
}

using MemberAction = Code (*)(const commands::MemberArguments& arguments, Sink& out);

template <class Arguments>
int change_members(zav_ctx* ctx, const Arguments* args, zav_error* error, MemberAction change) {
    return run_action(ctx, args, error, "mdmanage", [change](const Arguments& given, Sink& out) {
        const std::string channel = std::to_string(given.channel);
        return change({given.array, channel.c_str()}, out);
    });
}

using PoolAction = Code (*)(const commands::PoolArguments& arguments, Sink& out);

template <class Arguments>
int make_pool(zav_ctx* ctx, const Arguments* args, zav_error* error, const char* command,
              PoolAction make) {
    return run_action(ctx, args, error, command, [make](const Arguments& given, Sink& out) {
        const std::string size = std::to_string(given.size_gib);
        return make({given.name, size.c_str(), given.group}, out);
    });
}

template <class Arguments>
int change_pool(zav_ctx* ctx, const Arguments* args, zav_error* error, const char* command,
                PoolAction change) {
    return run_action(ctx, args, error, command, [change](const Arguments& given, Sink& out) {
        return change({given.name, nullptr, given.group}, out);
    });
}

using NameAction = Code (*)(const char* name, Sink& out);

template <class Arguments>
int change_named(zav_ctx* ctx, const Arguments* args, zav_error* error, const char* command,
                 NameAction change) {
    return run_action(ctx, args, error, command, [change](const Arguments& given, Sink& out) {
        return change(given.name, out);
    });
}

template <class Arguments>
int change_labelled(zav_ctx* ctx, const Arguments* args, zav_error* error, NameAction change) {
    return run_action(ctx, args, error, "netmanage", [change](const Arguments& given, Sink& out) {
        return change(given.label, out);
    });
}

} // namespace

} // namespace zav

using namespace zav;

int zav_disk_init(zav_ctx* ctx, const zav_disk_init_args* args, zav_error* error) {
    return run_action(
        ctx, args, error, "diskmanage", [](const zav_disk_init_args& given, Sink& out) {
            const std::string channel = std::to_string(given.channel);
            return commands::initialize_disk({channel.c_str(), device_or_main(given.device)}, out);
        });
}

int zav_hotspare_add(zav_ctx* ctx, const zav_hotspare_add_args* args, zav_error* error) {
    return set_hotspare(ctx, args, error, HotspareMode::add);
}

int zav_hotspare_remove(zav_ctx* ctx, const zav_hotspare_remove_args* args, zav_error* error) {
    return set_hotspare(ctx, args, error, HotspareMode::remove);
}

int zav_array_create(zav_ctx* ctx, const zav_array_create_args* args, zav_error* error) {
    return run_action(
        ctx, args, error, "mdmanage", [](const zav_array_create_args& given, Sink& out) {
            const Code result =
                commands::create_array({given.name, level_text(given.level), given.device,
                                        given.channels, given.in_foreground != 0},
                                       out);
            // That is no code of the command's, which ends with a status of its own.
            return result == Code::command_failed ? static_cast<Code>(ZAV_E_ARRAY_MADE_WITH_ERROR)
                                                  : result;
        });
}

int zav_array_delete(zav_ctx* ctx, const zav_array_delete_args* args, zav_error* error) {
    return change_named(ctx, args, error, "mdmanage", commands::remove_array);
}

int zav_array_recover(zav_ctx* ctx, const zav_array_recover_args* args, zav_error* error) {
    return change_named(ctx, args, error, "mdmanage", commands::recover_array);
}

int zav_array_add_disk(zav_ctx* ctx, const zav_array_add_disk_args* args, zav_error* error) {
    return change_members(ctx, args, error, commands::add_member);
}

int zav_array_remove_disk(zav_ctx* ctx, const zav_array_remove_disk_args* args, zav_error* error) {
    return change_members(ctx, args, error, commands::remove_member);
}

int zav_group_create(zav_ctx* ctx, const zav_group_create_args* args, zav_error* error) {
    return run_action(
        ctx, args, error, "vgmanage", [](const zav_group_create_args& given, Sink& out) {
            return commands::create_group({given.name, given.volumes, given.device}, out);
        });
}

int zav_group_delete(zav_ctx* ctx, const zav_group_delete_args* args, zav_error* error) {
    return change_named(ctx, args, error, "vgmanage", commands::remove_group);
}

int zav_pool_create(zav_ctx* ctx, const zav_pool_create_args* args, zav_error* error) {
    return make_pool(ctx, args, error, "lvmanage", commands::create_pool);
}

int zav_pool_delete(zav_ctx* ctx, const zav_pool_delete_args* args, zav_error* error) {
    return change_pool(ctx, args, error, "lvmanage", commands::remove_pool);
}

int zav_fs_create(zav_ctx* ctx, const zav_fs_create_args* args, zav_error* error) {
    return make_pool(ctx, args, error, "fsmanage", commands::create_filesystem);
}

int zav_fs_delete(zav_ctx* ctx, const zav_fs_delete_args* args, zav_error* error) {
    return change_pool(ctx, args, error, "fsmanage", commands::remove_filesystem);
}

int zav_fs_repair(zav_ctx* ctx, const zav_fs_repair_args* args, zav_error* error) {
    return change_pool(ctx, args, error, "fsmanage", commands::repair_filesystem);
}

int zav_netdisk_create(zav_ctx* ctx, const zav_netdisk_create_args* args, zav_error* error) {
    return run_action(ctx, args, error, "netmanage",
                      [](const zav_netdisk_create_args& given, Sink&) {
                          return commands::create_netdisk({given.label, given.disk});
                      });
}

int zav_netdisk_delete(zav_ctx* ctx, const zav_netdisk_delete_args* args, zav_error* error) {
    return change_labelled(ctx, args, error, commands::remove_netdisk);
}

int zav_netdisk_repair(zav_ctx* ctx, const zav_netdisk_repair_args* args, zav_error* error) {
    return change_labelled(ctx, args, error, commands::repair_netdisk);
}
