// SPDX-License-Identifier: MIT
#include "shares/share_texts.h"

#include "frame/text.h"

#include <algorithm>
#include <array>

namespace zav {

namespace {

constexpr char indent[] = "    ";

constexpr std::array<std::string_view, 4> services = {share_type::samba, share_type::nfs,
                                                      share_type::ftp, share_type::iscsi};

/// The naming authority of the targets: initiators know them under it.
constexpr char target_prefix[] = "iqn.2006-05.com.nas:";

constexpr std::size_t longest_secret = 12;

std::string key_line(std::string_view key, std::string_view value) {
    return std::string(indent).append(key).append(" = ").append(value).append("\n");
}

std::string time_stamp(std::time_t now) {
    std::array<char, 32> text = {};
    std::tm local = {};
    ::localtime_r(&now, &local);
    const std::size_t size = std::strftime(text.data(), text.size(), ".%Y%m%d%H%M%S", &local);
    return {text.data(), size};
}

} // namespace

Lines register_lines(const share_info& share) {
    Lines lines = {format_text("[%s]\n", share.name.c_str()), key_line("sharename", share.name),
                   key_line("path", share.path), key_line("size", std::to_string(share.size))};
    for (const std::string_view service : services) {
        lines.push_back(key_line(service, is_type(share, service) ? "1" : "0"));
    }
    lines.push_back(key_line("comment", share.comment));
    return lines;
}

Lines samba_lines(const share_info& share, std::string_view access_key) {
    return {format_text("[%s]\n", share.name.c_str()),
            key_line("comment", share.comment),
            key_line("path", share.path),
            key_line("public", "yes"),
            key_line(access_key, share.write == 1 ? "yes" : "no"),
            key_line("printable", "no"),
            key_line("create mask", "0777"),
            key_line("valid users", share.users)};
}

Lines export_line(const share_info& share) {
    return {format_text("%s %s(%s,sync,no_root_squash)\n", share.path.c_str(),
                        share.users.empty() ? "*" : share.users.c_str(),
                        share.write == 1 ? "rw" : "ro")};
}

Lines target_lines(const share_info& share, std::time_t now,
                   const std::function<std::string(std::string_view user)>& secret_of) {
    const bool has_time = share.name.view().find('.') != std::string_view::npos;
    Lines lines = {format_text("Target %s%s%s\n", target_prefix, share.name.c_str(),
                               has_time ? "" : time_stamp(now).c_str())};
    for (const std::string_view user : split(share.users, " ,")) {
        const std::string secret = secret_of(user).substr(0, longest_secret);
        lines.push_back(
            format_text("\tIncomingUser %s %s\n", std::string(user).c_str(), secret.c_str()));
    }
    lines.push_back(format_text("\tLun 0 Path=%s,Type=fileio,IOMode=wb\n", share.path.c_str()));
    lines.insert(lines.end(),
                 {"\tHeaderDigest\tNone,None\n", "\tDataDigest\tNone,None\n", "\tWthreads\t16\n"});
    return lines;
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

std::string with_home(const std::string& line, std::string_view home) {
    constexpr std::ptrdiff_t separators = 6;
    if (std::ranges::count(line, ':') < separators) {
        return line;
    }
    const std::size_t shell = line.rfind(':');
    const std::size_t old_home = line.rfind(':', shell - 1);
    return line.substr(0, old_home + 1).append(home).append(line.substr(shell));
}

} // namespace zav
