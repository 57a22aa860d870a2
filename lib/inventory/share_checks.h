// SPDX-License-Identifier: MIT
/// \file
/// The checks of a share's texts. What the register and the services' files could not be read back
/// with is refused here, before anything is changed.
#pragma once

#include "records/share.h"

#include <string_view>

namespace zav {

/// Whether a name can be a new share's: "global" in whatever case would be no share of Samba's, and
/// one that begins with "-" can be in no command. 0 or error::bad_share_name.
int check_share_name(const char* name);

/// The service that a mode on the command line means, in the caller's spelling but for "cifs",
/// which is "samba". Empty when it is none.
std::string_view service_of_mode(const char* mode);

/// Copies a comment; none is as good as any. 0 or error::bad_comment.
int check_comment(BoundedText<129>& comment, const char* text);

/// The users of a share of that mode, or for NFS its hosts, whose address is printed when it has a
/// prefix. 0; error::bad_host; error::user_file_unread, error::passwd_unread, error::unknown_user.
int check_user(std::string_view mode, const char* users);

} // namespace zav
