// SPDX-License-Identifier: MIT
/// \file
/// Look-ups in a list of shares that take the same time however long the list is.
#pragma once

#include "records/share.h"

#include <string_view>
#include <unordered_map>

namespace zav {

/// Shares by a text of theirs, which belongs to the shares.
using ShareIndex = std::unordered_map<std::string_view, share_info*>;

/// The shares that `is_wanted`, each by the text that `text_of` takes from it; of namesakes the
/// first.
template <class IsWanted, class TextOf>
ShareIndex first_shares(share_list& list, const IsWanted& is_wanted, const TextOf& text_of) {
    ShareIndex shares;
    for (share_info& share : list) {
        if (is_wanted(share)) {
            shares.emplace(text_of(share), &share);
        }
    }
    return shares;
}

inline std::string_view name_of(const share_info& share) {
    return share.name;
}

inline std::string_view path_of(const share_info& share) {
    return share.path;
}

/// Null when there is none.
inline share_info* find(const ShareIndex& shares, std::string_view text) {
    const auto found = shares.find(text);
    return found != shares.end() ? found->second : nullptr;
}

} // namespace zav
