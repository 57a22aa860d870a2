// SPDX-License-Identifier: MIT
#pragma once

namespace zav {

inline constexpr const char* zavbox_version = "0.1.0";
inline constexpr const char* libzav_version = "0.1.2";
inline constexpr const char* svn_version = "360";

} // namespace zav
