// SPDX-License-Identifier: MIT
/// \file
/// The steps of collecting shares that only take text.
#pragma once

#include "pools/mount_table.h"
#include "shares/share_record.h"

#include <string_view>
#include <unordered_map>

namespace zav {

/// The register's shares. Of several services a share has their names joined by commas.
void scan_register(std::string_view text, share_list& list);

/// Access and users of the Samba shares, from smb.conf.
void scan_samba(std::string_view text, share_list& list);

/// Access and user of the FTP share that a user's file goes to.
void scan_ftp_user(std::string_view file, std::string_view user, share_list& list);

/// Hosts and access of the NFS shares, from /etc/exports.
void scan_exports(std::string_view text, share_list& list);

/// Marks the shares that are mounted, and gives the others the comment that they are not. Of
/// namesakes the first is meant; an iSCSI share needs no mount.
void scan_mounts(const MountTable& mounts, share_list& list);

/// Adds what the iSCSI target daemon exports now.
void scan_iscsi_volumes(std::string_view output, share_list& list);

/// The users of the iSCSI shares, from /etc/ietd.conf.
void scan_iscsi_targets(std::string_view output, share_list& list);

using GroupsByPool = std::unordered_map<std::string_view, std::string_view>;

/// The groups of all pools by their names, in the output of lvdisplay -c, which has to outlive the
/// result. Of namesakes the first one counts.
GroupsByPool groups_of_pools(std::string_view output);

} // namespace zav
