// SPDX-License-Identifier: MIT
#include "inventory/pools.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/groups.h"
#include "sources/lvm.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace zav {

int get_poolinfo_from_lvdisplay(pool_list& list) {
    Capture capture(lvdisplay_template);
    const bool failed = capture.run_and_log(format_text(lvdisplay_command, capture.path())) != 0;
    const int result = failed ? error::pool_tool_failed : 0;
    vginfo_list groups;
    if (const int group_result = get_vginfo(groups); group_result != 0) {
        log_return(group_result);
    }
    const auto output = capture.read();
    if (!output) {
        std::printf("cannot open %s\n", capture.path());
        log_errno(result);
        capture.keep();
        return error::pool_output_unread;
    }
    parse_lvdisplay(*output, groups, list);
    return result;
}

int pool_list_get(pool_list& list) {
    return get_poolinfo_from_lvdisplay(list);
}

int check_lvname(const char* name) {
    pool_list pools;
    if (pool_list_get(pools) == error::pool_output_unread) {
        log_return(error::pools_unread);
        std::printf("for errno '%d'\n", error::pools_unread);
        return error::pools_unread;
    }
    return std::ranges::any_of(
        pools, [name](const pool_info& pool) { return last_component(pool.name) == name; });
}

int check_lvdisplay(const char* group, const char* pool) {
    Capture capture(lvdisplay_template);
    const std::string command = format_text(lvdisplay_pool_command, group, pool, capture.path());
    if (is_plain_name(group) && is_plain_name(pool) && is_run_whole(command)) {
        (void)capture.run_and_log(command);
    } else {
        refuse_command(command);
    }
    const auto output = capture.read();
    if (!output) {
        std::printf("cannot open %s\n", capture.path());
        const LogSite site = LogSite::here();
        log_error("%s:[%d] return %d with %s\n", site.function, site.line,
                  error::group_output_unread, std::strerror(errno));
        return error::group_output_unread;
    }
    return has_pool_line(*output, pool) ? 0 : 1;
}

} // namespace zav
