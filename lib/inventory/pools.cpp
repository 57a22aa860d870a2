// SPDX-License-Identifier: MIT
#include "inventory/pools.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/groups.h"
#include "sources/lvm.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace zav {

namespace {

struct PoolLookup {
    Presence presence = Presence::unknown;
    bool is_sure = false; ///< the tool worked and printed something
    bool has_failed = true;
};

/// Whether lvdisplay lists a pool of that path; unknown when it fails and does not.
Presence find_in_list(const std::string& path) {
    const Capture capture(lvdisplay_template);
    const WaitStatus status = capture.run_and_log(format_text(lvdisplay_command, capture.path()));
    const std::string output = capture.read().value_or("");
    pool_list pools;
    parse_lvdisplay(output, vginfo_list(), pools);
    const bool is_listed =
        std::ranges::any_of(pools, [&path](const pool_info& pool) { return pool.name == path; });
    return is_listed ? Presence::present : failed(status) ? Presence::unknown : Presence::absent;
}

/// What lvdisplay tells of one pool.
PoolLookup look_up_pool(const char* group, const char* pool, Sink& out) {
    const Capture capture(lvdisplay_template);
    const std::string command = format_text(lvdisplay_pool_command, group, pool, capture.path());
    WaitStatus status = WaitStatus::not_started;
    if (is_plain_name(group) && is_plain_name(pool) && is_run_whole(command)) {
        status = capture.run_and_log(command);
    } else {
        ignore(refuse_command(command));
    }
    const auto output = capture.read();
    if (!output) {
        out.print("cannot open %s\n", capture.path());
        const LogSite site = LogSite::here("check_lvdisplay");
        log_error("%s:[%d] return %d with %s\n", site.function, site.line,
                  number_of(Code::group_output_unread), std::strerror(errno));
        return {};
    }
    return {presence(has_pool_line(*output, pool)), !failed(status) && !output->empty(),
            failed(status)};
}

} // namespace

Code get_poolinfo_from_lvdisplay(pool_list& list, Sink& out) {
    Capture capture(lvdisplay_template);
    const WaitStatus status = capture.run_and_log(format_text(lvdisplay_command, capture.path()));
    const Code result = failed(status) ? Code::pool_tool_failed : Code::ok;
    vginfo_list groups;
    if (const Code group_result = get_vginfo(groups, out); failed(group_result)) {
        log_failure(group_result);
    }
    const auto output = capture.read();
    if (!output) {
        out.print("cannot open %s\n", capture.path());
        log_errno(result);
        capture.keep();
        return Code::pool_output_unread;
    }
    parse_lvdisplay(*output, groups, list);
    return result;
}

Code pool_list_get(pool_list& list, Sink& out) {
    return get_poolinfo_from_lvdisplay(list, out);
}

Presence check_lvname(const char* name, Sink& out) {
    pool_list pools;
    const Code listed = pool_list_get(pools, out);
    if (listed == Code::pool_output_unread) {
        log_failure(Code::pools_unread);
        out.print("for errno '%d'\n", number_of(Code::pools_unread));
        return Presence::unknown;
    }
    const bool is_there = std::ranges::any_of(
        pools, [name](const pool_info& pool) { return last_component(pool.name) == name; });
    return !is_there && failed(listed) ? Presence::unknown : presence(is_there);
}

Presence check_lvdisplay(const char* group, const char* pool, Sink& out) {
    return look_up_pool(group, pool, out).presence;
}

bool is_known_gone(const char* group, const char* pool, Sink& out) {
    const PoolLookup found = look_up_pool(group, pool, out);
    if (found.presence != Presence::absent || !found.has_failed) {
        return found.presence == Presence::absent;
    }
    // It fails without the pool, and without LVM.
    return find_in_list(format_text("/dev/%s/%s", group, pool)) == Presence::absent;
}

bool is_known_absent(const char* group, const char* pool, Sink& out) {
    const PoolLookup found = look_up_pool(group, pool, out);
    return found.is_sure && found.presence == Presence::absent;
}

} // namespace zav
