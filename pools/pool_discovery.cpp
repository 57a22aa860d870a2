// SPDX-License-Identifier: MIT
#include "pools/pool_discovery.h"

#include "frame/command.h"
#include "frame/error_codes.h"
#include "frame/text.h"
#include "pools/pool_sources.h"
#include "volgroups/group_discovery.h"

#include <algorithm>
#include <cstdio>

namespace zav {

namespace {

/// The blank at the end belongs to the text: logs show it.
constexpr char lvdisplay_command[] = "/sbin/lvdisplay -c > %s ";

} // namespace

int get_poolinfo_from_lvdisplay(pool_list& list) {
    Capture capture("/tmp/lvdisplay.XXXXXX");
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
        pools, [name](const pool_info& pool) { return pool_short_name(pool.name) == name; });
}

} // namespace zav
