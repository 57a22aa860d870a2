// SPDX-License-Identifier: MIT
#include "sources/iet_volumes.h"

#include "base/text.h"
#include "records/share_index.h"

namespace zav {

namespace {

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

void scan_iscsi_volumes(std::string_view output, share_list& list) {
    auto shares = first_shares(
        list, [](const share_info& share) { return is_served_by(share, share_type::iscsi); },
        name_of);
    const ShareIndex registered = first_shares(
        list, [](const share_info&) { return true; }, name_of);
    CountedLines lines(output);
    std::string_view line;
    while (lines.next(line)) {
        if (!line.starts_with("tid")) {
            continue;
        }
        const std::string_view name = share_of_target(target_of_volume(line));
        share_info* share = find(shares, name);
        if (share == nullptr && find(registered, name) != nullptr) {
            continue; // a target that was left behind does not make another share one of iSCSI
        }
        if (share == nullptr) {
            share = &list.append();
            share->name = name;
            shares.emplace(share->name, share);
        }
        share->type = shown_iscsi;
        share->write = 1;
        share->usedsize = {};
    }
}

} // namespace zav
