// SPDX-License-Identifier: MIT
/// \file
/// The checks of a share's texts. What the register and the services' files could not be read back
/// with is refused here, before anything is changed.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "platform/services.h"

namespace zav {

/// Whether a name can be a new share's: "global", "homes" and "printers" in whatever case mean
/// something else to Samba, and one that begins with "-" can be in no command. Code::ok or
/// Code::bad_share_name.
Code check_share_name(const char* name);

/// Copies a comment; null is accepted. Code::bad_comment.
Code check_comment(BoundedText<129>& comment, const char* text);

/// The users of a share of that service, or its hosts, whose address is printed when it has a
/// prefix. Code::ok; Code::bad_host; Code::user_file_unread, Code::passwd_unread,
/// Code::unknown_user.
Code check_user(const Service& service, const char* users, Sink& out);

} // namespace zav
