// SPDX-License-Identifier: MIT
#include "inventory/netdisks.h"

#include "inventory/filesystems.h"
#include "inventory/mounts.h"
#include "sources/netfstab.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace zav {

namespace {

constexpr const char* label_directory = "/dev/disk/by-label/";

struct Free {
    void operator()(char* text) const { std::free(text); }
};

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
    const Mount* mount = mounts ? find_mount_named(*mounts, label) : nullptr;
    return mount != nullptr ? mount->device : "";
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
