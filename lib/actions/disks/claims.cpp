// SPDX-License-Identifier: MIT
#include "actions/disks/claims.h"

#include "base/log.h"
#include "base/text.h"
#include "records/disk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zav {

bool DiskClaims::add(std::string_view device) {
    std::string disk(whole_disk_name(device));
    if (!is_plain_name(disk) || std::ranges::find(claims_, disk, &Claim::disk) != claims_.end()) {
        return true;
    }
    if (std::ranges::find(refused_, disk) != refused_.end()) {
        return false;
    }
    SystemLock lock = SystemLock::take("disk-" + disk, std::chrono::milliseconds(0));
    if (!lock) {
        if (errno == EWOULDBLOCK) {
            log_error("'%s' is used by another command", disk.c_str());
        } else {
            log_error("'%s' cannot be claimed for %s", disk.c_str(), std::strerror(errno));
        }
        refused_.push_back(std::move(disk));
        return false;
    }
    lock.share_with_commands();
    claims_.push_back({std::move(disk), std::move(lock)});
    return true;
}

bool DiskClaims::add_all(std::vector<std::string_view> devices) {
    std::ranges::sort(devices);
    return std::ranges::all_of(devices, [this](std::string_view device) { return add(device); });
}

} // namespace zav
