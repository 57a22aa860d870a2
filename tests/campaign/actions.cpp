// SPDX-License-Identifier: MIT
#include "actions.h"

#include <algorithm>

namespace zav::test {
namespace {

using A = Appliance;

constexpr auto nothing = [](A&) {};

Texts of_samba() {
    return {share_register, smb_conf, smb_recycle};
}
Texts of_nfs() {
    return {share_register, exports, exports_recycle};
}
Texts of_ftp() {
    return {share_register, passwd, "/etc/vsftpd*"};
}
Texts of_iscsi() {
    return {share_register, targets};
}
Texts with_mounts(Texts files) {
    files.emplace_back(mdfstab);
    return files;
}

void add_disks(std::vector<Action>& rows) {
    rows.insert(
        rows.end(),
        {
            {"diskmanage-display", {"diskmanage", "--display"}, nothing, {}},
            {"diskmanage-display-one", {"diskmanage", "-S", "-n", "5", "-d", "0"}, nothing, {}},
            {"diskmanage-init-free", {"diskmanage", "--init", "-n", "5", "-d", "0"}, nothing, {}},
            {"diskmanage-init-member", {"diskmanage", "-I", "-n", "1", "-d", "0"}, nothing, {}},
            {"diskmanage-hotspare-add",
             {"diskmanage", "--hotspare", "-a", "5", "-d", "0"},
             nothing,
             {},
             -203},
            {"diskmanage-hotspare-remove",
             {"diskmanage", "-H", "-r", "5", "-d", "0"},
             [](A& on) { on.has_hotspare("sde"); },
             {},
             -204},
            {"disksmart-display", {"disksmart", "--display"}, nothing, {}},
            {"disksmart-display-one", {"disksmart", "-S", "-n", "5", "-d", "0"}, nothing, {}},
            {"disksmart-detail",
             {"disksmart", "-S", "--detail", "-n", "5", "-d", "0"},
             nothing,
             {}},
        });
}

void add_arrays(std::vector<Action>& rows) {
    const auto create = [](const char* level, const char* channels, bool foreground = false) {
        Texts arguments = {"mdmanage", "--create", "-n", "md2", "-l", level, "-d", "0", channels};
        if (foreground) {
            arguments.insert(arguments.begin() + 2, "--fg-init");
        }
        return arguments;
    };
    rows.insert(
        rows.end(),
        {
            {"mdmanage-display", {"mdmanage", "--display"}, nothing, {}},
            {"mdmanage-display-one", {"mdmanage", "-S", "-n", "md0"}, nothing, {}},
            {"mdmanage-create-raid0", create("0", "5,6"), nothing, {}, -2031},
            {"mdmanage-create-raid1", create("1", "5,6"), nothing, {}, -2031},
            {"mdmanage-create-raid5", create("5", "5,6,7"), nothing, {}, -2031},
            {"mdmanage-create-raid5-foreground", create("5", "5,6,7", true), nothing, {}, -2031},
            {"mdmanage-create-raid6", create("6", "5,6,7,8"), nothing, {}, -2031},
            {"mdmanage-create-raid6-foreground", create("6", "5,6,7,8", true), nothing, {}, -2031},
            {"mdmanage-create-linear", create("JBOD", "5,6"), nothing, {}, -2031},
        });
}

void add_array_changes(std::vector<Action>& rows) {
    rows.insert(rows.end(),
                {
                    {"mdmanage-add", {"mdmanage", "-a", "5", "md1"}, nothing, {}, -2030},
                    {"mdmanage-remove",
                     {"mdmanage", "-r", "7", "md2"},
                     [](A& on) {
                         on.has_array("md2", "raid5", {"sde", "sdf", "sdg"}, 1);
                     },
                     {},
                     -2033},
                    {"mdmanage-delete",
                     {"mdmanage", "--delete", "-n", "md2"},
                     [](A& on) {
                         on.has_array("md2", "raid5", {"sde", "sdf", "sdg"});
                     },
                     {},
                     -423},
                    {"mdmanage-recover",
                     {"mdmanage", "--recover", "-n", "md2"},
                     [](A& on) {
                         on.is_stopped("md2", {"sde", "sdf", "sdg"}, 3);
                     },
                     {},
                     -411},
                    {"mdmanage-recover-hole",
                     {"mdmanage", "-R", "-n", "md2"},
                     [](A& on) {
                         on.is_stopped("md2", {"sde", "sdf"}, 3);
                         on.file("/state/superblock/sdg", on.read("/state/detail/md2"));
                     },
                     {},
                     -411},
                });
}

void add_groups(std::vector<Action>& rows) {
    rows.insert(rows.end(),
                {
                    {"vgmanage-display", {"vgmanage", "--display"}, nothing, {}},
                    {"vgmanage-display-one", {"vgmanage", "-S", "-n", "data"}, nothing, {}},
                    {"vgmanage-create-array",
                     {"vgmanage", "--create", "-c", "md2", "-n", "new", "-d", "0"},
                     [](A& on) {
                         on.has_array("md2", "raid1", {"sde", "sdf"});
                     },
                     {},
                     -2041},
                    {"vgmanage-create-disk",
                     {"vgmanage", "-C", "-c", "5", "-n", "new", "-d", "0"},
                     nothing,
                     {},
                     -2041},
                    {"vgmanage-create-both",
                     {"vgmanage", "-C", "-c", "md2,7", "-n", "new", "-d", "0"},
                     [](A& on) {
                         on.has_array("md2", "raid1", {"sde", "sdf"});
                     },
                     {},
                     -2041},
                    {"vgmanage-delete-array",
                     {"vgmanage", "--delete", "-n", "new"},
                     [](A& on) {
                         on.has_array("md2", "raid1", {"sde", "sdf"}).has_group("new", "/dev/md2");
                         on.has_backup("new", {}, "/dev/md2", "ID-new-md2");
                     },
                     {},
                     -2046},
                    {"vgmanage-delete-disk",
                     {"vgmanage", "-D", "-n", "new"},
                     [](A& on) { on.has_group("new", "/dev/sde"); },
                     {},
                     -2046},
                    {"vgmanage-delete-restored",
                     {"vgmanage", "-D", "-n", "more"},
                     [](A& on) { on.has_backup("more", {}, "/dev/md7", "gone-1"); },
                     {},
                     -2046},
                });
}

void add_pools(std::vector<Action>& rows) {
    rows.insert(
        rows.end(),
        {
            {"lvmanage-display",
             {"lvmanage", "--display"},
             [](A& on) { on.has_pool("data", "pool"); },
             {}},
            {"lvmanage-display-one",
             {"lvmanage", "-S", "-n", "/dev/data/pool"},
             [](A& on) { on.has_pool("data", "pool"); },
             {}},
            {"lvmanage-create",
             {"lvmanage", "--create", "-L", "2", "-n", "pool", "data"},
             nothing,
             {},
             -327},
            {"lvmanage-delete",
             {"lvmanage", "--delete", "-n", "pool", "data"},
             [](A& on) { on.has_pool("data", "pool"); },
             {},
             -2055},
            {"lvmanage-delete-healthy",
             {"lvmanage", "-D", "-n", "pool", "data"},
             [](A& on) {
                 on.has_pool("data", "pool")
                     .has_backup("data", {"pool"}, "/dev/md0", "ID-data-md0");
             },
             {},
             -2055},
            {"lvmanage-delete-restored",
             {"lvmanage", "-D", "-n", "pool", "data"},
             [](A& on) {
                 on.has_pool("data", "pool").has_backup("data", {"pool"}, "/dev/md7", "gone-1");
             },
             {},
             -2055},
        });
}

void add_file_systems(std::vector<Action>& rows) {
    const Texts create = {"fsmanage", "--create", "-n", "pool", "-s", "2", "-g", "data"};
    const Texts remove = {"fsmanage", "--delete", "-n", "pool", "-g", "data"};
    const Texts repair = {"fsmanage", "--repair", "-n", "pool", "-g", "data"};
    rows.insert(
        rows.end(),
        {
            {"fsmanage-display",
             {"fsmanage", "--display"},
             [](A& on) { on.has_file_system("pool"); },
             {},
             -1,
             255},
            {"fsmanage-create", create, nothing, {mdfstab}, -327},
            {"fsmanage-create-reiserfs", create, nothing, {mdfstab}, -327, 0, "KOR7206LB"},
            {"fsmanage-create-nasconf", create, nothing, {mdfstab}, -327, 0, "VEL7205E"},
            {"fsmanage-delete-healthy",
             remove,
             [](A& on) {
                 on.has_file_system("pool").has_backup("data", {"pool"}, "/dev/md0", "ID-data-md0");
             },
             {mdfstab},
             0},
            {"fsmanage-delete-without-backup",
             remove,
             [](A& on) { on.has_file_system("pool"); },
             {mdfstab},
             0},
            {"fsmanage-delete-restored",
             remove,
             [](A& on) {
                 on.has_file_system("pool").has_backup("data", {"pool"}, "/dev/md7", "gone-1");
             },
             {mdfstab},
             0},
            {"fsmanage-repair", repair, [](A& on) { on.has_file_system("pool"); }, {mdfstab}},
            {"fsmanage-repair-reiserfs",
             repair,
             [](A& on) { on.has_file_system("pool", "reiserfs"); },
             {mdfstab},
             0,
             0,
             "KOR7206LB"},
        });
}

void add_network_disks(std::vector<Action>& rows) {
    const Texts create = {"netmanage", "--create", "-n", "disk", "-g", "sdf"};
    rows.insert(rows.end(),
                {
                    {"netmanage-display",
                     {"netmanage", "--display"},
                     [](A& on) { on.has_network_disk("disk", "sdf"); },
                     {},
                     -1,
                     255},
                    {"netmanage-create", create, nothing, {netfstab}, -327},
                    {"netmanage-create-reiserfs", create, nothing, {netfstab}, -327, 0, "VEL7206P"},
                    {"netmanage-delete",
                     {"netmanage", "--delete", "-n", "disk"},
                     [](A& on) { on.has_network_disk("disk", "sdf"); },
                     {netfstab}},
                    {"netmanage-repair",
                     {"netmanage", "--repair", "-n", "disk"},
                     [](A& on) { on.has_network_disk("disk", "sdf"); },
                     {netfstab}},
                });
}

// What must not be touched: disks, arrays and pools in use.
void add_refusals(std::vector<Action>& rows) {
    const auto add = [&rows](const char* name, const Texts& arguments, void (*prepare)(A&),
                             int code) {
        rows.push_back({name, arguments, prepare, {}, code, code & 0xff});
    };
    const auto on_disk = [](A& on) { on.has_group("new", "/dev/sde"); };
    const Texts spare = {"diskmanage", "--hotspare", "-a", "5", "-d", "0"};
    const Texts mirror = {"mdmanage", "--create", "-n", "md2", "-l", "1", "-d", "0", "5,6"};
    const Texts group = {"vgmanage", "--create", "-c", "5", "-n", "other", "-d", "0"};
    const auto in_array = [](A& on) { on.has_array("md3", "raid1", {"sde", "sdf"}); };
    const auto as_spare = [](A& on) { on.has_hotspare("sde"); };
    add("diskmanage-refused-hotspare-of-group", spare, on_disk, -201);
    add("diskmanage-refused-hotspare-of-array", spare, in_array, -201);
    add("mdmanage-refused-create-on-group", mirror, on_disk, -2030);
    add("mdmanage-refused-create-on-array", mirror, in_array, -2030);
    add("mdmanage-refused-create-on-hotspare", mirror, as_spare, -2030);
    add("mdmanage-refused-delete-under-group", {"mdmanage", "--delete", "-n", "md0"}, nothing,
        -2035);
    add("mdmanage-refused-recover-running", {"mdmanage", "--recover", "-n", "md0"}, nothing, -411);
    add("vgmanage-refused-create-on-array", group, in_array, -2043);
    add("vgmanage-refused-create-on-hotspare", group, as_spare, -2043);
    add("vgmanage-refused-create-under-group",
        {"vgmanage", "--create", "-c", "md0", "-n", "other", "-d", "0"}, nothing, -2045);
    add(
        "fsmanage-refused-create-on-pool",
        {"fsmanage", "--create", "-n", "pool", "-s", "2", "-g", "data"},
        [](A& on) { on.has_pool("data", "pool"); }, -2051);
}

Texts share(const char* mode, const char* service, const Texts& more = {}) {
    Texts arguments = {"sharemanage", mode, "-n", "pub", "-f", service};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

void add_new_shares(std::vector<Action>& rows) {
    const auto create = [](const char* service, const Texts& more = {}) {
        Texts arguments = share("--create", service, {"-s", "2"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        arguments.emplace_back("data");
        return arguments;
    };
    const auto restore = [](const char* service, const Texts& more = {}) {
        Texts arguments = share("--restore", service, {"-s", "2"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        arguments.emplace_back("data");
        return arguments;
    };
    const auto lost = [](A& on) { on.has_pool("data", "pub"); };
    rows.insert(
        rows.end(),
        {
            {"sharemanage-create-samba", create("SAMBA", {"-u", "anna", "-x", "ro", "-c", "all"}),
             nothing, with_mounts(of_samba()), -514},
            {"sharemanage-create-nfs", create("NFS", {"-u", "10.0.0.7"}), nothing,
             with_mounts(of_nfs()), -514},
            {"sharemanage-create-ftp", create("FTP"), nothing, with_mounts(of_ftp()), -514},
            {"sharemanage-create-ftp-user", create("FTP", {"-u", "anna"}), nothing,
             with_mounts(of_ftp()), -514},
            {"sharemanage-create-iscsi", create("ISCSI", {"-u", "anna"}), nothing, of_iscsi(),
             -514},
            {"sharemanage-restore-samba", restore("SAMBA", {"-u", "anna"}), lost,
             with_mounts(of_samba())},
            {"sharemanage-restore-nfs", restore("NFS", {"-u", "10.0.0.7"}), lost,
             with_mounts(of_nfs())},
            {"sharemanage-restore-ftp", restore("FTP"), lost, with_mounts(of_ftp())},
            {"sharemanage-restore-iscsi", restore("ISCSI"), lost, of_iscsi()},
        });
}

void add_deleted_shares(std::vector<Action>& rows) {
    const Texts remove = {"sharemanage", "--delete", "-n", "pub"};
    rows.insert(
        rows.end(),
        {
            {"sharemanage-delete-samba", remove, [](A& on) { on.has_share("samba", "anna"); },
             with_mounts(of_samba()), -501},
            {"sharemanage-delete-nfs", remove, [](A& on) { on.has_share("nfs"); },
             with_mounts(of_nfs()), -501},
            {"sharemanage-delete-ftp", remove, [](A& on) { on.has_share("ftp"); },
             with_mounts(of_ftp()), -501},
            {"sharemanage-delete-ftp-user", remove, [](A& on) { on.has_share("ftp", "anna"); },
             with_mounts(of_ftp()), -501},
            {"sharemanage-delete-iscsi", remove, [](A& on) { on.has_share("iscsi", "anna"); },
             of_iscsi(), -501},
            {"sharemanage-delete-forbidden-samba", remove,
             [](A& on) { on.has_forbidden_share("samba"); }, with_mounts(of_samba()), -501},
            {"sharemanage-delete-forbidden-nfs", remove,
             [](A& on) { on.has_forbidden_share("nfs"); }, with_mounts(of_nfs()), -501},
            {"sharemanage-delete-healthy", remove,
             [](A& on) {
                 on.has_share("samba").has_backup("data", {"pub"}, "/dev/md0", "ID-data-md0");
             },
             with_mounts(of_samba()), -501},
            {"sharemanage-delete-restored", remove,
             [](A& on) { on.has_share("samba").has_backup("data", {"pub"}, "/dev/md7", "gone-1"); },
             with_mounts(of_samba()), -501},
        });
}

void add_edited_shares(std::vector<Action>& rows) {
    const auto used = [](const char* service, const Texts& more = {}) {
        Texts arguments = share("--edit", service, more);
        arguments.insert(arguments.end(), {"-b", "1"});
        return arguments;
    };
    const auto forbidden = [](const char* service) {
        return share("--edit", service, {"-b", "0"});
    };
    rows.insert(
        rows.end(),
        {
            {"sharemanage-edit-samba", used("SAMBA", {"-u", "anna,bert", "-x", "ro", "-c", "new"}),
             [](A& on) { on.has_share("samba", "anna"); }, of_samba()},
            {"sharemanage-edit-nfs", used("NFS", {"-u", "10.0.0.8"}),
             [](A& on) { on.has_share("nfs", "10.0.0.7"); }, of_nfs()},
            {"sharemanage-edit-ftp-user", used("FTP", {"-u", "carla"}),
             [](A& on) { on.has_share("ftp", "anna"); }, of_ftp()},
            {"sharemanage-edit-iscsi", used("ISCSI", {"-u", "anna"}),
             [](A& on) { on.has_share("iscsi"); }, of_iscsi()},
            {"sharemanage-forbid-samba", forbidden("SAMBA"),
             [](A& on) { on.has_share("samba", "anna"); }, of_samba()},
            {"sharemanage-forbid-nfs", forbidden("NFS"),
             [](A& on) { on.has_share("nfs", "10.0.0.7"); }, of_nfs()},
            {"sharemanage-forbid-ftp", forbidden("FTP"), [](A& on) { on.has_share("ftp"); },
             with_mounts(of_ftp())},
            {"sharemanage-forbid-ftp-user", forbidden("FTP"),
             [](A& on) { on.has_share("ftp", "anna"); }, with_mounts(of_ftp())},
            {"sharemanage-edit-forbidden", share("--edit", "SAMBA", {"-u", "bert", "-b", "0"}),
             [](A& on) { on.has_forbidden_share("samba"); }, of_samba()},
            {"sharemanage-use-samba", used("SAMBA"), [](A& on) { on.has_forbidden_share("samba"); },
             with_mounts(of_samba())},
            {"sharemanage-use-nfs", used("NFS"), [](A& on) { on.has_forbidden_share("nfs"); },
             with_mounts(of_nfs())},
            {"sharemanage-use-ftp", used("FTP"), [](A& on) { on.has_forbidden_share("ftp"); },
             with_mounts(of_ftp())},
            {"sharemanage-use-ftp-from-samba",
             used("FTP", {"-u", "anna"}),
             [](A& on) { on.has_forbidden_share("samba"); },
             {share_register, smb_recycle, exports_recycle, mdfstab, passwd, "/etc/vsftpd*"}},
        });
}

void add_kept_shares(std::vector<Action>& rows) {
    const auto repair = [](const char* service) { return share("--repair", service, {"data"}); };
    rows.insert(
        rows.end(),
        {
            {"sharemanage-display",
             {"sharemanage", "--display"},
             [](A& on) { on.has_share("samba", "anna"); },
             {}},
            {"sharemanage-display-one",
             {"sharemanage", "-S", "-n", "pub"},
             [](A& on) { on.has_share("nfs"); },
             {}},
            {"sharemanage-repair-samba", repair("SAMBA"),
             [](A& on) { on.has_share("samba", "anna"); }, with_mounts(of_samba())},
            {"sharemanage-repair-nfs", repair("NFS"),
             [](A& on) { on.has_share("nfs", "10.0.0.7"); }, with_mounts(of_nfs())},
            {"sharemanage-repair-ftp", repair("FTP"), [](A& on) { on.has_share("ftp", "anna"); },
             with_mounts(of_ftp())},
            {"sharemanage-repair-iscsi", repair("ISCSI"), [](A& on) { on.has_share("iscsi"); }, {}},
            {"sharemanage-repair-reiserfs", repair("SAMBA"), [](A& on) { on.has_share("samba"); },
             with_mounts(of_samba()), 0, 0, "KOR7206LB"},
            {"sharemanage-repair-reiserfs-local", repair("SAMBA"),
             [](A& on) { on.has_share("samba"); }, with_mounts(of_samba()), 0, 0, "VEL7205P"},
        });
}

} // namespace

bool Action::is_listing() const {
    return name.find("-display") != std::string::npos || arguments[0] == "disksmart";
}

bool Action::is_refusal() const {
    return name.find("-refused-") != std::string::npos;
}

bool Action::may_change_file(const std::string& path) const {
    if (path.starts_with("/etc/lvm/")) {
        return true; // LVM's own
    }
    return std::any_of(may_change.begin(), may_change.end(), [&path](const std::string& pattern) {
        return pattern.ends_with('*') ? path.starts_with(pattern.substr(0, pattern.size() - 1))
                                      : path == pattern;
    });
}

const std::vector<Action>& actions() {
    static const std::vector<Action> all = [] {
        std::vector<Action> rows;
        for (const auto add :
             {add_disks, add_arrays, add_array_changes, add_groups, add_pools, add_file_systems,
              add_network_disks, add_new_shares, add_deleted_shares, add_edited_shares,
              add_refusals, add_kept_shares}) {
            add(rows);
        }
        return rows;
    }();
    return all;
}

void prepare(const Action& action, Appliance& appliance) {
    appliance.file("/state/smart", "Device Model:     DISK\nSerial Number:    1\n"
                                   "SMART overall-health self-assessment test result: PASSED\n");
    action.prepare(appliance);
}

} // namespace zav::test
