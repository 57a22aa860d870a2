// SPDX-License-Identifier: MIT
/// \file
/// The init scripts of the services.
#pragma once

namespace zav {

/// Script, and what it is to do.
inline constexpr char service_command[] = "/etc/init.d/%s %s > /dev/null";

} // namespace zav
