// SPDX-License-Identifier: MIT
#pragma once

#include "base/log.h"

#include <string>

namespace zav {

inline constexpr auto log_path = "/var/log/log.libzav";
inline constexpr auto previous_path = "/var/log/log.libzav.0";

// Writes one line, and what that is in the file.
inline int log_text() {
    return log_write("Feb  3 01:02:03 %s", "text");
}
inline const std::string logged_text = "Feb  3 01:02:03 0.1.2 text\n";

} // namespace zav
