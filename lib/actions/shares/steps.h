// SPDX-License-Identifier: MIT
/// \file
/// The steps of the share operations on the register and the services' files. Each opens and locks
/// the register first, then the service's file. Beside their own codes all return those of opening,
/// reading and writing: Code::share_register_unopened to Code::unknown_service. Nothing is taken
/// back after a failure.
#pragma once

#include "base/codes.h"
#include "records/share.h"

#include <string>

namespace zav {

/// Registers a share and brings its service's file in line with the register: entries that are in
/// both get the register's texts, those of the service that are missing are added. Code::ok, or
/// Code::share_listed for a name that is registered already.
Code add_share(const share_info& share);

/// Gives a share in use its new texts and access, in the register and in its service's file.
/// Code::ok, or Code::share_not_listed when the file did not have it: it does now.
Code apply_share(const share_info& share);

/// Makes a share of a service with a file of its own a forbidden one: no service in the register,
/// and from the service's file into its recycle file. `share` loses its type. Code::ok,
/// Code::share_not_listed, Code::share_listed.
Code forbid_share(share_info& share);

/// Unmounts an FTP share and makes it a forbidden one. `share` loses its type. Code::ok,
/// Code::share_not_listed, or Code::command_failed when it cannot be unmounted.
Code unmount_and_unregister(share_info& share, const std::string& mntpoint);

/// Gives a forbidden share its new texts and access. `share` loses its type. Code::ok or
/// Code::share_not_listed when it was not registered: it is now.
Code edit_forbidden_share(share_info& share);

/// Takes a share out of the register and its service's file. Code::ok or Code::share_not_listed.
Code remove_share(const share_info& share);

/// Takes a forbidden share out of the register and the recycle files. Code::ok or
/// Code::share_not_listed.
Code remove_forbidden_share(const share_info& share);

/// Takes a share out of the recycle files. Code::ok, or Code::share_not_listed when the last of
/// them did not have it.
Code remove_from_recycle_files(const share_info& share);

/// Fills in the users and the comment that a forbidden share has in its recycle file where none are
/// given, so that putting it back in use does not open it to everybody.
void recall_texts(share_info& share);

/// For listings: fills in users, access and path of the forbidden shares.
void merge_forbidden_shares(share_list& list);

} // namespace zav
