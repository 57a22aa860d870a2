// SPDX-License-Identifier: MIT
#include "actions/pools/pools.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/groups.h"
#include "inventory/pools.h"
#include "sources/lvm.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <sys/stat.h>

namespace zav {

namespace {

/// Code::ok, or Code::pool_name_missing, which is logged.
Code check_names_given(std::string_view pool, std::string_view group) {
    if (!pool.empty() && !group.empty()) {
        return Code::ok;
    }
    log_error("Cannot find poolname!");
    return Code::pool_name_missing;
}

/// The current pools; unreadable ones are omitted. pool_list_get()'s code.
Code read_pools(pool_list& pools, Sink& out, LogSite reader = LogSite::here()) {
    const Code result = pool_list_get(pools, out);
    if (result == Code::pool_output_unread) {
        log_failure(result, reader);
    }
    return result;
}

/// pool_check() in a list.
Code check_listed(const pool_list& pools, const char* pool, const char* group, Gib size) {
    const auto low = static_cast<std::int32_t>(size.count);
    Code result = Code::no_such_pool;
    for (const pool_info& record : pools) {
        if (last_component(record.name) != pool) {
            continue;
        }
        // Before the group: a namesake in another group refuses a size too.
        if (low > 0 && record.allsize.count >= static_cast<std::uint64_t>(low)) {
            log_error("%s's size %lldG cannot extend to %lldG", record.name.c_str(),
                      static_cast<long long>(record.allsize.count), static_cast<long long>(low));
            return Code::size_not_possible;
        }
        if (record.vgname == group) {
            return Code::ok;
        }
        log_error("%s's vgname not match '%s'", pool, group);
        result = Code::wrong_pool_group;
    }
    return result;
}

/// Whether LVM has made a device of that name.
bool has_device(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Code::ok, or Code::pool_name_used with a message.
Code check_list(const pool_list& pools, const char* pool, const char* group) {
    const std::string path = format_text("/dev/%s/%s", group, pool);
    if (std::ranges::none_of(pools,
                             [&path](const pool_info& record) { return record.name == path; })) {
        return Code::ok;
    }
    log_error("poolname '%s' used", pool);
    return Code::pool_name_used;
}

/// pool_name_check() for what would be wiped if it were there. `is_sure` becomes whether the list
/// had any pool: an empty one may just as well be one that the tool could not write.
Code check_name_known_free(const char* pool, const char* group, bool& is_sure, Sink& out) {
    pool_list pools;
    if (const Code listed = pool_list_get(pools, out); failed(listed)) {
        log_failure(listed, LogSite::here("pool_name_check"));
        log_error("'%s' is not known to be free: the pools cannot be listed", pool);
        return Code::pool_name_used;
    }
    is_sure = pools.begin() != pools.end();
    if (has_device(format_text("/dev/%s/%s", group, pool))) {
        log_error("poolname '%s' used", pool);
        return Code::pool_name_used;
    }
    return check_list(pools, pool, group);
}

/// Locks the name of a new pool: it belongs to one creation at a time. What is in no command needs
/// no lock. False, logged, when it cannot be had.
bool lock_pool_name(const char* pool, const char* group, SystemLock& lock) {
    if (!is_plain_name(pool) || !is_plain_name(group)) {
        return true;
    }
    lock = SystemLock::take(format_text("pool-%s-%s", group, pool));
    if (!lock) {
        log_error("'%s' is not created: its name cannot be locked: %s", pool, std::strerror(errno));
    }
    return bool(lock);
}

Code run_remove(const char* pool, const char* group) {
    return run_or_fail({pool, group}, format_text(remove_pool_command, group, pool));
}

Code run_create(const char* pool, const char* group, Gib size) {
    return run_or_fail({pool, group}, format_text(create_pool_command,
                                                  static_cast<long long>(size.count), pool, group));
}

} // namespace

Code pool_check(const char* pool, const char* group, Gib size, Sink& out) {
    if (const Code result = check_names_given(pool, group); failed(result)) {
        return result;
    }
    pool_list pools;
    ignore(read_pools(pools, out)); // none, then
    return check_listed(pools, pool, group, size);
}

Code pool_name_check(const char* pool, const char* group, Sink& out) {
    if (const Code result = check_names_given(pool, group); failed(result)) {
        return result;
    }
    pool_list pools;
    ignore(read_pools(pools, out));
    return check_list(pools, pool, group);
}

Result<Gib> vg_room(const char* group, Sink& out) {
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        log_failure(result);
    }
    const auto found = std::ranges::find_if(
        groups, [group](const vginfo& record) { return record.name == group; });
    if (found == groups.end()) {
        log_error("Cannot find vg '%s'!", group);
        return Code::wrong_pool_group;
    }
    return Gib{found->allsize.count - std::min(found->usedsize, found->allsize).count};
}

Code vg_space_check(const char* group, Gib size, Sink& out) {
    const auto room = vg_room(group, out);
    if (!room) {
        return room.code();
    }
    return size != Gib{} && size <= *room ? Code::ok : Code::size_not_possible;
}

Code pool_create(const char* pool, const char* group, Gib size, Sink& out) {
    SystemLock name;
    if (!lock_pool_name(pool, group, name)) {
        return Code::pool_not_created;
    }
    Code result = vg_space_check(group, size, out);
    if (!failed(result)) {
        result = pool_name_check(pool, group, out);
    }
    return failed(result) ? result : run_create(pool, group, size);
}

Code pool_create_to_format(const char* pool, const char* group, Gib size, SystemLock& name,
                           Sink& out) {
    if (!lock_pool_name(pool, group, name)) {
        return Code::pool_not_created; // the new file system could not be mounted either
    }
    bool was_free = false;
    Code result = vg_space_check(group, size, out);
    if (!failed(result)) {
        result = check_names_given(pool, group);
    }
    if (!failed(result)) {
        result = check_name_known_free(pool, group, was_free, out);
    }
    if (failed(result)) {
        return result;
    }
    result = run_create(pool, group, size);
    if (!failed(result) || was_free) {
        return result;
    }
    log_error("'%s' is not known to be new: it gets no file system", pool);
    return Code::pool_not_created;
}

Code pool_extend(const char* pool, const char* group, Gib size, Sink& out) {
    Code result = pool_check(pool, group, size, out);
    if (!failed(result)) {
        result = vg_space_check(group, size, out);
    }
    if (failed(result)) {
        return result;
    }
    return run_or_fail({pool, group}, format_text(extend_pool_command,
                                                  static_cast<long long>(size.count), group, pool));
}

Code pool_remove(const char* pool, const char* group, Sink& out) {
    if (const Code result = pool_check(pool, group, Gib{}, out); failed(result)) {
        return result;
    }
    return run_remove(pool, group);
}

Code pool_remove_if_any(const char* pool, const char* group, Sink& out) {
    if (const Code result = check_names_given(pool, group); failed(result)) {
        return result;
    }
    pool_list pools;
    const Code listed = read_pools(pools, out, LogSite::here("pool_check"));
    const Code found = check_listed(pools, pool, group, Gib{});
    if (found == Code::no_such_pool) {
        return failed(listed) ? Code::pool_not_removed : Code::ok;
    }
    return failed(found) ? found : run_remove(pool, group);
}

} // namespace zav
