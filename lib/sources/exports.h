// SPDX-License-Identifier: MIT
/// \file
/// The files of the NFS server: a line for each share.
#pragma once

#include "records/share.h"
#include "sources/share_lines.h"

#include <string_view>

namespace zav {

/// The shares in use, and the forbidden ones.
inline constexpr const char* exports_path = "/etc/exports";
inline constexpr const char* exports_recycle_path = "/etc/exports_recy";

/// For changes: adds a record for every export. Every share is writable: "ro" is not looked for.
/// FileCode::ok, or FileCode::malformed with the records up to the malformed line.
FileCode parse_exports(std::string_view text, share_list& list);

/// For listings: hosts and access of the NFS shares, from /etc/exports.
void scan_exports(std::string_view text, share_list& list);

/// Its line in an exports file.
Lines export_line(const share_info& share);

} // namespace zav
