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

enum HotspareMode { remove_hotspare = -1, add_hotspare = 1 };

/// Where a function's failures are logged from: support knows them by these numbers.
struct ListSites {
    LogSite no_list;
    LogSite no_disk;
};

/// 0 or error::no_disk_list.
int get_all_disks(disk_list& disks, LogSite no_list) {
    const int result = get_disk_list(disks);
    if (result == 0) {
        return 0;
    }
    log_return(result, no_list);
    return error::no_disk_list;
}

/// Only the disk with that channel and device. 0, error::no_disk_list or error::no_such_disk.
int get_disk(disk_list& found, int channel, const char* device, const ListSites& sites) {
    disk_list disks;
    if (const int result = get_all_disks(disks, sites.no_list); result != 0) {
        return result;
    }
    const int result = find_disk(disks, found, channel, device);
    return result == 0 ? 0 : log_return(result, sites.no_disk);
}

/// The same, or all disks for a channel below 1.
int get_disks(disk_list& found, int channel, const char* device, const ListSites& sites) {
    return channel >= 1 ? get_disk(found, channel, device, sites)
                        : get_all_disks(found, sites.no_list);
}

int change_hotspare(const char* disk, int mode) {
    if (mode == add_hotspare) {
        disk_format(disk);
    }
    return hotspare_command(disk, mode);
}

} // namespace

int zav_disk_display(int channel, const char* device) {
    disk_list disks;
    const ListSites sites = {LogSite::numbered(417), LogSite::numbered(432)};
    if (const int result = get_disks(disks, channel, device, sites); result != 0) {
        return result;
    }
    display_disk_list listing;
    add_disk_list_info(disks, listing);
    display_disk_list_show(&listing);
    return 0;
}

int zav_set_hotspare(int channel, int mode, const char* device) {
    disk_list disks;
    const ListSites sites = {LogSite::numbered(552), LogSite::numbered(565)};
    if (const int result = get_disk(disks, channel, device, sites); result != 0) {
        return result;
    }
    display_disk_list listing;
    add_disk_list_info(disks, listing);
    const display_disk_info& disk = *listing.begin();
    if (disk.use == 1) {
        return log_return(error::disk_in_use, LogSite::numbered(587));
    }
    if (mode == add_hotspare && disk.hotspare == 1) {
        return log_return(error::already_hotspare, LogSite::numbered(611));
    }
    if (mode != add_hotspare && !(mode == remove_hotspare && disk.hotspare == 1)) {
        return log_return(error::no_hotspare, LogSite::numbered(617));
    }
    if (const int result = change_hotspare(disk.diskname.c_str(), mode); result != 0) {
        log_return(result, LogSite::numbered(632));
        return error::hotspare_unchanged;
    }
    return 0;
}

int zav_disk_init(int channel, const char* device) {
    disk_list disks;
    const ListSites sites = {LogSite::numbered(491), LogSite::numbered(504)};
    if (const int result = get_disk(disks, channel, device, sites); result != 0) {
        return result;
    }
    display_disk_list listing;
    add_disk_list_info(disks, listing);
    const display_disk_info& disk = *listing.begin();
    if (!disk.raid.empty()) {
        // It is cleared all the same when its array does not let it go.
        fail_disk(disk.raid.c_str(), disk.diskname.c_str());
    }
    disk_place_show(*disks.begin());
    disk_format(disk.diskname.c_str());
    return 0;
}

int zav_disk_smart_display(int channel, const char* device, bool detail) {
    disk_list disks;
    const ListSites sites = {LogSite::numbered(31), LogSite::numbered(46)};
    if (const int result = get_disks(disks, channel, device, sites); result != 0) {
        return result;
    }
    const SmartMode mode = detail ? SmartMode::detail : SmartMode::summary;
    if (const int result = fill_smart(disks, mode); result != 0) {
        log_return(result, LogSite::numbered(64));
        return error::no_smart_data;
    }
    std::puts("diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\thotspare");
    std::puts("****************************************************************");
    show_list(&disks, disk_show);
    return 0;
}

} // namespace zav
