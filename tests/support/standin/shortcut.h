// SPDX-License-Identifier: MIT
#pragma once

#include "command_text.h"

#include <string_view>
#include <vector>

namespace zav::test {

// Does what the shell would do with a plain call of a stand-in tool or a plain tool, without
// starting a shell, and exits with its status. If a shell is needed, returns without any change
// that the shell would not make again.
void answer_without_shell(std::string_view text);

// Opens the files that a command's output goes to. False when one cannot be opened.
bool redirect(const std::vector<PlainCall::Redirection>& redirections);

} // namespace zav::test
