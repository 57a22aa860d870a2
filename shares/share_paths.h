// SPDX-License-Identifier: MIT
/// \file
/// The files and directories of shares.
#pragma once

#include <string>
#include <string_view>

namespace zav {

inline constexpr const char* share_register_path = "/etc/sharefolder.conf";
inline constexpr const char* samba_path = "/etc/samba/smb.conf";
inline constexpr const char* samba_recycle_path = "/etc/samba/smb_recy.conf";
inline constexpr const char* exports_path = "/etc/exports";
inline constexpr const char* exports_recycle_path = "/etc/exports_recy";
inline constexpr const char* targets_path = "/etc/ietd.conf";

} // namespace zav
