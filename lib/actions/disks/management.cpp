// SPDX-License-Identifier: MIT
#include "actions/disks/management.h"

#include "actions/arrays/changes.h"
#include "actions/disks/disks.h"
#include "base/codes.h"
#include "base/log.h"
#include "inventory/disk_use.h"
#include "inventory/disks.h"
#include "inventory/smart.h"

#include <cstdio>

namespace zav {

namespace {

/// Where a function's failures are logged from: support knows them by these numbers.
struct ListSites {
    LogSite no_list;
    LogSite no_disk;
};

/// 0 or Code::no_disk_list.
Code get_all_disks(disk_list& disks, LogSite no_list, Sink& out) {
    const Code result = get_disk_list(disks, out);
    if (!failed(result)) {
        return Code::ok;
    }
    log_failure(result, no_list);
    return Code::no_disk_list;
}

/// Only the disk with that channel and device. 0, Code::no_disk_list or Code::no_such_disk.
Code get_disk(disk_list& found, int channel, const char* device, const ListSites& sites,
              Sink& out) {
    disk_list disks;
    if (const Code result = get_all_disks(disks, sites.no_list, out); failed(result)) {
        return result;
    }
    const Code result = find_disk(disks, found, channel, device);
    return !failed(result) ? Code::ok : log_return(result, sites.no_disk);
}

/// The same, or all disks for a channel below 1.
Code get_disks(disk_list& found, int channel, const char* device, const ListSites& sites,
               Sink& out) {
    return channel >= 1 ? get_disk(found, channel, device, sites, out)
                        : get_all_disks(found, sites.no_list, out);
}

} // namespace

Code zav_disk_display(int channel, const char* device, Sink& out) {
    disk_list disks;
    const ListSites sites = {LogSite::numbered(417), LogSite::numbered(432)};
    if (const Code result = get_disks(disks, channel, device, sites, out); failed(result)) {
        return result;
    }
    display_disk_list listing;
    ignore(add_disk_list_info(disks, listing, out));
    display_disk_list_show(&listing);
    return Code::ok;
}

Code zav_set_hotspare(int channel, HotspareMode mode, const char* device, Sink& out) {
    disk_list disks;
    const ListSites sites = {LogSite::numbered(552), LogSite::numbered(565)};
    if (const Code result = get_disk(disks, channel, device, sites, out); failed(result)) {
        return result;
    }
    display_disk_list listing;
    ignore(add_disk_list_info(disks, listing, out));
    const display_disk_info& disk = *listing.begin();
    if (disk.use == 1) {
        return log_return(Code::disk_in_use, LogSite::numbered(587));
    }
    if (mode == HotspareMode::add && disk.hotspare == 1) {
        return log_return(Code::already_hotspare, LogSite::numbered(611));
    }
    if (mode != HotspareMode::add && !(mode == HotspareMode::remove && disk.hotspare == 1)) {
        return log_return(Code::no_hotspare, LogSite::numbered(617));
    }
    if (mode == HotspareMode::add) {
        disk_format(disk.diskname.c_str());
    }
    hotspare_command(disk.diskname.c_str(), mode);
    return Code::ok;
}

Code zav_disk_init(int channel, const char* device, Sink& out) {
    disk_list disks;
    const ListSites sites = {LogSite::numbered(491), LogSite::numbered(504)};
    if (const Code result = get_disk(disks, channel, device, sites, out); failed(result)) {
        return result;
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

Code zav_disk_smart_display(int channel, const char* device, bool detail, Sink& out) {
    disk_list disks;
    const ListSites sites = {LogSite::numbered(31), LogSite::numbered(46)};
    if (const Code result = get_disks(disks, channel, device, sites, out); failed(result)) {
        return result;
    }
    const SmartMode mode = detail ? SmartMode::detail : SmartMode::summary;
    if (const Code result = fill_smart(disks, mode); failed(result)) {
        log_failure(result, LogSite::numbered(64));
        return Code::no_smart_data;
    }
    std::puts("diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\thotspare");
    std::puts("****************************************************************");
    show_list(&disks, disk_show);
    return Code::ok;
}

} // namespace zav
