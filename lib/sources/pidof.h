// SPDX-License-Identifier: MIT
/// \file
/// pidof.
#pragma once

#include "base/codes.h"

#include <string_view>

namespace zav {

/// Process, the captured output's path.
inline constexpr char pidof_command[] = "/bin/busybox pidof %s > %s";

/// How it ends when there is no such process. It prints nothing then.
inline constexpr WaitStatus no_such_process{1 << 8};

/// Whether the first line of the output begins with the number of a process.
bool parse_is_running(std::string_view output);

} // namespace zav
