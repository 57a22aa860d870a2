// SPDX-License-Identifier: MIT
/// \file
/// The parsers of the share register and of the services' files. They take a file's text and add
/// records to a list: 0, or file_error::malformed, with the records up to the line that is none.
///
/// All are read byte by byte in lines of at most 255 characters; leading blanks and short lines are
/// passed over.
#pragma once

#include "shares/share_record.h"

#include <string>
#include <string_view>

namespace zav {

/// /etc/sharefolder.conf. Lines before the first section are passed over.
int parse_register_sections(std::string_view text, share_list& list);

/// /etc/samba/smb.conf or smb_recy.conf, all sections but "global".
int parse_samba(std::string_view text, share_list& list);

/// /etc/exports or exports_recy. Every share is writable: "ro" is not looked for.
int parse_exports(std::string_view text, share_list& list);

/// /etc/ietd.conf. Never malformed.
int parse_targets(std::string_view text, share_list& list);

/// How much of smb.conf is not the shares': all up to the second "[", wherever it stands.
std::size_t samba_global_size(std::string_view text);

/// The secret of a user in the appliance's user file; empty when it has none.
std::string secret_of_user(std::string_view user_file, std::string_view user);

/// Whether a file of lines "name|..." or "name:..." has the name; `separator` tells which.
bool has_user(std::string_view file, std::string_view separator, std::string_view user);

} // namespace zav
