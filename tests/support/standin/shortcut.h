// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace zav::test {

// Does what the shell would do with a plain call of a stand-in tool or a plain tool, without
// starting a shell, and ends the process with its status. Returns, with nothing changed that the
// shell would not change again, when a shell is needed.
void answer_without_shell(std::string_view text);

} // namespace zav::test
