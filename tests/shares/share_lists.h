// SPDX-License-Identifier: MIT
// Lists of shares as texts that tests can compare.
#pragma once

#include "shares/share_record.h"

#include <string>
#include <vector>

namespace zav::test {

// "name|type|path|users|rw|size|comment" of each.
inline std::vector<std::string> described(const share_list& list) {
    std::vector<std::string> texts;
    for (const share_info& share : list) {
        std::string text(share.name.view());
        for (const std::string_view part :
             {share.type.view(), share.path.view(), share.users.view(),
              std::string_view(share.write == 1 ? "rw" : "ro")}) {
            text.append("|").append(part);
        }
        texts.push_back(text + "|" + std::to_string(share.size) + "|" + share.comment.c_str());
    }
    return texts;
}

} // namespace zav::test
