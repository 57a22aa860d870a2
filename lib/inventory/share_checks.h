// SPDX-License-Identifier: MIT
/// \file
/// The checks of a share's texts. What the register and the services' files could not be read back
/// with is refused here, before anything is changed.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/share.h"

#include <string_view>

namespace zav {

/// Whether a name can be a new share's: "global" in whatever case would be no share of Samba's, and
/// one that begins with "-" can be in no command. 0 or Code::bad_share_name.
Code check_share_name(const char* name);

/// The service that a mode on the command line means, in the caller's spelling but for "cifs",
/// which is "samba". Empty when it is none.
std::string_view service_of_mode(const char* mode);

/// Copies a comment; null is accepted. Code::bad_comment.
Code check_comment(BoundedText<129>& comment, const char* text);

/// The users of a share of that mode, or for NFS its hosts, whose address is printed when it has a
/// prefix. 0; Code::bad_host; Code::user_file_unread, Code::passwd_unread, Code::unknown_user.
Code check_user(std::string_view mode, const char* users, Sink& out);

} // namespace zav
