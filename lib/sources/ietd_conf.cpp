// SPDX-License-Identifier: MIT
#include "sources/ietd_conf.h"

#include "base/text.h"
#include "records/share_index.h"

#include <array>

namespace zav {

namespace {

constexpr std::size_t shortest_target = 8;

/// The naming authority of the targets: initiators know them under it.
constexpr char target_prefix[] = "iqn.2006-05.com.nas:";

constexpr std::size_t longest_secret = 12;

std::string_view text_behind(std::string_view text, std::string_view separator) {
    const std::size_t at = text.find(separator);
    return at == std::string_view::npos ? "" : text.substr(at + separator.size());
}

/// Word `index` of a line of the target file.
std::string_view word(std::string_view line, std::size_t index) {
    return field(line, " ", index);
}

std::string time_stamp(std::time_t now) {
    std::array<char, 32> text = {};
    std::tm local = {};
    ::localtime_r(&now, &local);
    const std::size_t size = std::strftime(text.data(), text.size(), ".%Y%m%d%H%M%S", &local);
    return {text.data(), size};
}

} // namespace

FileCode parse_targets(std::string_view text, share_list& list) {
    ShareLines lines(text, shortest_target);
    std::string_view line;
    share_info* share = nullptr;
    while (lines.next(line)) {
        if (line.starts_with("Target")) {
            share = &list.append();
            share->type = share_type::iscsi;
            share->name = text_behind(word(line, 1), ":");
        } else if (share == nullptr) {
            continue;
        } else if (line.starts_with("IncomingUser")) {
            share->users.append(share->users.empty() ? "" : ",").append(word(line, 1));
        } else if (line.starts_with("Lun")) {
            share->path = cut_at(text_behind(word(line, 2), "="), ",");
        }
    }
    return FileCode::ok;
}

void scan_iscsi_targets(std::string_view output, share_list& list) {
    ShareIndex shares; // of namesakes the last one
    for (share_info& share : list) {
        if (is_served_by(share, share_type::iscsi)) {
            shares.insert_or_assign(share.name, &share);
        }
    }
    share_info* share = nullptr;
    CountedLines lines(output);
    std::string_view line;
    while (lines.next(line)) {
        if (line.starts_with("Target")) {
            const std::string_view target = field(line, blanks, 1);
            share = find(shares, cut_at(target.substr(target.find(':') + 1), "."));
            if (share != nullptr) {
                share->type = shown_iscsi;
            }
        } else if (share != nullptr && line.starts_with("IncomingUser")) {
            share->users.append(share->users.empty() ? "" : ",").append(field(line, blanks, 1));
        }
    }
}

Lines target_lines(const share_info& share, const LineContext& context) {
    const bool has_time = share.name.view().find('.') != std::string_view::npos;
    Lines lines = {format_text("Target %s%s%s\n", target_prefix, share.name.c_str(),
                               has_time ? "" : time_stamp(context.now).c_str())};
    for (const std::string_view user : split(share.users, " ,")) {
        const std::string secret = context.secret_of(user).substr(0, longest_secret);
        lines.push_back(
            format_text("\tIncomingUser %s %s\n", std::string(user).c_str(), secret.c_str()));
    }
    lines.push_back(format_text("\tLun 0 Path=%s,Type=fileio,IOMode=wb\n", share.path.c_str()));
    lines.insert(lines.end(),
                 {"\tHeaderDigest\tNone,None\n", "\tDataDigest\tNone,None\n", "\tWthreads\t16\n"});
    return lines;
}

} // namespace zav
