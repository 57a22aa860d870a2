// SPDX-License-Identifier: MIT
/// \file
/// The state of the registered file systems as the commands show it. It takes a test of writing,
/// and so is no mere discovery.
#pragma once

#include "base/codes.h"
#include "base/sink.h"
#include "records/filesystem.h"

namespace zav {

/// Measures each file system where it is to be mounted, mounted or not, and writes a small file
/// there unless it is full. One that cannot be measured or written is "not available", but an
/// unmounted one stays "umount". Always Code::ok.
Code fs_space_check(fs_list& list, Sink& out);

/// Adds the file systems on pools to the list, with their state. Code::ok; Code::register_unread
/// when the register cannot be read; Code::pool_output_unread. Failures are printed.
Code fs_list_get(fs_list& list, Sink& out);

} // namespace zav
