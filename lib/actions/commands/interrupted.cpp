// SPDX-License-Identifier: MIT
#include "actions/commands/interrupted.h"

#include "actions/filesystems/mount_register.h"
#include "actions/shares/files.h"
#include "actions/shares/ftp_users.h"
#include "sources/mdfstab.h"
#include "sources/netfstab.h"
#include "sources/vsftpd_conf.h"

namespace zav::commands {

void finish_interrupted_changes() {
    finish_account_change();
    finish_register_change(mdfstab_path);
    finish_register_change(netfstab_path);
    finish_register_change(vsftpd_conf_path);
    finish_share_change();
}

} // namespace zav::commands
