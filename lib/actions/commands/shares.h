// SPDX-License-Identifier: MIT
/// \file
/// What sharemanage does to shares. When an action returns, what it has done is on the disk.
#pragma once

#include "base/codes.h"
#include "base/sink.h"

namespace zav::commands {

struct ShareArguments {
    const char* name = nullptr;
    const char* service = nullptr;
    const char* size = nullptr; ///< in GiB
    const char* users = nullptr;
    const char* access = nullptr;
    const char* comment = nullptr;
    const char* state = nullptr;
    const char* group = "";
};

/// Makes a share with a pool of its size. A code of a check of the arguments, or of create_share()
/// in actions/shares; Code::share_not_created.
Code create_share(const ShareArguments& arguments, Sink& out);

/// Removes a share and its pool. Code::bad_share_name, Code::share_not_deleted, or a code of
/// delete_share().
Code remove_share(const char* name, Sink& out);

/// Gives a share new texts and a state. A code of a check of the arguments, Code::bad_state,
/// Code::share_not_edited, or a code of edit_share() in actions/shares; of these
/// Code::share_not_listed is not logged here: the share is as it was to be.
Code edit_share(const ShareArguments& arguments, Sink& out);

/// Repairs the file system of a share. Code::ok, also for one of a service without file systems;
/// Code::bad_share_name, Code::bad_group_name, Code::bad_share_mode, Code::share_not_repaired, or a
/// code of repair_share() in actions/shares.
Code repair_share(const ShareArguments& arguments, Sink& out);

/// Registers a share whose pool is there. A code of a check of the arguments,
/// Code::share_not_restored, or a code of restore_share() in actions/shares.
Code restore_share(const ShareArguments& arguments, Sink& out);

} // namespace zav::commands
