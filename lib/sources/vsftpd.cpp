// SPDX-License-Identifier: MIT
#include "sources/vsftpd.h"

#include "base/text.h"

namespace zav {

namespace {

/// What stands behind the last "=" of the key's line; nothing without such a line.
std::optional<std::string_view> value_of(std::string_view file, const char* key) {
    const auto line = get_line(file, key, 0, "=");
    return line ? std::optional(line->substr(line->rfind('=') + 1)) : std::nullopt;
}

} // namespace

bool is_ftp_user_name(std::string_view user) {
    return is_plain_name(user) && user.find('+') == std::string_view::npos;
}

std::string ftp_user_path(std::string_view user) {
    return std::string(ftp_users_directory).append("/").append(user);
}

std::optional<std::string_view> local_root(std::string_view file) {
    return value_of(file, "local_root");
}

void scan_ftp_user(std::string_view file, std::string_view user, share_list& list) {
    const std::string_view name = last_component(local_root(file).value_or(""));
    for (share_info& share : list) {
        if (is_type(share, share_type::ftp) && share.name == name) {
            share.write = value_of(file, "write_enable") == "NO" ? 0 : 1;
            share.users = user;
            return;
        }
    }
}

Lines ftp_user_lines(const std::vector<std::string>& defaults, const share_info& share) {
    Lines lines;
    for (const std::string& line : defaults) {
        if (line.starts_with("local_umask")) {
            lines.emplace_back("local_umask=000\n");
        } else if (line.starts_with("write_enable")) {
            lines.push_back(format_text("write_enable=%s\n", share.write != 0 ? "YES" : "NO"));
        } else {
            lines.push_back(line + "\n");
        }
    }
    lines.push_back(format_text("local_root=%s\n", share.path.c_str()));
    return lines;
}

} // namespace zav
