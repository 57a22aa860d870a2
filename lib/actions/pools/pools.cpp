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
#include <string>

namespace zav {

namespace {

/// 0, or error::pool_name_missing, which is logged.
int check_names_given(std::string_view pool, std::string_view group) {
    if (!pool.empty() && !group.empty()) {
        return 0;
    }
    log_error("Cannot find poolname!");
    return error::pool_name_missing;
}

/// The pools of now; what cannot be read is missing in the list.
void read_pools(pool_list& pools, LogSite reader = LogSite::here()) {
    if (const int result = pool_list_get(pools); result == error::pool_output_unread) {
        log_return(result, reader);
    }
}

} // namespace

int pool_check(const char* pool, const char* group, std::int32_t size) {
    if (const int result = check_names_given(pool, group); result != 0) {
        return result;
    }
    pool_list pools;
    read_pools(pools);
    int result = error::no_such_pool;
    for (const pool_info& record : pools) {
        if (last_component(record.name) != pool) {
            continue;
        }
        // Before the group: a namesake in another group refuses a size too.
        if (size > 0 && record.allsize >= static_cast<std::uint64_t>(size)) {
            log_error("%s's size %lldG cannot extend to %lldG", record.name.c_str(),
                      static_cast<long long>(record.allsize), static_cast<long long>(size));
            return error::size_not_possible;
        }
        if (record.vgname == group) {
            return 0;
        }
        log_error("%s's vgname not match '%s'", pool, group);
        result = error::wrong_pool_group;
    }
    return result;
}

int pool_name_check(const char* pool, const char* group) {
    if (const int result = check_names_given(pool, group); result != 0) {
        return result;
    }
    pool_list pools;
    read_pools(pools);
    const std::string path = format_text("/dev/%s/%s", group, pool);
    if (std::ranges::none_of(pools,
                             [&path](const pool_info& record) { return record.name == path; })) {
        return 0;
    }
    log_error("poolname '%s' used", pool);
    return error::pool_name_used;
}

int vg_room(const char* group, std::uint64_t& room) {
    vginfo_list groups;
    if (const int result = get_vginfo(groups); result != 0) {
        log_return(result);
    }
    const auto found = std::ranges::find_if(
        groups, [group](const vginfo& record) { return record.name == group; });
    if (found == groups.end()) {
        log_error("Cannot find vg '%s'!", group);
        return error::wrong_pool_group;
    }
    room = found->allsize - std::min(found->usedsize, found->allsize);
    return 0;
}

int vg_space_check(const char* group, std::uint64_t size) {
    std::uint64_t room = 0;
    if (const int result = vg_room(group, room); result != 0) {
        return result;
    }
    return size != 0 && size <= room ? 0 : error::size_not_possible;
}

int pool_create(const char* pool, const char* group, std::uint64_t size) {
    int result = vg_space_check(group, size);
    if (result == 0) {
        result = pool_name_check(pool, group);
    }
    if (result != 0) {
        return result;
    }
    return run_or_fail({pool, group},
                       format_text(create_pool_command, static_cast<long long>(size), pool, group));
}

int pool_extend(const char* pool, const char* group, std::uint64_t size) {
    // The check compares the low 32 bits; the room decides about the whole.
    int result = pool_check(pool, group, static_cast<std::int32_t>(size));
    if (result == 0) {
        result = vg_space_check(group, size);
    }
    if (result != 0) {
        return result;
    }
    return run_or_fail({pool, group},
                       format_text(extend_pool_command, static_cast<long long>(size), group, pool));
}

int pool_remove(const char* pool, const char* group) {
    if (const int result = pool_check(pool, group, 0); result != 0) {
        return result;
    }
    return run_or_fail({pool, group}, format_text(remove_pool_command, group, pool));
}

} // namespace zav
