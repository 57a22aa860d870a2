// SPDX-License-Identifier: MIT
/// \file
/// The appliance's configuration tools: of the server family, of the other models. They take the
/// item that changed.
#pragma once

namespace zav {

inline constexpr char server_save_command[] = "/usr/local/bin/xconf -s %s > /dev/null";
inline constexpr char save_command[] = "/usr/local/bin/nasconf -s %s > /dev/null";

} // namespace zav
