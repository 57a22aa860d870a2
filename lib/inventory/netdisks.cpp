// SPDX-License-Identifier: MIT
#include "inventory/netdisks.h"

#include "base/log.h"
#include "base/text.h"
#include "inventory/filesystems.h"
#include "inventory/mounts.h"
#include "sources/netfstab.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

namespace zav {

namespace {

constexpr const char* label_directory = "/dev/disk/by-label/";

struct Free {
    void operator()(char* text) const { std::free(text); }
};

/// Empty when the label is not registered.
std::string registered_mount_point(std::string_view label) {
    fs_list disks;
    ignore(netfstab_read(disks));
    const auto disk =
        std::ranges::find_if(disks, [label](const fs_info& fs) { return fs.name == label; });
    return disk != disks.end() ? std::string(disk->mntpoint.view()) : "";
}

} // namespace

Code netfstab_read(fs_list& list) {
    std::string text;
    const Code result = read_register(netfstab_path, text);
    parse_netfstab(text, list);
    return result;
}

Presence netfs_label_used(std::string_view label) {
    fs_list list;
    if (failed(netfstab_read(list))) {
        return Presence::unknown;
    }
    return presence(
        std::ranges::any_of(list, [label](const fs_info& fs) { return fs.name == label; }));
}

std::string mounted_device(std::string_view label, Sink& out) {
    const auto mounts = read_mounts_or_print(out);
    if (!mounts) {
        return "";
    }
    // Of several mounts on a directory the last one is seen there.
    const std::string mntpoint = registered_mount_point(label);
    const auto registered =
        std::find_if(mounts->rbegin(), mounts->rend(),
                     [&mntpoint](const Mount& mount) { return mount.directory == mntpoint; });
    if (registered != mounts->rend()) {
        return registered->device;
    }
    std::string device;
    for (const Mount& mount : *mounts) {
        if (last_component(mount.directory) != label) {
            continue;
        }
        if (!device.empty() && device != mount.device) {
            log_error("several devices are mounted as '%s': %s, %s", std::string(label).c_str(),
                      device.c_str(), mount.device.c_str());
            return "";
        }
        device = mount.device;
    }
    const std::string labelled = labelled_device(label);
    if (!device.empty() && !labelled.empty() && labelled != device) {
        log_error("what is mounted as '%s' is %s: the label is on %s", std::string(label).c_str(),
                  device.c_str(), labelled.c_str());
        return "";
    }
    return device;
}

std::string device_to_clear(std::string_view label, Sink& out) {
    std::string device = mounted_device(label, out);
    if (device.empty() || device == labelled_device(label)) {
        return device;
    }
    const MountTable mounts = read_mounts().value_or(MountTable());
    const std::array points = {registered_mount_point(label),
                               format_text(netdisk_mount_point, std::string(label).c_str())};
    if (std::ranges::any_of(mounts, [&](const Mount& mount) {
            return mount.device == device &&
                   std::ranges::find(points, mount.directory) != points.end();
        })) {
        return device;
    }
    log_error("what is mounted as '%s' is %s: it is not known to be the network disk",
              std::string(label).c_str(), device.c_str());
    return "";
}

std::string labelled_device(std::string_view label) {
    const std::string link = label_directory + std::string(label);
    const std::unique_ptr<char, Free> device(::realpath(link.c_str(), nullptr));
    return device ? device.get() : "";
}

Code netfs_list_get(fs_list& list, Sink& out) {
    const Code result = netfstab_read(list);
    if (failed(result)) {
        out.print("for errno '%d'\n", number_of(result));
        return result;
    }
    const auto mounted = mounted_directories();
    for (fs_info& fs : list) {
        const bool is_mounted = mounted.contains(fs.mntpoint.c_str());
        fs.status = is_mounted ? fs_available : fs_unmounted;
        fs.device = is_mounted ? netdisk_device : "N.A.";
    }
    return Code::ok;
}

} // namespace zav
