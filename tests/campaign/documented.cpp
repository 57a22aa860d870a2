// SPDX-License-Identifier: MIT
#include "documented.h"

#include "base/codes.h"

#include <algorithm>

namespace zav::test {
namespace {

constexpr auto to_disks = "/usr/local/bin/diskformat ";

// clang-format off
const std::vector<FailureRow> failures = {
    // action                    command                                code  after work
    // A disk that could not be cleared, or made a hot spare, is only logged.
    {"diskmanage",               to_disks,                                 0,     0},
    {"diskmanage",               "/usr/local/bin/hotspare -a ",            0,     0, true},
    {"diskmanage",               "/usr/local/bin/hotspare -r ",            0,     0, true},
    // Whatever it is in, the disk is cleared.
    {"diskmanage-init-member",   "cat /proc/mdstat",                       0,     0, true},
    {"diskmanage-init-member",   "/sbin/mdadm /dev/",                      0,     0, true},
    {"mdmanage-create",          to_disks,                                 0,     0},
    {"mdmanage-create",          "/sbin/mdadm -C ",                     -416,     0},
    {"mdmanage-add",             "/sbin/mdadm --manage ",               -417,  -417},
    {"mdmanage-remove",          "/sbin/mdadm --manage ",               -418,  -418},
    {"mdmanage-delete",          "/sbin/mdadm -S ",                     -415,     0},
    {"mdmanage-delete",          to_disks,                                 0,     0},
    {"mdmanage-recover",         "/sbin/mdadm -S ",                     -419,  -419, false, -127},
    {"mdmanage-recover",         "/sbin/mdadm -C ",                     -419,  -419, false, -127},
    {"mdmanage-recover",         "/sbin/vgscan",                        -419,  -419, false, -411},
    // The output alone tells that a group was not created.
    {"vgmanage-create",          to_disks,                                 0,     0},
    {"vgmanage-create",          "/sbin/pvcreate ",                     -302,  -302, true},
    {"vgmanage-create",          "/sbin/vgcreate ",                     -302,     0, true},
    {"vgmanage-delete",          "/sbin/vgremove ",                        0,     0, true},
    {"vgmanage-delete",          "/sbin/pvremove ",                        0,     0},
    {"vgmanage-delete-restored", "/sbin/pvcreate -u ",                  -301,  -301},
    {"lvmanage-create",          "/sbin/lvcreate ",                     -325,     0},
    {"lvmanage-delete",          "/sbin/lvremove ",                     -324,     0},
    {"lvmanage-delete-restored", "/sbin/pvcreate -u ",                  -421,  -421},
    {"fsmanage-create",          "/sbin/lvcreate ",                     -325,  -325, false, -2051},
    {"fsmanage-create",          "/sbin/mkfs.xfs ",                     -603,  -603, false, -2051},
    {"fsmanage-create",          "mkfs.reiserfs ",                      -603,  -603, false, -2051},
    // What could not be registered is mounted all the same.
    {"fsmanage-create",          "mkdir ",                              -601,     0, false, -327},
    {"fsmanage-create",          "mount ",                              -601,  -601, false, -327},
    {"fsmanage-create",          "chmod ",                              -601,  -601, false, -327},
    {"fsmanage-delete-restored", "/sbin/pvcreate -u ",                  -421,  -421},
    {"fsmanage-delete",          "umount ",                             -602,  -602},
    {"fsmanage-delete",          "rm -rf ",                                0,     0, true},
    {"fsmanage-delete",          "mv ",                                    0,     0, true},
    // A pool that is still there counts as removed, one that is gone does not.
    {"fsmanage-delete",          "/sbin/lvremove ",                        0,  -324, true},
    // The mount has gone by then, so that the same command finds nothing to do.
    {"fsmanage-delete",          "/sbin/lvdisplay ",                    -324,     0, true},
    {"fsmanage-repair",          "umount ",                             -602,  -602},
    {"fsmanage-repair",          "/sbin/xfs_repair ",                   -509,  -509},
    {"fsmanage-repair",          "/sbin/reiserfsck ",                   -509,  -509},
    {"fsmanage-repair",          "mount ",                              -601,  -601},
    {"fsmanage-repair",          "/bin/mount ",                         -601,  -601},
    {"fsmanage-repair",          "chmod ",                              -601,  -601},
    {"netmanage-create",         "/sbin/mkfs.xfs ",                     -603,  -603},
    {"netmanage-create",         "mkfs.reiserfs ",                      -603,  -603},
    {"netmanage-create",         "mkdir ",                              -601,     0, false, -327},
    {"netmanage-create",         "mount ",                              -601,  -601, false, -327},
    {"netmanage-create",         "chmod ",                              -601,  -601, false, -327},
    {"netmanage-delete",         "umount ",                             -602,  -602},
    {"netmanage-delete",         "rm -rf ",                                0,     0, true},
    {"netmanage-delete",         "mv ",                                    0,     0, true},
    {"netmanage-repair",         "umount ",                             -602,  -602},
    {"netmanage-repair",         "/sbin/xfs_repair ",                   -509,  -509},
    {"netmanage-repair",         "mount ",                              -601,  -601},
    {"netmanage-repair",         "chmod ",                              -601,  -601},
    // A share is registered before it exists: what a failed creation has left is deleted first.
    {"sharemanage-create",       "/sbin/lvcreate ",                     -325,  -325, false, -514},
    {"sharemanage-create",       "/sbin/mkfs.xfs ",                     -503,  -503, false, -514},
    {"sharemanage-create",       "mkdir ",                              -601,     0, false, -514},
    {"sharemanage-create",       "mount ",                              -601,  -601, false, -514},
    {"sharemanage-create",       "chmod ",                              -601,  -601, false, -514},
    {"sharemanage-create",       "mv /tmp/mdfstab.",                       0,     0, true, -514},
    {"sharemanage-create",       "mv /tmp/passwd.",                     -503,  -503, false, -514},
    {"sharemanage-restore",      "mkdir ",                              -601,     0},
    {"sharemanage-restore",      "mount ",                              -601,  -601},
    {"sharemanage-restore",      "chmod ",                              -601,  -601},
    {"sharemanage-restore",      "mv ",                                    0,     0, true},
    {"sharemanage-delete-restored", "/sbin/pvcreate -u ",               -421,  -421},
    {"sharemanage-delete",       "umount ",                             -602,  -602},
    {"sharemanage-delete",       "rm -rf ",                                0,     0, true},
    {"sharemanage-delete",       "mv /tmp/mdfstab.",                    -504,  -504},
    {"sharemanage-delete",       "mv /tmp/passwd.",                     -504,  -504},
    {"sharemanage-delete",       "/sbin/lvremove ",                     -324,     0},
    {"sharemanage-edit-ftp",     "mv /tmp/passwd.",                     -507,  -507},
    {"sharemanage-forbid-ftp",   "umount ",                             -502,     0},
    {"sharemanage-forbid-ftp",   "rm -rf ",                                0,     0, true},
    {"sharemanage-forbid-ftp",   "mv /tmp/mdfstab.",                    -502,  -502},
    {"sharemanage-forbid-ftp",   "mv /tmp/passwd.",                     -502,  -502},
    {"sharemanage-use-ftp",      "umount ",                             -602,  -602},
    {"sharemanage-use-ftp",      "rm -rf ",                                0,     0, true},
    {"sharemanage-use-ftp-from", "mv /tmp/mdfstab.",                    -507,  -507},
    {"sharemanage-use",          "mv /tmp/mdfstab.",                       0,     0, true},
    {"sharemanage-use",          "mkdir ",                              -601,     0},
    {"sharemanage-use",          "mount ",                              -601,  -601},
    {"sharemanage-use",          "chmod ",                              -601,  -601},
    {"sharemanage-use-ftp",      "mv /tmp/passwd.",                     -507,  -507},
    {"sharemanage-repair",       "umount ",                             -602,  -602},
    // A file system that could not be repaired is mounted all the same.
    {"sharemanage-repair",       "/sbin/xfs_repair ",                      0,     0},
    {"sharemanage-repair",       "/sbin/reiserfsck ",                      0,     0},
    {"sharemanage-repair",       "/usr/local/bin/",                        0,     0},
    {"sharemanage-repair",       "mount ",                              -601,  -601},
    {"sharemanage-repair",       "chmod ",                              -601,  -601},
};
// clang-format on

constexpr auto fails = "exit1 exit3 killed missing worked";
constexpr auto fails_or_tells_nothing = "exit1 exit3 killed missing worked silent garbage";
constexpr auto array_made = "/sbin/mdadm -C ";
constexpr auto given_up = "/sbin/mdadm /dev/";
const std::vector<ProtectionRow> protection_rows = {
    // A disk is taken only when nothing that might use it is unknown.
    {"diskmanage-hotspare-add", "/sbin/vgdisplay", fails, {to_disks}},
    {"diskmanage-hotspare-add", "/sbin/pvdisplay", fails, {to_disks}},
    {"diskmanage-hotspare-add", "/bin/df", fails, {to_disks}},
    {"mdmanage-create", "/sbin/vgdisplay", fails, {to_disks, array_made}},
    {"mdmanage-create", "/sbin/pvdisplay", fails, {to_disks, array_made}},
    {"mdmanage-create",
     "/usr/local/bin/hotspare --list",
     fails_or_tells_nothing,
     {to_disks, array_made},
     true},
    {"mdmanage-recover",
     "/sbin/mdadm -D ",
     fails_or_tells_nothing,
     {"/sbin/mdadm -S ", array_made}},
    {"mdmanage-recover", "/sbin/mdadm -S ", "exit1 exit3 killed missing", {array_made}},
    {"mdmanage-delete", "/sbin/vgdisplay", fails, {"/sbin/mdadm -S ", to_disks}},
    {"mdmanage-delete", "/sbin/pvdisplay", fails, {"/sbin/mdadm -S ", to_disks}},
    {"mdmanage-delete", "/sbin/mdadm -S ", "exit1 exit3 killed missing", {to_disks}},
    {"vgmanage-create", "/sbin/vgdisplay", fails, {to_disks, "/sbin/pvcreate ", "/sbin/vgcreate "}},
    {"vgmanage-create", "/sbin/pvdisplay", fails, {to_disks, "/sbin/pvcreate ", "/sbin/vgcreate "}},
    {"vgmanage-create", "/sbin/pvcreate ", fails, {"/sbin/vgcreate "}},
    // A healthy array is never given up for a tool that failed.
    {"vgmanage-delete-array",
     "/sbin/",
     fails_or_tells_nothing,
     {given_up, "dd ", "/sbin/pvcreate -u", "/sbin/vgcfgrestore"}},
    {"lvmanage-delete-healthy",
     "/sbin/",
     fails_or_tells_nothing,
     {given_up, "dd ", "/sbin/pvcreate -u", "/sbin/vgcfgrestore"}},
    {"fsmanage-delete-healthy",
     "/sbin/",
     fails_or_tells_nothing,
     {given_up, "dd ", "/sbin/pvcreate -u", "/sbin/vgcfgrestore"}},
    {"sharemanage-delete-healthy",
     "/sbin/",
     fails_or_tells_nothing,
     {given_up, "dd ", "/sbin/pvcreate -u", "/sbin/vgcfgrestore"}},
    // Only a pool that is known to be new gets a file system.
    {"fsmanage-create", "/sbin/lvdisplay", fails, {"/sbin/mkfs.xfs ", "mkfs.reiserfs "}},
    {"fsmanage-create", "/sbin/lvcreate ", fails, {"/sbin/mkfs.xfs ", "mkfs.reiserfs "}},
    {"sharemanage-create",
     "/sbin/lvcreate ",
     "exit1 exit3 killed missing",
     {"/sbin/mkfs.xfs ", "mkfs.reiserfs "}},
    // What is still mounted is not removed, repaired or cleared.
    {"",
     "umount ",
     "exit1 exit3 killed missing",
     {"rm -rf ", "/sbin/lvremove ", to_disks, "/sbin/xfs_repair ", "/sbin/reiserfsck ",
      "/usr/local/bin/"}},
    {"", "umount ", "silent", {"rm -rf "}},
};

struct SilentStatus {
    std::string_view action;
    int status;
};

// A listing of file systems always ends with 255; mdadm may fail after the array is there; a share
// that is registered, but that its service's file does not have, is told by the status alone.
constexpr SilentStatus silent_statuses[] = {{"mdmanage-create", 1},
                                            {"fsmanage-display", 255},
                                            {"netmanage-display", 255},
                                            {"sharemanage-edit", 237},
                                            {"sharemanage-use", 237}};

// What destroys, or gives away, what is on a disk, an array or a pool.
constexpr std::string_view destructive[] = {to_disks,
                                            "/sbin/mdadm -C ",
                                            "/sbin/mdadm -S ",
                                            "/sbin/mdadm /dev/",
                                            "/sbin/pvcreate ",
                                            "/sbin/pvremove ",
                                            "/sbin/vgcreate ",
                                            "/sbin/vgremove ",
                                            "/sbin/lvremove ",
                                            "/sbin/vgcfgrestore",
                                            "/sbin/mkfs.xfs ",
                                            "mkfs.reiserfs ",
                                            "rm -rf ",
                                            "dd ",
                                            "/sbin/xfs_repair ",
                                            "/sbin/reiserfsck ",
                                            "/usr/local/bin/reiserfsck "};

} // namespace

const FailureRow* failure_row(const Action& action, const std::string& command) {
    const auto found = std::find_if(failures.begin(), failures.end(), [&](const FailureRow& row) {
        return action.name.starts_with(row.action) && command.starts_with(row.command);
    });
    return found != failures.end() ? &*found : nullptr;
}

const std::vector<ProtectionRow>& protections() {
    return protection_rows;
}

bool may_be_left(const Action& action, const std::string& path) {
    return std::any_of(failures.begin(), failures.end(), [&](const FailureRow& row) {
        if (!row.leaves || !action.name.starts_with(row.action)) {
            return false;
        }
        if (row.command.starts_with("mv ")) {
            return path == mdfstab || path == netfstab;
        }
        if (row.command == "rm -rf ") {
            return path.starts_with("/mnt/") || path.starts_with("/home/");
        }
        return path.starts_with("/state/") || path == "/proc/mdstat";
    });
}

bool is_code_again(const Action& action, int code) {
    return code == action.again ||
           std::any_of(failures.begin(), failures.end(), [&](const FailureRow& row) {
               return row.again != 0 && row.again == code && action.name.starts_with(row.action);
           });
}

bool is_code_of(const std::string& command, int code) {
    return std::ranges::any_of(code_table(), [&](const CodeRow& row) {
        return number_of(row.code) == code &&
               std::string_view(row.used_by).find(command) != std::string_view::npos;
    });
}

bool is_silent_status(const Action& action, int status) {
    return std::any_of(std::begin(silent_statuses), std::end(silent_statuses),
                       [&](const SilentStatus& row) {
                           return action.name.starts_with(row.action) && row.status == status;
                       });
}

bool is_code_with_success(const Action& action, int code) {
    return (action.arguments[0] == "vgmanage" && code == -302) ||
           (action.name.starts_with("lvmanage-display") && code == -126);
}

bool only_reads(const std::string& command) {
    return command.find("> /tmp/") != std::string::npos;
}

bool is_destructive(const std::string& command) {
    return std::any_of(std::begin(destructive), std::end(destructive),
                       [&](std::string_view beginning) { return command.starts_with(beginning); });
}

} // namespace zav::test
