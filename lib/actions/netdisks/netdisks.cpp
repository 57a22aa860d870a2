// SPDX-License-Identifier: MIT
#include "actions/netdisks/netdisks.h"

#include "actions/disks/claims.h"
#include "actions/disks/disks.h"
#include "actions/filesystems/filesystems.h"
#include "actions/filesystems/mount_register.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/disk_use.h"
#include "inventory/filesystems.h"
#include "inventory/netdisks.h"
#include "platform/models.h"
#include "sources/mkfs.h"
#include "sources/netfstab.h"

#include <algorithm>

namespace zav {

namespace {

constexpr MountRegister netfstab = {netfstab_path, netfstab_copy_template};

std::string label_source(const char* label) {
    return format_text("-L %s", label);
}

} // namespace

std::string netfs_mount_point(const char* label) {
    return format_text(netdisk_mount_point, label);
}

Code netfs_make(const char* label, const char* device, std::string_view type) {
    const bool is_reiserfs = type == reiserfs_type;
    const std::string command = is_reiserfs
                                    ? format_text(make_labelled_reiserfs_command, label, device)
                                    : format_text(make_labelled_xfs_command, label, device);
    if (is_plain_name(device) && is_held_by_kernel(device)) {
        ignore(refuse_command(command, held_by_kernel));
        return Code::command_failed;
    }
    return run_or_fail({label, device}, command);
}

Code netfs_mount(const char* mntpoint, const char* label, std::string_view type) {
    return mount_source(mntpoint, label_source(label), type, "mount");
}

Code netfs_mount_typed(const char* mntpoint, const char* label, std::string_view type) {
    return mount_source(mntpoint, label_source(label), type, "/bin/mount");
}

Code netfs_repair(const std::string& device, std::string_view type) {
    return repair_device(device, type);
}

Code netfstab_add(const char* mntpoint, const char* label, std::string_view type) {
    return register_add(netfstab, mntpoint,
                        format_text(netfstab_line, label, mntpoint, type.data()));
}

Code netfstab_remove(const char* mntpoint) {
    return register_remove(netfstab, mntpoint);
}

Code create_netfs(const char* label, const char* device) {
    const std::string_view type = product_fs_type();
    DiskClaims claims;
    if (!claims.add(device) || failed(netfs_make(label, device, type))) {
        return Code::fs_not_made;
    }
    const std::string mntpoint = netfs_mount_point(label);
    const Code registered = netfstab_add(mntpoint.c_str(), label, type);
    ignore(mntdir_create(mntpoint.c_str()));
    if (failed(netfs_mount(mntpoint.c_str(), label, type))) {
        return Code::fs_not_mounted;
    }
    return is_registered(registered) ? Code::ok : registered;
}

Code delete_netfs(const char* label, Sink& out) {
    const std::string mntpoint = netfs_mount_point(label);
    const std::string device = device_to_clear(label, out);
    DiskClaims claims;
    const bool is_claimed = claims.add(name_in_dev(device).value_or(device));
    if (failed(check_umount(label, out))) {
        return Code::fs_not_unmounted;
    }
    ignore(mntdir_remove(mntpoint.c_str()));
    ignore(netfstab_remove(mntpoint.c_str()));
    if (device.empty()) {
        log_error("network disk '%s' is not mounted: its device is not cleared", label);
        return Code::ok;
    }
    disk_format_unless(device.c_str(), is_claimed ? "" : "another command uses the device");
    return Code::ok;
}

Code repair_kor_netfs(const char* label, Sink& out) {
    std::string device = mounted_device(label, out);
    if (device.empty()) {
        device = labelled_device(label);
    }
    DiskClaims claims;
    if (!claims.add(name_in_dev(device).value_or(device)) || failed(check_umount(label, out))) {
        return log_return(Code::fs_not_unmounted);
    }
    fs_list disks;
    ignore(netfstab_read(disks)); // what is not read is not registered
    const auto disk =
        std::ranges::find_if(disks, [label](const fs_info& fs) { return fs.name == label; });
    if (disk == disks.end()) {
        return log_return(Code::fs_not_repaired);
    }
    const char* mntpoint = disk->mntpoint.c_str();
    if (const Code result = check_mount_point(mntpoint); failed(result)) {
        return log_return(result);
    }
    const Code repaired = netfs_repair(device, disk->fstype);
    if (failed(repaired)) {
        log_failure(repaired);
    }
    const Code mounted = mount_repaired(
        label, mntpoint, [&] { return netfs_mount_typed(mntpoint, label, disk->fstype); });
    if (failed(mounted)) {
        return log_return(mounted);
    }
    ignore(netfstab_add(mntpoint, label, disk->fstype.view()));
    return repaired;
}

} // namespace zav
