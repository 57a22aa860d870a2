// SPDX-License-Identifier: MIT
// Collecting shares: the same text as the register and as every service's file.
#include "base/text.h"
#include "fuzz.h"
#include "inventory/shares.h"
#include "platform/services.h"
#include "records/share.h"
#include "sources/exports.h"
#include "sources/iet_volumes.h"
#include "sources/ietd_conf.h"
#include "sources/lvm.h"
#include "sources/mounts.h"
#include "sources/share_register.h"
#include "sources/smb_conf.h"
#include "sources/vsftpd.h"

#include <algorithm>

namespace zav::fuzz {

void run(std::string_view input) {
    share_list list;
    scan_register(input, register_services(), list);
    for (const share_info& share : list) {
        require(share.write == 1 && share.usedsize.count == 0,
                "the register tells neither access nor use");
        for (const std::string_view type : split(share.type, ",")) {
            require(type == "samba" || type == "nfs" || type == "ftp" || type == "iSCSI",
                    "a type is a service");
        }
    }
    const std::size_t registered = list.size();
    scan_samba(input, list);
    scan_ftp_user(input, "anna", list);
    scan_exports(input, list);
    require(list.size() == registered, "no service's file adds a share");
    scan_mounts(parse_mounts(input), list);
    scan_iscsi_volumes(input, list);
    require(list.size() >= registered, "the target daemon may");
    const std::size_t all = list.size();
    scan_iscsi_targets(input, list);
    require(list.size() == all, "its file does not");
    for (const auto& [pool, group] : groups_of_pools(input)) {
        require(pool.find('/') == pool.npos, "a pool is one part of a path");
        require(group.find(':') == group.npos, "a group is one field");
    }
}

} // namespace zav::fuzz
