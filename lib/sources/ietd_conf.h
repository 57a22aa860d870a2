// SPDX-License-Identifier: MIT
/// \file
/// The file of the iSCSI target daemon: a block for each share.
#pragma once

#include "records/share.h"
#include "sources/share_lines.h"

#include <string_view>

namespace zav {

inline constexpr const char* targets_path = "/etc/ietd.conf";

/// The captured output's path.
inline constexpr char targets_command[] = "cat /etc/ietd.conf > %s";

/// For changes: adds a record for every target. Never malformed.
FileCode parse_targets(std::string_view text, share_list& list);

/// For listings: the users of the iSCSI shares, from /etc/ietd.conf. Other shares stay as they are.
void scan_iscsi_targets(std::string_view output, share_list& list);

/// Its block in /etc/ietd.conf. A name without a "." gets the time of the context.
Lines target_lines(const share_info& share, const LineContext& context);

} // namespace zav
