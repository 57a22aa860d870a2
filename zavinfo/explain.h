// SPDX-License-Identifier: MIT
/// \file
/// What a code, or the exit status that it becomes, means.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zavinfo {

struct CodeInfo {
    int number = 0;
    std::string name = {};
    std::string sentence = {};
    std::string left = {};
    std::string next = {};
    std::vector<std::string> commands = {}; ///< for which it is so; empty for all others
};

/// All codes that the library knows; behind one what it is to the commands for which it is
/// something else.
std::vector<CodeInfo> known_codes();

/// What a command that fails with the code ends with.
int status_of(int code);

/// About "-411", "411", the status "101", or the name "array_details_unread". A number up to 255
/// may be both a code and a status: all candidates are told. Empty when there is none.
std::string explain(std::string_view what, const std::vector<CodeInfo>& codes);

} // namespace zavinfo
