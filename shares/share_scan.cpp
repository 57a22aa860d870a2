// SPDX-License-Identifier: MIT
#include "shares/share_scan.h"

#include "frame/key_value.h"
#include "frame/text.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <unordered_set>

namespace zav {

namespace {

constexpr std::size_t access_room = 20;
constexpr std::size_t users_room = 256;

/// The spelling of iSCSI in listings.
constexpr std::string_view iscsi_shown = "iSCSI";

/// The service keys of the register, with the names that listings show for them.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> services = {{
    {share_type::samba, share_type::samba},
    {share_type::nfs, share_type::nfs},
    {share_type::ftp, share_type::ftp},
    {share_type::iscsi, iscsi_shown},
}};

/// What key_value_get() leaves of a value in a buffer of that size.
std::string_view cut(std::string_view value, std::size_t room) {
    return value.substr(0, room - 1);
}

using SharesByText = std::unordered_map<std::string_view, share_info*>;

/// The first share of each name, or path, of those that `is_wanted`.
template <class IsWanted, class TextOf>
SharesByText first_shares(share_list& list, const IsWanted& is_wanted, const TextOf& text_of) {
    SharesByText shares;
    for (share_info& share : list) {
        if (is_wanted(share)) {
            shares.emplace(text_of(share), &share);
        }
    }
    return shares;
}

std::string_view name_of(const share_info& share) {
    return share.name;
}

std::string_view path_of(const share_info& share) {
    return share.path;
}

share_info* find(const SharesByText& shares, std::string_view text) {
    const auto found = shares.find(text);
    return found != shares.end() ? found->second : nullptr;
}

/// The share's name in a target's: behind the last ":", up to the first ".".
std::string_view share_of_target(std::string_view target) {
    return cut_at(target.substr(target.rfind(':') + 1), ".").substr(0, share_name_length);
}

/// The word with the target's name in a line of the daemon's volumes.
std::string_view target_of_volume(std::string_view line) {
    constexpr std::string_view tag = "name:";
    for (const std::string_view word : split(line, blanks)) {
        if (word.starts_with(tag)) {
            return word.substr(tag.size());
        }
    }
    return cut_at(field(line, ":", 1), blanks);
}

} // namespace

void scan_register(std::string_view text, share_list& list) {
    const KeyValueIndex sections(text);
    CountedLines lines(text);
    std::string_view line;
    while (lines.next(line)) {
        if (!line.starts_with('[')) {
            continue;
        }
        line.remove_prefix(1);
        line.remove_suffix(line.ends_with(']') ? 1 : 0);
        const std::string section(line);
        share_info& share = list.append();
        share.name = sections.get(section, "sharename").value_or("").substr(0, share_name_length);
        share.comment = sections.get(section, "comment").value_or("");
        share.path = sections.get(section, "path").value_or("");
        share.size = static_cast<std::int64_t>(decimal(sections.get(section, "size").value_or("")));
        for (const auto& [key, shown] : services) {
            if (sections.get(section, key) == "1") {
                share.type.append(share.type.empty() ? "" : ",").append(shown);
            }
        }
    }
}

void scan_samba(std::string_view text, share_list& list) {
    const KeyValueIndex sections(text);
    for (share_info& share : list) {
        // A share of several services is not refreshed.
        if (share.type != share_type::samba) {
            continue;
        }
        const std::string section = share.name.c_str();
        auto access = sections.get(section, "writable");
        if (!access) {
            access = sections.get(section, "writeable");
        }
        if (access && cut(*access, access_room) == "no") {
            share.write = 0;
        }
        if (const auto users = sections.get(section, "valid users")) {
            share.users = cut(*users, users_room);
        }
    }
}

void scan_ftp_user(std::string_view file, std::string_view user, share_list& list) {
    const auto value_of = [file](const char* key) -> std::optional<std::string_view> {
        const auto line = get_line(file, key, 0, "=");
        return line ? std::optional(line->substr(line->rfind('=') + 1)) : std::nullopt;
    };
    const std::string_view name = last_component(value_of("local_root").value_or(""));
    for (share_info& share : list) {
        if (is_type(share, share_type::ftp) && share.name == name) {
            share.write = value_of("write_enable") == "NO" ? 0 : 1;
            share.users = user;
            return;
        }
    }
}

void scan_exports(std::string_view text, share_list& list) {
    const auto shares = first_shares(
        list, [](const share_info& share) { return is_type(share, share_type::nfs); }, path_of);
    CountedLines lines(text);
    std::string_view line;
    while (lines.next(line)) {
        const std::string_view path = cut_at(line, blanks);
        share_info* share = line.starts_with('#') ? nullptr : find(shares, path);
        if (share == nullptr) {
            continue;
        }
        const std::string_view rest = line.substr(path.size());
        const std::string_view hosts = cut_at(rest, "(");
        share->users = trim_right(skip_blanks(hosts));
        const auto options = split(cut_at(rest.substr(hosts.size()), ")"), "(,");
        if (std::ranges::find(options, "ro") != options.end()) {
            share->write = 0;
        }
    }
}

void scan_mounts(const MountTable& mounts, share_list& list) {
    const auto shares = first_shares(
        list, [](const share_info& share) { return !is_type(share, share_type::iscsi); }, name_of);
    std::unordered_set<const share_info*> found;
    for (const Mount& mount : mounts) {
        if (share_info* share = find(shares, last_component(mount.directory))) {
            share->path = mount.directory;
            found.insert(share);
        }
    }
    for (share_info& share : list) {
        const bool is_found =
            is_type(share, share_type::iscsi) ? !mounts.empty() : found.contains(&share);
        share.usedsize = is_found ? -1 : 0; // the mark stays where nothing is measured
        if (!is_found) {
            share.comment = unmounted_comment;
        }
    }
}

void scan_iscsi_volumes(std::string_view output, share_list& list) {
    auto shares = first_shares(
        list, [](const share_info&) { return true; }, name_of);
    CountedLines lines(output);
    std::string_view line;
    while (lines.next(line)) {
        if (!line.starts_with("tid")) {
            continue;
        }
        const std::string_view name = share_of_target(target_of_volume(line));
        share_info* share = find(shares, name);
        if (share == nullptr) {
            share = &list.append();
            share->name = name;
            shares.emplace(share->name, share);
        }
        share->type = iscsi_shown;
        share->write = 1;
        share->usedsize = 0;
    }
}

void scan_iscsi_targets(std::string_view output, share_list& list) {
    SharesByText shares; // of namesakes the last one
    for (share_info& share : list) {
        shares.insert_or_assign(share.name, &share);
    }
    share_info* share = nullptr;
    CountedLines lines(output);
    std::string_view line;
    while (lines.next(line)) {
        if (line.starts_with("Target")) {
            const std::string_view target = field(line, blanks, 1);
            share = find(shares, cut_at(target.substr(target.find(':') + 1), "."));
            if (share != nullptr) {
                share->type = iscsi_shown;
            }
        } else if (share != nullptr && line.starts_with("IncomingUser")) {
            share->users.append(share->users.empty() ? "" : ",").append(field(line, blanks, 1));
        }
    }
}

GroupsByPool groups_of_pools(std::string_view output) {
    GroupsByPool groups;
    LinePieces pieces(output);
    std::string_view line;
    while (pieces.next(line)) {
        line.remove_prefix(std::min(line.find_first_not_of(white_space), line.size()));
        if (line.starts_with("/dev/")) {
            groups.emplace(last_component(cut_at(line, ":")), field(line, ":", 1));
        }
    }
    return groups;
}

} // namespace zav
