// SPDX-License-Identifier: MIT
#include "sources/exports.h"

#include "base/codes.h"
#include "base/text.h"
#include "records/share_index.h"

#include <algorithm>

namespace zav {

namespace {

constexpr std::size_t shortest_export = 11;

} // namespace

FileCode parse_exports(std::string_view text, share_list& list) {
    ShareLines lines(text, shortest_export);
    std::string_view line;
    while (lines.next(line)) {
        if (line.starts_with('#')) {
            continue;
        }
        if (has_second(line, '(')) {
            return FileCode::malformed;
        }
        if (!line.starts_with('/') || !line.ends_with(')')) {
            continue;
        }
        share_info& share = list.append();
        const std::string_view path = cut_at(line, blanks);
        const std::string_view hosts = cut_at(line.substr(path.size()), "(");
        share.type = share_type::nfs;
        share.path = path;
        share.name = last_component(path).substr(0, share_name_length);
        share.users = trim_right(skip_blanks(hosts));
    }
    return FileCode::ok;
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

Lines export_line(const share_info& share) {
    return {format_text("%s %s(%s,sync,no_root_squash)\n", share.path.c_str(),
                        share.users.empty() ? "*" : share.users.c_str(),
                        share.write == 1 ? "rw" : "ro")};
}

} // namespace zav
