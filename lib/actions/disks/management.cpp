// SPDX-License-Identifier: MIT
#include "actions/disks/management.h"

#include "actions/arrays/changes.h"
#include "actions/disks/claims.h"
#include "actions/disks/disks.h"
#include "base/codes.h"
#include "base/log.h"
#include "inventory/disk_use.h"
#include "inventory/disks.h"

namespace zav {

Code zav_set_hotspare(int channel, HotspareMode mode, const char* device, Sink& out) {
    disk_list disks;
    const DiskSites sites = {LogSite::numbered(552), LogSite::numbered(565)};
    const bool is_cleared = mode == HotspareMode::add;
    DiskClaims claims;
    bool is_ours = true;
    const auto claim = [&](const disk_info& disk) {
        is_ours = !is_cleared || claims.add(disk.name);
    };
    if (const Code result = get_claimed_disk(disks, channel, device, sites, claim, out);
        failed(result)) {
        return result;
    }
    display_disk_list listing;
    const bool is_known = mark_disks_in_use(disks, listing, out);
    const display_disk_info& disk = *listing.begin();
    // What cannot be told counts as in use when the disk is to be cleared.
    const bool may_be_in_use =
        is_cleared && (!is_ours || !is_known || is_held_by_kernel(disk.diskname));
    if (is_cleared && !is_known) {
        log_error("'%s' is not known to be free: what uses the disks cannot be listed",
                  disk.diskname.c_str());
    }
    if (disk.use == 1 || may_be_in_use) {
        return log_return(Code::disk_in_use, LogSite::numbered(587));
    }
    if (mode == HotspareMode::add && disk.hotspare == 1) {
        return log_return(Code::already_hotspare, LogSite::numbered(611));
    }
    if (mode != HotspareMode::add && !(mode == HotspareMode::remove && disk.hotspare == 1)) {
        return log_return(Code::no_hotspare, LogSite::numbered(617));
    }
    if (is_cleared) {
        disk_format(disk.diskname.c_str());
    }
    hotspare_command(disk.diskname.c_str(), mode);
    return Code::ok;
}

Code zav_disk_init(int channel, const char* device, Sink& out) {
    disk_list disks;
    const DiskSites sites = {LogSite::numbered(491), LogSite::numbered(504)};
    if (const Code result = get_disk(disks, channel, device, sites, out); failed(result)) {
        return result;
    }
    DiskClaims claims;
    if (!claims.add(disks.begin()->name)) {
        return log_return(Code::disk_in_use);
    }
    display_disk_list listing;
    ignore(add_disk_list_info(disks, listing, out));
    const display_disk_info& disk = *listing.begin();
    if (!disk.raid.empty()) {
        // It is cleared all the same when its array does not let it go.
        ignore(fail_disk(disk.raid.c_str(), disk.diskname.c_str()));
    }
    disk_place_show(*disks.begin(), out);
    disk_format(disk.diskname.c_str());
    return Code::ok;
}

} // namespace zav
