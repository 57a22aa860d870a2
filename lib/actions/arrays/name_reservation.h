// SPDX-License-Identifier: MIT
/// \file
/// The names of arrays whose creation is under way, one a line in /tmp/mdname.test under a
/// whole-file lock: two creations at once never take the same name. A lock that another process
/// has is tried for five times, a second apart. A name whose process was killed is free again.
#pragma once

#include "base/codes.h"

namespace zav {

/// Reserves a name for this process, which has one at a time. The file is made when missing; what
/// is no regular file of ours alone was put there by somebody else, and is removed and made anew.
/// Code::ok, Code::name_reserved, Code::reservation_held, Code::reservation_not_locked,
/// Code::reservation_not_opened, Code::reservation_unread or Code::reservation_unwritten.
Code add_name(const char* name);

/// Removes every reservation that begins with the name: releasing md1 releases md10 to md19 too.
/// Code::ok, also when there is no file or it cannot be opened or locked; Code::reservation_unread
/// or Code::reservation_unwritten.
Code del_name(const char* name);

} // namespace zav
