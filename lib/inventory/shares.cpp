// SPDX-License-Identifier: MIT
#include "inventory/shares.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/arrays.h"
#include "inventory/disks.h"
#include "inventory/groups.h"
#include "inventory/mounts.h"
#include "inventory/share_users.h"
#include "platform/services.h"
#include "records/share_index.h"
#include "sources/exports.h"
#include "sources/iet_volumes.h"
#include "sources/ietd_conf.h"
#include "sources/lvm.h"
#include "sources/share_register.h"
#include "sources/smb_conf.h"
#include "sources/vsftpd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace zav {

namespace {

constexpr std::size_t user_slots = 32;
constexpr std::size_t user_length = 32;

constexpr const char* iscsi_capture = "/tmp/iscsi.XXXXXX";

/// A share file as it is between two changes; one that does not exist is empty.
std::optional<std::string> read_share_file(const char* path) {
    auto text = read_settled(path, share_register_path);
    return text || errno != ENOENT ? std::move(text) : std::optional<std::string>("");
}

/// The same for the list of all shares, which passes over a file that cannot be opened. One that
/// somebody keeps locked, that the disk does not give, or for which this process has no room, is
/// not taken for an empty one: shares would be missing.
std::optional<std::string> read_unless_absent(const char* path) {
    constexpr std::array there = {EWOULDBLOCK, EIO, ENOMEM, EMFILE, ENFILE, EFBIG};
    auto text = read_share_file(path);
    return text || std::ranges::find(there, errno) != there.end() ? std::move(text)
                                                                  : std::optional<std::string>("");
}

/// A file, or why it cannot be read.
struct FileText {
    std::optional<std::string> text;
    int error = 0;

    explicit FileText(std::optional<std::string> read) : text(std::move(read)), error(errno) {}
    /// For the log: errno, as it was after the reading.
    Code fail(Code code, LogSite site = LogSite::here()) const {
        errno = error;
        return fail_with_errno(code, site);
    }
};

/// The files that are changed together, as they are at one moment: of a share that moves from one
/// to the other, each alone would tell that everybody may use it. Whoever changes any of them waits
/// for the one who reads the register.
struct ShareTexts {
    FileDescriptor lock = FileDescriptor::open(share_register_path, O_RDONLY);
    bool can_be_read = !lock || lock_for_reading(lock.get());
    FileText registered{can_be_read ? read_unless_absent(share_register_path) : std::nullopt};
    FileText samba{can_be_read ? read_unless_absent(samba_path) : std::nullopt};
    FileText exports{can_be_read ? read_share_file(exports_path) : std::nullopt};
    FileText targets{can_be_read ? read_share_file(targets_path) : std::nullopt};

    ShareTexts() { lock.close(); }
};

bool exists(const char* path) {
    return ::access(path, F_OK) == 0;
}

bool is_directory(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Where each FTP share stands in the list; of namesakes the first.
using FtpPlaces = std::unordered_map<std::string_view, std::pair<int, share_info*>>;

FtpPlaces ftp_places(share_list& list) {
    FtpPlaces places;
    int place = 0;
    for (share_info& share : list) {
        if (has_ftp_account(share)) {
            places.emplace(share.name, std::pair(place, &share));
        }
        ++place;
    }
    return places;
}

/// Gives a user the FTP shares that have a directory in its home. True when no later user is to be
/// looked at, which is so when the last directory is that of the list's first share, and when there
/// is no directory: front ends rely on which user a share gets.
bool find_one_user(const std::string& user, const FtpPlaces& places, bool has_shares) {
    const std::string home = "/home/" + user;
    const auto entries = directory_entries(home.c_str());
    if (!entries) {
        ignore(fail_with_errno(Code::home_unread));
        return false;
    }
    bool is_last = true;
    for (const std::string& entry : *entries) {
        if (!is_directory(std::string(home).append("/").append(entry))) {
            continue;
        }
        const auto found = places.find(entry);
        is_last = found != places.end() ? found->second.first == 0 : !has_shares;
        if (found != places.end()) {
            found->second.second->write = 1;
            found->second.second->users = user;
        }
    }
    return is_last;
}

void get_ftp_users(share_list& list) {
    const auto users = get_user(user_slots, user_length).value_or(std::vector<std::string>());
    const FtpPlaces places = ftp_places(list);
    for (const std::string& user : users) {
        if (find_one_user(user, places, !list.empty())) {
            break;
        }
    }
    for (const std::string& user : users) {
        if (user == default_ftp_user) {
            continue;
        }
        if (const auto file = read_file(ftp_user_path(user).c_str())) {
            scan_ftp_user(*file, user, list);
        }
    }
}

Code get_shareinfo_from_exportfs(const FileText& file, share_list& list) {
    if (!file.text) {
        return file.fail(Code::exports_unread);
    }
    scan_exports(*file.text, list);
    return Code::ok;
}

/// Whether the files can hold a directory as the path of that share: a line feed would begin a line
/// of its own, a backslash is read as the start of an escape, and in the exports the path ends at a
/// blank, which would export another directory.
bool can_be_path(std::string_view directory, const share_info& share) {
    const auto types = split(share.type, ",");
    const bool is_exported = std::ranges::any_of(
        types, [](std::string_view type) { return equal_ignoring_case(type, share_type::nfs); });
    return !has_control_characters(directory) &&
           directory.find_first_of(is_exported ? "\\ " : "\\") == std::string_view::npos;
}

void measure_shares(share_list& list) {
    for (share_info& share : list) {
        struct statfs figures = {};
        if (is_on_device(share) || share.path.empty() || share.comment == unmounted_comment ||
            ::statfs(share.path.c_str(), &figures) != 0) {
            continue;
        }
        const std::uint64_t block = static_cast<std::uint64_t>(figures.f_bsize) / Kib::unit;
        share.size = rounded<SignedGib>(Kib{figures.f_blocks * block});
        share.usedsize = rounded<TenMib>(Kib{(figures.f_blocks - figures.f_bavail) * block});
    }
}

Code get_shareinfo_from_iSCSI(share_list& list) {
    if (!exists(volumes_path)) {
        return Code::ok;
    }
    const Capture capture(iscsi_capture);
    ignore(capture.run_and_log(format_text(volumes_command, capture.path())));
    const auto output = capture.read();
    if (!output) {
        return fail_with_errno(Code::exports_unread);
    }
    scan_iscsi_volumes(*output, list);
    return Code::ok;
}

/// The command tells whether there is a file of targets. It may copy half a change: what counts is
/// the file as it was when the others were read.
Code get_shareinfo_from_ietd(const FileText& file, share_list& list) {
    const Capture capture(iscsi_capture);
    if (failed(capture.run_and_log(format_text(targets_command, capture.path())))) {
        return fail_with_errno(Code::command_failed);
    }
    if (!capture.read()) {
        return fail_with_errno(Code::targets_unread);
    }
    if (!file.text) {
        return file.fail(Code::targets_unread);
    }
    scan_iscsi_targets(*file.text, list);
    return Code::ok;
}

/// What lvdisplay tells of all pools, for `reader`; Code::share_pools_unread.
Result<std::string> read_pools(LogSite reader) {
    const Capture capture(lvdisplay_template);
    const WaitStatus status =
        capture.run_and_log(format_text(lvdisplay_plain_command, capture.path()));
    auto output = capture.read();
    if (!output) {
        log_errno(failed(status) ? Code::pool_tool_failed : Code::ok, reader);
        return Code::share_pools_unread;
    }
    return std::move(*output);
}

/// What a group lies on: an array's name, or that of a disk, which the group lists by its channel.
std::string device_of(const vginfo& group, const disk_list& disks) {
    if (group.physical_volumes.empty()) {
        return "";
    }
    const pvinfo& volume = *group.physical_volumes.begin();
    const std::string_view name = volume.name;
    if (name.empty() || !std::ranges::all_of(name, is_digit)) {
        return std::string(name);
    }
    const auto disk = std::ranges::find_if(disks, [&](const disk_info& candidate) {
        return candidate.channel == decimal_int(name) && candidate.device == volume.device;
    });
    return disk != disks.end() ? disk->name.c_str() : std::string(name);
}

} // namespace

void scan_mounts(const MountTable& mounts, share_list& list) {
    const auto shares = first_shares(
        list, [](const share_info& share) { return !is_on_device(share); }, name_of);
    std::unordered_set<const share_info*> found;
    for (const Mount& mount : mounts) {
        if (share_info* share = find(shares, last_component(mount.directory))) {
            if (can_be_path(mount.directory, *share)) {
                share->path = mount.directory;
            }
            found.insert(share);
        }
    }
    for (share_info& share : list) {
        const bool is_found = is_on_device(share) ? !mounts.empty() : found.contains(&share);
        share.usedsize = {is_found ? -1 : 0}; // the mark stays where nothing is measured
        if (!is_found) {
            share.comment = unmounted_comment;
        }
    }
}

Code collect_shares(share_list& list) {
    const ShareTexts files;
    if (!files.registered.text) {
        return files.registered.fail(Code::share_register_unopened);
    }
    scan_register(*files.registered.text, register_services(), list);
    if (!files.samba.text) {
        return files.samba.fail(Code::service_file_unopened);
    }
    scan_samba(*files.samba.text, list);
    get_ftp_users(list);
    if (const Code result = get_shareinfo_from_exportfs(files.exports, list); failed(result)) {
        return result;
    }
    if (const auto mounts = read_mounts()) {
        scan_mounts(*mounts, list);
    }
    measure_shares(list);
    const Code result = get_shareinfo_from_iSCSI(list);
    return failed(result) ? result : get_shareinfo_from_ietd(files.targets, list);
}

void merge_forbidden_shares(share_list& list) {
    const ShareIndex members = first_shares(
        list, [](const share_info&) { return true; }, name_of);
    for (const Service& service : services()) {
        if (service.recycled == nullptr) {
            continue;
        }
        const auto text = read_share_file(service.recycled->path);
        share_list recycled;
        if (!text || failed(service.recycled->parse(*text, recycled))) {
            log_failure(text ? Code::share_file_malformed : Code::service_file_unopened);
            continue;
        }
        for (const share_info& entry : recycled) {
            share_info* member = find(members, entry.name);
            // An empty type is how front ends see that a share is forbidden.
            if (member == nullptr || !member->type.empty()) {
                continue;
            }
            member->users = entry.users.view();
            member->write = entry.write;
            if (member->path.empty()) {
                member->path = entry.path.view();
            }
        }
    }
}

Code find_share(const char* name, share_info& share) {
    share_list list;
    if (failed(collect_shares(list))) {
        return Code::no_share_list;
    }
    const share_info* found = find_by_name(list, name);
    if (found == nullptr) {
        return Code::no_such_share;
    }
    share = *found;
    return Code::ok;
}

Code check_share(const char* name) {
    share_info share;
    switch (find_share(name, share)) {
    case Code::ok:
        return Code::share_exists;
    case Code::no_such_share:
        return Code::ok;
    default:
        return log_return(Code::no_share_list);
    }
}

std::vector<GroupName> groups_of_pool(const char* pool) {
    const auto output = read_pools(LogSite::numbered(192, "get_vgname_from_lvdisplay"));
    std::vector<GroupName> groups;
    if (output) {
        for (const std::string_view group : groups_with_pool(*output, pool)) {
            groups.emplace_back(group);
        }
    }
    return groups;
}

Result<GroupName> get_vgname_from_lvdisplay(const char* share) {
    const auto output = read_pools(LogSite::numbered(192));
    if (!output) {
        return output.code();
    }
    const auto groups = groups_with_pool(*output, share);
    return !groups.empty() ? Result(GroupName(groups.front())) : Code::no_such_group;
}

void get_share_dev(share_list& list, Sink& out) {
    if (list.empty()) {
        return;
    }
    const auto output = read_pools(LogSite::here());
    const GroupsByPool pools = output ? groups_of_pools(*output) : GroupsByPool();
    vginfo_list groups;
    if (const Code result = get_vginfo(groups, out); failed(result)) {
        log_failure(result);
    }
    disk_list disks;
    ignore(get_disk_list(disks, out)); // the channels of disks are then shown as they are
    std::unordered_map<std::string_view, std::string> devices;
    for (const vginfo& group : groups) {
        devices.emplace(group.name, device_of(group, disks));
    }
    for (share_info& share : list) {
        GroupName name;
        if (const auto pool = pools.find(share.name.view()); pool != pools.end()) {
            name = pool->second;
        } else {
            vgname_from_backup(share.name.c_str(), name, out);
        }
        const auto device = devices.find(name.view());
        if (device == devices.end()) {
            log_failure(Code::no_such_group);
            continue;
        }
        share.device = device->second;
    }
}

} // namespace zav
