// SPDX-License-Identifier: MIT
// Volume groups of a private root, as discovery finds and shows them.
#pragma once

#include "machine.h"
#include "volgroups/group_discovery.h"

#include <functional>
#include <string>
#include <vector>

namespace zav::test {

// Builds a group list inside and shows it: the rows are the run's standard output, the code is what
// it returned.
inline Result shown_groups(PrivateRoot& root,
                           const std::function<int(vginfo_list&)>& source = get_vginfo) {
    return root.call([&source] {
        vginfo_list list;
        const int code = source(list);
        vginfo_list_display(&list);
        return code;
    });
}

// Messages of the log that hold `part`.
inline std::vector<std::string> logged(const PrivateRoot& root, const std::string& part = "") {
    std::vector<std::string> texts;
    for (const LogLine& line : root.log()) {
        if (line.text.find(part) != std::string::npos) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

} // namespace zav::test
