// SPDX-License-Identifier: MIT
/// \file
/// The files of Samba: a section for each share.
#pragma once

#include "records/share.h"
#include "sources/share_lines.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace zav {

/// The shares in use, behind a global section, and the forbidden ones.
inline constexpr const char* samba_path = "/etc/samba/smb.conf";
inline constexpr const char* samba_recycle_path = "/etc/samba/smb_recy.conf";

/// Whether a section is not a share's but one that Samba itself gives a meaning.
bool is_samba_own_section(std::string_view name);

/// For changes: adds a record for every section that is a share's. FileCode::malformed comes with
/// the records up to the malformed line.
FileCode parse_samba(std::string_view text, share_list& list);

/// For listings: access and users of the Samba shares, from smb.conf.
void scan_samba(std::string_view text, share_list& list);

/// How much of smb.conf is its global part: all up to the second "[", wherever it stands.
std::size_t samba_global_size(std::string_view text);

/// What of smb.conf is not the shares': the global part, unless the file begins with a share, and
/// behind it Samba's own sections as they stand.
std::string samba_kept(std::string_view text);

/// Its section in a Samba file; `access_key` is the key of the access, which the two files spell
/// differently.
Lines samba_lines(const share_info& share, std::string_view access_key);

} // namespace zav
