// SPDX-License-Identifier: MIT
/// \file
/// The steps of the share operations on the register and the services' files. Each opens what it
/// needs of `files`, unless that is open already, before it changes anything, and writes all or
/// nothing. Beside their own codes all return those of ShareFiles, and Code::unknown_service.
#pragma once

#include "actions/shares/files.h"
#include "base/codes.h"
#include "records/share.h"

#include <string>
#include <string_view>

namespace zav {

/// Opens the register and the two files of the share's service.
Code open_files_of(ShareFiles& files, const share_info& share);

/// Registers a new share and brings its service's file in line with the register: entries that are
/// in both get the register's texts, those of the service that are missing are added, older shares
/// with the users and the access that the recycle file still knows. What recycle files have of an
/// older share of the name is dropped. Code::ok, or Code::share_listed for a name that is
/// registered already.
Code add_share(ShareFiles& files, const share_info& share);

/// The same for a share that the register may have lost: it gets back what the recycle file knows.
Code add_lost_share(ShareFiles& files, const share_info& share);

/// Gives a share in use its new texts and access, in the register and in its service's file.
/// Code::ok, or Code::share_not_listed when the file did not have it: it does now.
Code apply_share(ShareFiles& files, const share_info& share);

/// Opens what putting a forbidden share in use needs.
Code open_to_use(ShareFiles& files, const share_info& share);

/// Puts a forbidden share in use: out of the recycle files, with the users and the comment that it
/// has there where none are given, then apply_share().
Code use_forbidden_share(ShareFiles& files, share_info& share);

/// Makes a share of a service with a file of its own a forbidden one: no service in the register,
/// and from the service's file into its recycle file, in the place of what that may have of it:
/// Code::share_listed then. `served_by` are all services that have it,
/// joined by commas; it is taken out of the files of the others too. `share` loses its type.
/// Code::ok or Code::share_not_listed.
Code forbid_share(ShareFiles& files, share_info& share, std::string_view served_by);

/// Unmounts an FTP share and makes it a forbidden one. `share` loses its type. Code::ok,
/// Code::share_not_listed, or Code::command_failed when what is mounted there cannot be unmounted.
Code unmount_and_unregister(ShareFiles& files, share_info& share, const std::string& mntpoint);

/// Gives a forbidden share its new texts and access; should its service's file still have it, it is
/// taken out there, and its users and comment are kept where the recycle file has none. `share`
/// loses its type. Code::ok or Code::share_not_listed when it was not registered: it is now.
Code edit_forbidden_share(ShareFiles& files, share_info& share);

/// Prepares that a share goes from the register and from the file of its service, or of several
/// joined by commas, and what recycle files have left of its name; a forbidden one, which has no
/// type, from the recycle files. Opens what that needs, and reserves the room that it takes.
/// Code::ok or Code::share_not_listed.
Code prepare_removal(ShareFiles& files, const share_info& share);

/// Does what was prepared.
Code finish_removal(ShareFiles& files);

} // namespace zav
