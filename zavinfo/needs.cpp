// SPDX-License-Identifier: MIT
#include "zavinfo/needs.h"

#include <algorithm>
#include <array>

namespace zavinfo {

namespace {

using enum NeedKind;
using enum Lack;

constexpr const char* all = "diskmanage, disksmart, mdmanage, vgmanage, lvmanage, fsmanage, "
                            "netmanage, sharemanage";
constexpr const char* lists = "diskmanage, mdmanage, vgmanage, lvmanage, fsmanage, sharemanage";
constexpr const char* disks = "diskmanage, disksmart, mdmanage, vgmanage";
constexpr const char* clears = "diskmanage, mdmanage, vgmanage, netmanage";
constexpr const char* volumes = "lvmanage, fsmanage, sharemanage";
constexpr const char* deletes = "vgmanage, lvmanage, fsmanage, sharemanage";
constexpr const char* mounts = "fsmanage, netmanage, sharemanage";
constexpr const char* saves = "fsmanage, netmanage, sharemanage";
constexpr const char* shares = "sharemanage";
constexpr const char* status = "zavinfo";

constexpr const char* from_debian = "Install the package.";
constexpr const char* linked = "Install the package, and link its program to this path.";
constexpr const char* of_appliance =
    "It belongs to the appliance's system; zavbox-tools has one that "
    "works on any Linux.";
constexpr const char* kernel_option = "Load the module, or boot a kernel that has it.";
constexpr const char* script = "Write a script of this name that starts and stops the service; "
                               "zavbox-tools has one.";
constexpr const char* adapter = "Install zavbox-tools, which has an adapter for it.";
constexpr const char* empty_file = "Make an empty file.";

bool with_xfs(const ModelTraits& model) {
    return !model.makes_reiserfs;
}
bool with_reiserfs(const ModelTraits& model) {
    return model.makes_reiserfs;
}
bool with_xfs_server(const ModelTraits& model) {
    return model.is_server && !model.makes_reiserfs;
}
bool with_system_reiserfsck(const ModelTraits& model) {
    return model.makes_reiserfs && (model.is_server || !model.repairs_shares_locally);
}
bool with_local_reiserfsck(const ModelTraits& model) {
    return model.makes_reiserfs && !model.is_server;
}
bool with_xconf(const ModelTraits& model) {
    return model.saves_with_xconf;
}
bool with_nasconf(const ModelTraits& model) {
    return !model.saves_with_xconf;
}
bool with_power_tool(const ModelTraits& model) {
    return model.has_power_tool;
}
bool with_raid_controller(const ModelTraits& model) {
    return model.has_raid_controller;
}
bool with_plain_controller(const ModelTraits& model) {
    return !model.has_raid_controller;
}
bool on_server(const ModelTraits& model) {
    return model.is_server;
}
bool on_desktop(const ModelTraits& model) {
    return !model.is_server;
}

constexpr Probe mdadm_probe = {.argument = "--version",
                               .bad_output = "v(4\\.([2-9]|1[0-9])|[5-9]\\.)",
                               .fault = "version 4.2 or newer: mdmanage -r removes nothing and "
                                        "ends as if it had, --fg-init is refused",
                               .lack = silent,
                               .remedy = adapter};
constexpr Probe pvcreate_probe = {.argument = "--version",
                                  .bad_output = "LVM version: +(2\\.0[3-9]|[3-9]\\.)",
                                  .fault = "LVM 2.03 or newer wants more arguments for the UUID of "
                                           "a lost volume: no group is brought back (-301)",
                                  .remedy = adapter};
constexpr Probe vgcfgrestore_probe = {.argument = "--version",
                                      .bad_output = "LVM version: +(2\\.0[3-9]|[3-9]\\.)",
                                      .fault = "LVM 2.03 or newer asks before it restores a group "
                                               "with a pool that is on, and gets no answer",
                                      .remedy = adapter};
constexpr Probe signature_probe = {
    .program = "/sbin/lvmconfig",
    .argument = "--type",
    .more = "full",
    .last = "allocation/wipe_signatures_when_zeroing_new_lvs",
    .bad_output = "=1",
    .fault = "lvcreate asks what to do with an old signature, and gets no answer: the pool is not "
             "made (-325, -603)",
    .remedy =
        "Install zavbox-tools, which has an adapter for it, or write in /etc/lvm/lvmlocal.conf: "
        "allocation { wipe_signatures_when_zeroing_new_lvs = 0 }."};
constexpr Probe mkfs_probe = {.argument = "-V",
                              .bad_output =
                                  "mkfs.reiserfs +(3\\.(6\\.(2[7-9]|[3-9][0-9])|[7-9])|[4-9])",
                              .fault = "version 3.6.27 or newer: -L is unknown and it asks before "
                                       "it writes to a whole disk (-603)",
                              .remedy = adapter};

// clang-format off
constexpr auto table = std::to_array<Need>({
    // Disks.
    {directory, "/proc/scsi/mvSata", all, fails, "There is no disk: arrays are listed without their slots, and nothing can be made or changed (-205).",
     "A kernel with /proc/scsi and the controller's driver; or install zavbox-tools, whose zavbox-slots makes /run/zavbox/mvSata, which stands in.", "", with_plain_controller, "/run/zavbox/mvSata"},
    {program, "/usr/local/bin/vexadm", disks, fails, "Neither disks (-205) nor arrays (-422) can be listed.", of_appliance, "", with_raid_controller},
    {program, "/usr/local/bin/hotspare", disks, fails, "No disk can be listed (-205): nothing that takes a disk works.", of_appliance},
    {program, "/usr/local/bin/diskformat", clears, data, "Disks are used with what is on them: a new array, group or label stands beside old superblocks and signatures, which may come back. The commands end as if the disks had been cleared.", of_appliance},
    {program, "/usr/local/sbin/smartctl", "disksmart", silent, "The health of every disk is empty, and a failing disk is not told; disksmart ends with 0.", linked, "smartmontools", with_plain_controller},
    {program, "/bin/df", "diskmanage", fails, "Whether a disk is mounted is not known, and none can become a hot spare (-201).", from_debian, "coreutils"},
    {file, "/proc/partitions", lists, fails, "Disks, arrays and groups cannot be listed.", "Mount /proc."},
    {directory, "/sys/block", all, silent, "Sizes, models and states of disks are empty.", "Mount /sys."},
    // Arrays.
    {program, "/sbin/mdadm", lists, fails, "Arrays are shown without their members, and can neither be made nor changed (-411, -416 to -419).", from_debian, "mdadm", with_plain_controller, "", "", "", mdadm_probe},
    {file, "/proc/mdstat", lists, fails, "Arrays cannot be listed (-422): nothing that takes a disk works.", kernel_option, "", with_plain_controller, "", "", "md-mod"},
    {kernel, "RAID 0", "mdmanage", fails, "Arrays of level 0 cannot be made (-416) or do not start.", kernel_option, "", with_plain_controller, "/proc/mdstat", "[raid0]", "raid0"},
    {kernel, "RAID 1", "mdmanage", fails, "Arrays of level 1 cannot be made (-416) or do not start.", kernel_option, "", with_plain_controller, "/proc/mdstat", "[raid1]", "raid1"},
    {kernel, "RAID 5 and 6", "mdmanage", fails, "Arrays of levels 5 and 6 cannot be made (-416) or do not start.", kernel_option, "", with_plain_controller, "/proc/mdstat", "[raid5]", "raid456"},
    {kernel, "linear arrays", "mdmanage", fails, "Arrays that append disk to disk cannot be made (-416) or do not start; newer kernels have none.", kernel_option, "", with_plain_controller, "/proc/mdstat", "[linear]", "linear"},
    // Volume groups and pools.
    {program, "/sbin/vgdisplay", lists, fails, "Groups cannot be listed (-304), and nothing that is in one is found.", from_debian, "lvm2"},
    {program, "/sbin/pvdisplay", lists, fails, "The volumes of groups cannot be listed (-304).", from_debian, "lvm2"},
    {program, "/sbin/lvdisplay", volumes, fails, "Pools cannot be listed (-326, -2051).", from_debian, "lvm2"},
    {program, "/sbin/pvcreate", deletes, silent, "No group is made, and vgmanage --create, which prints -302, ends with 0; no lost group is brought back.", from_debian, "lvm2", nullptr, "", "", "", pvcreate_probe},
    {program, "/sbin/pvremove", "vgmanage", silent, "The labels of a deleted group stay on its disks and arrays, and stand in the way of the next.", from_debian, "lvm2"},
    {program, "/sbin/vgcreate", "vgmanage", silent, "No group is made, and vgmanage --create, which prints -302, ends with 0.", from_debian, "lvm2"},
    {program, "/sbin/vgextend", "vgmanage", fails, "No group is extended.", from_debian, "lvm2"},
    {program, "/sbin/vgremove", "vgmanage", fails, "No group is deleted (-301).", from_debian, "lvm2"},
    {program, "/sbin/vgcfgrestore", deletes, fails, "No lost group is brought back: it cannot be deleted (-301), nor its pools (-421).", from_debian, "lvm2", nullptr, "", "", "", vgcfgrestore_probe},
    {program, "/sbin/vgscan", "mdmanage", fails, "The groups on a recovered array are not found (-419).", from_debian, "lvm2"},
    {program, "/sbin/lvcreate", volumes, fails, "No pool is made (-325), and so no share.", from_debian, "lvm2", nullptr, "", "", "", signature_probe},
    {program, "/sbin/lvextend", "lvmanage", fails, "No pool is extended.", from_debian, "lvm2"},
    {program, "/sbin/lvremove", volumes, fails, "No pool is deleted (-324).", from_debian, "lvm2"},
    {program, "dd", deletes, fails, "An array that is known to be lost is not wiped: its group cannot be deleted.", from_debian, "coreutils"},
    {directory, "/etc/lvm/backup", deletes, fails, "A group that has lost a volume cannot be brought back, and not be deleted (-614, -301).", "Let LVM keep its backups: backup { backup = 1 } in lvm.conf.", "lvm2"},
    {device, "/dev/ram2", deletes, fails, "Nothing takes the place of a lost volume: its group cannot be deleted (-301, -421).", "modprobe brd rd_nr=16"},
    {kernel, "device mapper", lists, fails, "LVM has no pool: nothing in a group is there.", kernel_option, "", nullptr, "/proc/misc", "device-mapper", "dm-mod"},
    // File systems.
    {program, "/sbin/mkfs.xfs", mounts, fails, "No file system is made (-603).", from_debian, "xfsprogs", with_xfs},
    {program, "mkfs.reiserfs", mounts, fails, "No file system is made (-603).", from_debian, "reiserfsprogs", with_reiserfs, "", "", "", mkfs_probe},
    {kernel, "XFS", mounts, fails, "No file system is mounted (-601).", kernel_option, "", with_xfs, "/proc/filesystems", "xfs", "xfs"},
    {kernel, "ReiserFS", mounts, fails, "No file system is mounted (-601).", kernel_option, "", with_reiserfs, "/proc/filesystems", "reiserfs", "reiserfs"},
    {program, "mount", mounts, fails, "Nothing is mounted (-601).", from_debian, "mount"},
    {program, "/bin/mount", mounts, fails, "A file system is not mounted again after its repair (-601).", from_debian, "mount"},
    {program, "umount", mounts, fails, "Nothing is unmounted (-602), and so not deleted.", from_debian, "mount"},
    {file, "/proc/mounts", mounts, fails, "What is mounted is not known: nothing is mounted, unmounted or deleted.", "Mount /proc."},
    {program, "/sbin/xfs_repair", "fsmanage, netmanage", fails, "No file system is repaired (-509).", from_debian, "xfsprogs", with_xfs_server},
    {program, "/usr/local/bin/xfs_repair", mounts, silent, "The file system of a share is not repaired, and sharemanage --repair ends as if it were; on models other than servers fsmanage and netmanage repair nothing (-509).", linked, "xfsprogs", with_xfs},
    {program, "/sbin/reiserfsck", mounts, silent, "The file system of a share is not repaired, and sharemanage --repair ends as if it were; on servers fsmanage and netmanage repair nothing (-509).", from_debian, "reiserfsprogs", with_system_reiserfsck},
    {program, "/usr/local/bin/reiserfsck", mounts, silent, "File systems are not repaired (-509), and sharemanage --repair ends as if they were.", linked, "reiserfsprogs", with_local_reiserfsck},
    {program, "mkdir", mounts, fails, "There is no mount point: nothing is mounted (-601).", from_debian, "coreutils"},
    {program, "chmod", mounts, fails, "What is mounted is not opened to its users (-601).", from_debian, "coreutils"},
    {program, "chattr", mounts, data, "A mount point is not protected: what is written while nothing is mounted there goes to the system's disk, is hidden by the next mount and fills that disk.", from_debian, "e2fsprogs"},
    {program, "rm", mounts, silent, "The mount points of what was deleted stay.", from_debian, "coreutils"},
    {program, "mv", mounts, silent, "A finished copy of a register, or of /etc/passwd, does not take its place: the change is lost.", from_debian, "coreutils"},
    {file, "/etc/mdfstab", "fsmanage, lvmanage, sharemanage", fails, "Nothing is made: whether a name is taken is not known (-327).", empty_file},
    {file, "/etc/netfstab", mounts, fails, "Nothing is made: whether a name is taken is not known (-327).", empty_file},
    {directory, "/dev/disk", "netmanage", fails, "A network disk that is not mounted is not found by its label and not repaired (-509).", "Run udev, which keeps by-label in it.", "udev"},
    // Shares and services.
    {program, "/etc/init.d/samba", shares, silent, "Samba is not restarted: a new share is not served, a forbidden or deleted one stays open.", script, "samba"},
    {program, "/etc/init.d/nfs", shares, silent, "NFS is not restarted: a new share is not served, a forbidden or deleted one stays open.", script, "nfs-kernel-server"},
    {program, "/etc/init.d/vsftpd", shares, silent, "The FTP server is not restarted: a new share is not served, a forbidden or deleted one stays open.", script, "vsftpd"},
    {program, "/etc/init.d/iscsi-target", shares, silent, "The iSCSI target is not restarted: a new share is not served, a deleted one stays open.", script},
    {program, "/usr/local/bin/fxml", shares, silent, "An FTP user's file is not taken in or out: the user gets no access, or keeps it.", of_appliance},
    {program, "/usr/local/bin/xconf", saves, data, "Changed files of /etc are not kept: after the next start registers and shares are as before, and what was made since is not mounted.", of_appliance, "", with_xconf},
    {program, "/usr/local/bin/nasconf", saves, data, "Changed files of /etc are not kept: after the next start registers and shares are as before, and what was made since is not mounted.", of_appliance, "", with_nasconf},
    {file, "/etc/ietd.conf", shares, fails, "No share can be listed, made or deleted (-505), also of other services.", empty_file},
    {directory, "/etc/samba", shares, fails, "The files of Samba's shares cannot be made (-2061).", from_debian, "samba-common"},
    {file, "/etc/vsftpd/ftpuser", shares, fails, "No user can be given an FTP share (-511): it is the template of every user's file.", "Write the template for all users of the FTP server."},
    {file, "/etc/nas_userfile.conf", shares, fails, "No user can be given a share (-611), and no iSCSI target is written (-2069).", "Restore the appliance's list of users."},
    {file, "/etc/passwd", shares, fails, "No user is known (-612, -613).", "Restore it from a backup."},
    // What all of them need.
    {program, "/bin/sh", all, fails, "Most tools cannot be run.", from_debian, "dash"},
    {program, "cat", all, fails, "Neither disks nor arrays can be listed (-205, -422).", from_debian, "coreutils"},
    {writable, "/tmp", all, fails, "What tools print cannot be read.", "Mount a file system on /tmp, with space and for root to write to."},
    {writable, "/etc", "fsmanage, netmanage, sharemanage", fails, "No register and no service's file can be changed.", "Mount the root file system for writing."},
    {writable, "/run", mounts, fails, "There is no lock: two commands at a time cannot be kept apart, and are refused.", "Mount a file system on /run."},
    {writable, "/var/log", all, silent, "There is no log: reasons, and everything that is only logged, are lost.", "Mount a file system on /var/log."},
    {file, "/etc/sys_info", all, silent, "The model is not known, and the usual one is assumed: another file system, another way to the disks, and other tools may be used than this machine has.", "Write the model into it: see zavbox(8).", "", nullptr, "/etc/nas_base.conf"},
    // What only tells how the appliance is.
    {program, "/bin/busybox", status, fails, "Whether a service runs is not known (-1011).", from_debian, "busybox"},
    {program, "/usr/local/bin/pwstate", status, fails, "The state of the power supplies is not known (-1003).", of_appliance, "", with_power_tool},
    {program, "/usr/bin/vmstat", status, fails, "The use of the processor is not known.", from_debian, "procps"},
    {file, "/proc/meminfo", status, fails, "The use of memory is not known.", "Mount /proc."},
    {file, "/var/run/sys_state", status, fails, "Temperature, fans and power are not known (-1009, -1010).", "Start the appliance's own daemon.", "", on_server},
    {file, "/tmp/nas_state.conf", status, fails, "Temperature, fans and power are not known (-1009, -1010).", "Start the appliance's own daemon.", "", on_desktop},
    {file, "/etc/hostname", status, fails, "The host name is not known (-1006).", "Write the name into it."},
    {file, "/etc/nas_start_time.conf", status, fails, "The start time is not known (-1004).", "The appliance writes it when it starts."},
    {file, "/etc/vsftpd.conf", status, fails, "The limits of the FTP server can be neither read nor set (-1063).", from_debian, "vsftpd"},
});

constexpr std::array<std::string_view, 4> reiserfs_models = {"KOR7206LB", "VEL7206P", "VEL7205E", "VEL7205P"};
constexpr std::array<std::string_view, 2> power_tool_models = {"VEL7205E", "VEL7205P"};
// clang-format on

template <std::size_t count>
bool is_one_of(const std::array<std::string_view, count>& models, std::string_view model) {
    return std::ranges::find(models, model) != models.end();
}

} // namespace

ModelTraits traits_of(std::string_view model) {
    const bool is_server = model.starts_with("KOR") || model == "GENERIC";
    const bool has_power_tool = is_one_of(power_tool_models, model);
    return {is_server,
            is_one_of(reiserfs_models, model),
            is_server || model == "VEL7206P",
            has_power_tool,
            model == "VEL7205U",
            has_power_tool};
}

std::span<const Need> needs() {
    return table;
}

} // namespace zavinfo
