// SPDX-License-Identifier: MIT
#include "actions/commands/pools.h"

#include "actions/commands/command_log.h"
#include "actions/groups/recovery.h"
#include "actions/pools/pools.h"
#include "base/checks.h"
#include "base/text.h"
#include "inventory/pools.h"

namespace zav::commands {

namespace {

constexpr CommandLog lvmanage("lvmanage_main");

} // namespace

Code create_pool(const PoolArguments& arguments, Sink& out) {
    if (failed(check_name32(arguments.name))) {
        return lvmanage.fail(Code::bad_pool_name);
    }
    if (failed(check_number8(arguments.size))) {
        return lvmanage.fail(Code::bad_size);
    }
    if (failed(check_name32(arguments.group))) {
        return lvmanage.fail(Code::bad_group_name);
    }
    if (check_lvname(arguments.name, out) == Presence::present) {
        return lvmanage.fail(Code::pool_name_taken);
    }
    const Code result =
        pool_create(arguments.name, arguments.group, Gib{decimal(arguments.size)}, out);
    if (result != Code::command_failed) {
        return lvmanage.end(result);
    }
    // LVM may have failed after the pool was there.
    return check_lvdisplay(arguments.group, arguments.name, out) == Presence::present
               ? Code::ok
               : lvmanage.fail(Code::pool_not_created);
}

Code remove_pool(const PoolArguments& arguments, Sink& out) {
    if (failed(check_name32(arguments.name))) {
        return lvmanage.fail(Code::bad_pool_name);
    }
    if (failed(check_name32(arguments.group))) {
        return lvmanage.fail(Code::bad_group_name);
    }
    if (const Code result = vg_raid_resume(arguments.group, out); failed(result)) {
        return lvmanage.fail(result);
    }
    const Code result = pool_remove(arguments.name, arguments.group, out);
    if (result != Code::command_failed) {
        return lvmanage.end(result);
    }
    // LVM may have failed after the pool was gone.
    return is_known_gone(arguments.group, arguments.name, out)
               ? Code::ok
               : lvmanage.fail(Code::pool_not_removed);
}

} // namespace zav::commands
