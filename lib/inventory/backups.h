// SPDX-License-Identifier: MIT
/// \file
/// LVM's backups of its metadata, one file for each group, and the current physical volumes.
#pragma once

#include "base/codes.h"
#include "base/log.h"
#include "base/sink.h"
#include "records/backup_volume.h"
#include "sources/lvm_backup.h"

#include <string>
#include <vector>

namespace zav {

using GroupName = BoundedText<33>;

/// Whether there is such a directory; prints that there is none, and logs why it cannot be looked
/// at.
bool has_backup_directory(Sink& out);

/// The names of the groups that have a backup, at most `max`, in the directory's order: none, after
/// a printed message, when there is no such directory. Code::backup_directory_unread.
Result<std::vector<GroupName>> get_vg_from_backup(std::size_t max, Sink& out);

/// The groups whose backups have a logical volume of that name. Backups that cannot be read are
/// passed over without a word.
std::vector<GroupName> groups_of_pool_in_backups(std::string_view pool);

/// Finds the backup, among the first 32, with a logical volume of that name: `group` gets its
/// group, `backup` its text. False when there is none, which is logged for `reader` when there is
/// no backup at all. A backup that cannot be opened is printed, logged and passed over.
bool find_pool_in_backups(std::string_view pool, GroupName& group, std::string& backup,
                          LogSite reader, Sink& out);

/// Copies the name of the group that had a pool of that name, by the backups; without one it stays.
void vgname_from_backup(const char* pool, GroupName& group, Sink& out);

/// The physical volumes that LVM sees. Runs pvdisplay -c, whose status is only logged. Code::ok or
/// Code::group_output_unread.
Code get_idpv_from_pvdisplay(live_pv_list& list, Sink& out);

/// The same; `is_sure` tells whether the tool worked and printed volumes, each whole. If not, a
/// volume that is not in the list may be there all the same.
Code get_live_volumes(live_pv_list& list, bool& is_sure, Sink& out);

} // namespace zav
