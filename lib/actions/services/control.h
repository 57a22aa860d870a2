// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace zav {

/// Stops and starts the service of that share type with its init script. Failures are logged and
/// otherwise ignored: the share's files are right either way.
void restart_service(std::string_view type);

} // namespace zav
