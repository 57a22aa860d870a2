// SPDX-License-Identifier: MIT
#include "inventory/backups.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/text.h"
#include "sources/lvm.h"
#include "sources/lvm_backup.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace zav {

namespace {

constexpr std::size_t most_backups = 32;

bool is_regular(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

bool has_backup_directory(Sink& out) {
    struct stat status = {};
    const bool is_there = ::stat(backup_directory, &status) == 0;
    if (is_there && S_ISDIR(status.st_mode)) {
        return true;
    }
    if (!is_there && !is_absence(errno)) {
        log_errno(0);
    }
    out.print("'%s' not exist\n", backup_directory);
    return false;
}

Result<std::vector<GroupName>> get_vg_from_backup(std::size_t max, Sink& out) {
    std::vector<GroupName> names;
    if (!has_backup_directory(out)) {
        return names;
    }
    const auto entries = directory_entries(backup_directory);
    if (!entries) {
        out.print("cannot open '%s'\n", backup_directory);
        return Code::backup_directory_unread;
    }
    for (const std::string& entry : *entries) {
        if (names.size() < max && is_regular(backup_path(entry))) {
            names.emplace_back(entry);
        }
    }
    return names;
}

std::vector<GroupName> groups_of_pool_in_backups(std::string_view pool) {
    std::vector<GroupName> groups;
    const auto entries = directory_entries(backup_directory);
    for (const std::string& entry : entries.value_or(std::vector<std::string>())) {
        const auto text = read_file(backup_path(entry).c_str());
        if (text && backup_has_pool(*text, pool)) {
            groups.emplace_back(entry);
        }
    }
    return groups;
}

bool find_pool_in_backups(std::string_view pool, GroupName& group, std::string& backup,
                          LogSite reader, Sink& out) {
    const auto names = get_vg_from_backup(most_backups, out);
    if (!names || names->empty()) {
        // Without a directory, or a backup in it, the code is Code::ok.
        log_error("%s[%d]: with %d", reader.function, reader.line, number_of(names.code()));
        return false;
    }
    for (const GroupName& name : *names) {
        const std::string path = backup_path(name);
        auto text = read_file(path.c_str());
        if (!text) {
            out.print("file '%s' cannot open\n", path.c_str());
            log_error("%s[%d]: %s", reader.function, reader.line, std::strerror(errno));
        } else if (backup_has_pool(*text, pool)) {
            group = name;
            backup = std::move(*text);
            return true;
        }
    }
    return false;
}

void vgname_from_backup(const char* pool, GroupName& group, Sink& out) {
    std::string backup;
    find_pool_in_backups(pool, group, backup, LogSite::here(), out);
}

Code get_idpv_from_pvdisplay(live_pv_list& list, Sink& out) {
    bool is_sure = false;
    return get_live_volumes(list, is_sure, out);
}

Code get_live_volumes(live_pv_list& list, bool& is_sure, Sink& out) {
    is_sure = false;
    Capture capture(pvdisplay_template);
    // With volumes missing the tool may well fail: what it prints is what counts.
    const WaitStatus status = capture.run_and_log(format_text(pvdisplay_command, capture.path()));
    const auto output = capture.read();
    if (!output) {
        out.print("cannot open %s\n", capture.path());
        log_errno(status, LogSite::here("get_idpv_from_pvdisplay"));
        return Code::group_output_unread;
    }
    parse_live_volumes(*output, list);
    is_sure = !failed(status) && is_whole_volume_list(*output);
    return Code::ok;
}

} // namespace zav
