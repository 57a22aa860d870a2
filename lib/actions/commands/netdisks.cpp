// SPDX-License-Identifier: MIT
#include "actions/commands/netdisks.h"

#include "actions/commands/command_log.h"
#include "actions/netdisks/netdisks.h"
#include "base/checks.h"
#include "inventory/filesystems.h"
#include "inventory/netdisks.h"
#include "sources/netfstab.h"

namespace zav::commands {

namespace {

constexpr CommandLog netmanage("netmanage_main");

} // namespace

Code create_netdisk(const NewNetdiskArguments& arguments) {
    if (failed(check_name32(arguments.label)) || failed(check_name32(arguments.disk))) {
        return netmanage.fail(Code::bad_group_name);
    }
    // What cannot be looked up counts as taken.
    if (netfs_label_used(arguments.label) != Presence::absent ||
        mdfstab_has(arguments.label) != Presence::absent ||
        register_has_mount_point(netfstab_path, netfs_mount_point(arguments.label)) !=
            Presence::absent) {
        return netmanage.fail(Code::pool_name_taken);
    }
    return netmanage.end(create_netfs(arguments.label, arguments.disk));
}

Code remove_netdisk(const char* label, Sink& out) {
    if (failed(check_name32(label))) {
        return netmanage.fail(Code::bad_group_name);
    }
    if (const Presence registered = netfs_label_used(label); registered != Presence::present) {
        if (registered == Presence::unknown && !is_register_missing(netfstab_path)) {
            return netmanage.fail(Code::register_unread); // the disk may be registered
        }
        ignore(netmanage.fail(static_cast<Code>(registered)));
        return Code::ok;
    }
    return netmanage.end(delete_netfs(label, out));
}

Code repair_netdisk(const char* label, Sink& out) {
    if (failed(check_name32(label))) {
        return netmanage.fail(Code::bad_pool_name);
    }
    return netmanage.end(repair_kor_netfs(label, out));
}

} // namespace zav::commands
