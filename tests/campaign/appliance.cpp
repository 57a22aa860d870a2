// SPDX-License-Identifier: MIT
#include "appliance.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

namespace zav::test {
namespace fs = std::filesystem;
namespace {

constexpr auto arrays_file = "/proc/mdstat";
constexpr auto mounts_file = "/proc/mounts";
constexpr auto pools_file = "/state/pools";
constexpr auto groups_file = "/state/groups";
constexpr auto volumes_file = "/state/volumes";
constexpr auto labels_file = "/state/labels";
constexpr auto hotspares_file = "/state/hotspares";

// Replaces a file of the state by what sed makes of it.
std::string edit(const std::string& path, const std::string& script) {
    return "sed -i \"" + script + "\" " + path + "; ";
}

const std::string make_array =
    "level=; name=; disks=; count=0\n"
    "while [ $# -gt 0 ]; do case $1 in\n"
    "  -l) level=$2; shift ;; -n) shift ;; -*) ;;\n"
    "  /dev/md*) name=${1#/dev/} ;;\n"
    "  *) disks=\"$disks ${1#/dev/}\" ;;\n"
    "esac; shift; done\n"
    "grep -q \"^$name :\" /proc/mdstat && exit 1\n"
    "case $level in linear) ;; *) level=raid$level ;; esac\n"
    "members=; table=; rm -rf /sys/block/$name; mkdir -p /sys/block/$name/md /state/detail\n"
    "for disk in $disks; do\n"
    "  members=\" $disk[$count]$members\"\n"
    "  mkdir -p /sys/block/$name/md/dev-$disk /sys/block/$disk/holders/$name\n"
    "  echo in_sync > /sys/block/$name/md/dev-$disk/state\n"
    "  table=\"$table       $count       8       0        $count      active sync   "
    "/dev/$disk\n\"\n"
    "  count=$((count + 1))\n"
    "done\n"
    "echo $count > /sys/block/$name/md/raid_disks; echo 0 > /sys/block/$name/md/degraded\n"
    "echo clean > /sys/block/$name/md/array_state; echo $level > /sys/block/$name/md/level\n"
    "sed -i '/^unused/d' /proc/mdstat\n"
    "printf '%s : active %s%s\\n      104857600 blocks super 1.2\\n      \\n' $name $level "
    "\"$members\" >> /proc/mdstat\n"
    "echo 'unused devices: <none>' >> /proc/mdstat\n"
    "printf '/dev/%s:\\n        Raid Level : %s\\n        Array Size : 104857600 (100.00 GiB)\\n"
    "      Raid Devices : %s\\n             State : clean \\n"
    "\\n    Number   Major   Minor   RaidDevice State\\n%s' $name $level $count \"$table\" "
    "> /state/detail/$name\n";

const std::string stop_array = "name=${2#/dev/}; grep -q \"^$name :\" /proc/mdstat || exit 1\n" +
                               edit(arrays_file, "/^$name :/,/^      $/d") +
                               "rm -rf /sys/block/$name /sys/block/*/holders/$name "
                               "/state/detail/$name";

const std::string change_array =
    "name=${2#/dev/}; disk=${4#/dev/}; member=/sys/block/$name/md/dev-$disk\n"
    "case $3 in\n"
    "--add) [ -e $member ] && exit 1; mkdir -p $member /sys/block/$disk/holders/$name; echo "
    "in_sync > $member/state; " +
    edit(arrays_file, "s/^$name : .*/& $disk[9]/") +
    " ;;\n"
    "-r) [ -e $member ] || exit 1; rm -rf $member /sys/block/$disk/holders/$name; " +
    edit(arrays_file, "/^$name :/s/ $disk\\[[0-9]*\\](F)//") + " ;;\nesac";

const std::string fail_member =
    "name=${1#/dev/}; disk=${3#/dev/}\n"
    "echo faulty > /sys/block/$name/md/dev-$disk/state; " +
    edit(arrays_file, "/^$name :/s/ $disk\\[[0-9]*\\]/&(F)/; /^$name :/s/(F)(F)/(F)/");

const std::string show_array = "cat /state/detail/${2#/dev/} 2>/dev/null || exit 1";

const std::string make_group =
    "name=$1; shift; grep -q \"^  $name:\" /state/groups && exit 5\n"
    "echo \"  $name:r/w:772:-1:0:1:0:-1:0:1:1:104857600:4096:25600:0:25600:ID-$name\" "
    ">> /state/groups\n"
    "for device; do echo \"  $device:$name:209715200:-1:8:8:-1:4096:25600:25600:0:"
    "ID-$name-${device#/dev/}\" >> /state/volumes; done";

// The kernel's table knows no limit: without room for it nothing is mounted or unmounted.
const std::string mount_it = "device=; type=; while [ $# -gt 1 ]; do case $1 in\n"
                             "  -t) type=$2; shift ;; -o) shift ;;\n"
                             "  -L) device=$(sed -n \"s/^$2 //p\" /state/labels); shift ;;\n"
                             "  *) device=$1 ;; esac; shift; done\n"
                             "[ -d $1 ] && [ -n \"$device\" ] || exit 32\n"
                             "grep -q \" $1 \" /proc/mounts && exit 32\n"
                             "all=$(cat /proc/mounts; echo \"$device $1 $type rw,relatime 0 0\")\n"
                             "echo \"$all\" > /state/new\n"
                             "[ \"$all\" = \"$(cat /state/new)\" ] && mv /state/new /proc/mounts"
                             " || { rm -f /state/new; exit 32; }";

const std::string make_labelled =
    "label=; while [ $# -gt 1 ]; do case $1 in -L) label=$2; shift ;; esac; shift; done\n"
    "case $1 in /dev/*/*) grep -q \"^  $1:\" /state/pools || exit 1 ;; esac\n"
    "[ -z \"$label\" ] || { sed -i \"/^$label /d\" /state/labels; "
    "echo \"$label $1\" >> /state/labels; }";

std::string pool_line(const std::string& group, const std::string& pool) {
    return "  /dev/" + group + "/" + pool + ":" + group + ":3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
}

} // namespace

Appliance::Appliance(const std::string& model) : ShareMachine(model) {
    for (const char* name : {"sde", "sdf", "sdg", "sdh"}) {
        disk({.name = name});
    }
    for (const char* path : {pools_file, groups_file, volumes_file, labels_file}) {
        file(path, "");
    }
    file(hotspares_file, "Global hotspare disk:\n");
    file("/etc/.pwd.lock", ""); // there since the first account was made
    directory("/etc/lvm/backup");
    directory("/mnt");
    declare_lvm();
    declare_arrays();
    declare_file_systems();
    declare_disks();
    remove_array("md0").remove_array("md1");
    has_array("md0", "raid1", {"sda", "sdb"}).has_array("md1", "raid1", {"sdc", "sdd"});
    has_group("data", "/dev/md0").has_group("more", "/dev/md1");
}

void Appliance::declare_lvm() {
    const auto shows = [this](const char* path, const std::string& text, const char* state,
                              const std::string& pattern) {
        tool(path).on(text + " -c").does("cat " + std::string(state)).optional();
        const std::string one = "grep \"" + pattern + "\" " + state + " || exit 5";
        tool(path).on_prefix(text + " -c ").does(one).optional();
        for (const char* group : {"data", "more"}) {
            tool(path).on(text + " -c " + group).does(one).optional();
        }
    };
    shows("/sbin/lvdisplay", "/sbin/lvdisplay", pools_file, "^  /dev/$2:");
    shows("/sbin/vgdisplay", "/sbin/vgdisplay", groups_file, "^  $2:");
    shows("/sbin/pvdisplay", "/sbin/pvdisplay", volumes_file, "^  $2:");
    tool("/sbin/lvcreate")
        .any()
        .does("grep -q \"^  /dev/$5/$4:\" /state/pools && exit 5\n"
              "echo \"  /dev/$5/$4:$5:3:1:-1:0:4194304:512:-1:0:-1:254:0\" >> /state/pools")
        .optional();
    tool("/sbin/lvremove")
        .any()
        .does("grep -q \"^  /dev/$2:\" /state/pools || exit 5\n" +
              edit(pools_file, "\\\\|^  /dev/$2:|d"))
        .optional();
    tool("/sbin/vgcreate").any().does(make_group).optional();
    tool("/sbin/vgremove")
        .any()
        .does("grep -q \"^  $1:\" /state/groups || exit 5\n" + edit(groups_file, "/^  $1:/d") +
              edit(volumes_file, "/^  [^:]*:$1:/d") + "\nrm -f \"/etc/lvm/backup/$1\"")
        .optional();
    tool("/sbin/pvcreate")
        .on_prefix("/sbin/pvcreate -u ")
        .does("echo \"  $3:data:209715200:-1:8:8:-1:4096:25600:25600:0:$2\" >> /state/volumes")
        .optional();
    tool("/sbin/vgcfgrestore").any().optional();
}

void Appliance::declare_arrays() {
    Tool mdadm = tool("/sbin/mdadm");
    mdadm.on_prefix("/sbin/mdadm -C ").does(make_array).optional();
    mdadm.on_prefix("/sbin/mdadm -S ").does(stop_array).optional();
    mdadm.on_prefix("/sbin/mdadm --manage ").does(change_array).optional();
    mdadm.on_prefix("/sbin/mdadm /dev/").does(fail_member).optional();
    mdadm.on_prefix("/sbin/mdadm -E ")
        .does("cat /state/superblock/${2#/dev/} 2>/dev/null || exit 1")
        .optional();
    for (const char* option : {"/sbin/mdadm --detail /dev/", "/sbin/mdadm -D /dev/"}) {
        mdadm.on_prefix(option).does(show_array).optional();
        for (const char* name : {"md0", "md1"}) {
            mdadm.on(std::string(option) + name).does(show_array).optional();
        }
    }
}

void Appliance::declare_file_systems() {
    for (const char* path : {pool_tool::mkfs_xfs, pool_tool::mkfs_reiserfs}) {
        tool(path).any().does(make_labelled).optional();
    }
    tool(pool_tool::mount).any().does(mount_it).optional();
    tool(pool_tool::umount)
        .any()
        .does("grep -q \" $1 \" /proc/mounts || exit 1\n"
              "left=$(sed \"\\\\| $1 |d\" /proc/mounts); echo \"$left\" > /state/new\n"
              "[ \"$left\" = \"$(cat /state/new)\" ] && mv /state/new /proc/mounts ||"
              " { rm -f /state/new; exit 1; }")
        .optional();
    for (const char* path : {pool_tool::mkdir, pool_tool::rm, pool_tool::chmod, pool_tool::mv}) {
        const std::string name = path;
        tool(path).any().does(name.substr(name.rfind('/') + 1) + " \"$@\"").optional();
    }
    tool("/bin/dd").any().optional();
}

void Appliance::declare_disks() {
    Tool hotspare = tool("/usr/local/bin/hotspare");
    hotspare.on("/usr/local/bin/hotspare --list")
        .does("cat " + std::string(hotspares_file))
        .optional();
    hotspare.on_prefix("/usr/local/bin/hotspare -a ")
        .does(edit(hotspares_file, "s|$| ${2#/dev/}|"))
        .optional();
    hotspare.on_prefix("/usr/local/bin/hotspare -r ")
        .does(edit(hotspares_file, "s| ${2#/dev/}||"))
        .optional();
    tool("/usr/local/sbin/smartctl").any().does("cat /state/smart").optional();
}

Appliance& Appliance::has_array(const std::string& name, const std::string& level,
                                const Texts& disks, int faulty) {
    const std::string folder = "/sys/block/" + name + "/md";
    std::string members;
    std::string table;
    int slot = 0;
    for (const std::string& disk : disks) {
        const bool has_failed = slot >= static_cast<int>(disks.size()) - faulty;
        const std::string number = std::to_string(slot++);
        members.insert(0, " " + disk + "[" + number + "]" + (has_failed ? "(F)" : ""));
        table += "       " + number + "       8       0        " + number + "      " +
                 (has_failed ? "faulty" : "active sync") + "   /dev/" + disk + "\n";
        file(folder + "/dev-" + disk + "/state", has_failed ? "faulty\n" : "in_sync\n");
        directory("/sys/block/" + disk + "/holders/" + name);
    }
    file(folder + "/raid_disks", std::to_string(slot) + "\n");
    file(folder + "/degraded", std::to_string(faulty) + "\n");
    file(folder + "/array_state", "clean\n").file(folder + "/level", level + "\n");
    file("/state/detail/" + name, "/dev/" + name + ":\n        Raid Level : " + level +
                                      "\n        Array Size : 104857600 (100.00 GiB)\n"
                                      "      Raid Devices : " +
                                      std::to_string(slot) +
                                      "\n             State : clean \n\n"
                                      "    Number   Major   Minor   RaidDevice State\n" +
                                      table);
    std::string text = read(arrays_file);
    const std::string end = "unused devices: <none>\n";
    text.insert(text.find(end), name + " : active " + level + members +
                                    "\n      104857600 blocks super 1.2\n      \n");
    file(arrays_file, text);
    return *this;
}

Appliance& Appliance::is_stopped(const std::string& name, const Texts& disks, int slots) {
    has_array(name, "raid5", disks);
    const std::string folder = "/sys/block/" + name + "/md";
    file(folder + "/array_state", "inactive\n").file(folder + "/level", "raid5\n");
    file(folder + "/raid_disks", std::to_string(slots) + "\n");
    const std::string detail = "/state/detail/" + name;
    std::string text = read(detail);
    const std::string count = "Raid Devices : ";
    text.replace(text.find(count) + count.size(), 1, std::to_string(slots));
    for (int slot = static_cast<int>(disks.size()); slot < slots; ++slot) {
        text += "       " + std::to_string(slot) + "       0       0        " +
                std::to_string(slot) + "      removed\n";
    }
    file(detail, text);
    return *this;
}

Appliance& Appliance::has_group(const std::string& name, const std::string& device) {
    file(groups_file, read(groups_file) + "  " + name +
                          ":r/w:772:-1:0:1:0:-1:0:1:1:104857600:4096:25600:0:25600:ID-" + name +
                          "\n");
    file(volumes_file, read(volumes_file) + "  " + device + ":" + name +
                           ":209715200:-1:8:8:-1:4096:25600:25600:0:ID-" + name + "-" +
                           device.substr(device.rfind('/') + 1) + "\n");
    return *this;
}

Appliance& Appliance::has_pool(const std::string& group, const std::string& pool) {
    file(pools_file, read(pools_file) + pool_line(group, pool));
    return *this;
}

Appliance& Appliance::has_hotspare(const std::string& disk) {
    file(hotspares_file, "Global hotspare disk: " + disk + "\n");
    return *this;
}

Appliance& Appliance::is_mounted(const std::string& device, const std::string& directory_path,
                                 const std::string& type) {
    directory(directory_path);
    file(mounts_file,
         read(mounts_file) + device + " " + directory_path + " " + type + " rw,relatime 0 0\n");
    return *this;
}

Appliance& Appliance::has_file_system(const std::string& pool, const std::string& type) {
    const std::string device = "/dev/data/" + pool;
    const std::string directory_path = "/mnt/data/" + pool;
    has_pool("data", pool).is_mounted(device, directory_path, type);
    file(mdfstab,
         read(mdfstab) + device + "\t" + directory_path + "\t" + type + "\tdefaults\t0 0\n");
    return *this;
}

Appliance& Appliance::has_network_disk(const std::string& label, const std::string& disk_name,
                                       const std::string& type) {
    const std::string directory_path = "/mnt/netdisk/" + label;
    file(labels_file, read(labels_file) + label + " /dev/" + disk_name + "\n");
    file("/dev/" + disk_name, "").symlink("../../" + disk_name, "/dev/disk/by-label/" + label);
    is_mounted("/dev/" + disk_name, directory_path, type);
    file(netfstab, read(netfstab) + "LABEL=" + label + "\t" + directory_path + "\t" + type +
                       "\tdefaults\t0 0\n");
    return *this;
}

Appliance& Appliance::has_share(const std::string& service, const std::string& users) {
    const bool is_ftp = service == "ftp";
    const bool is_iscsi = service == "iscsi";
    const std::string path = is_ftp     ? "/home/ftpuser/pub"
                             : is_iscsi ? "/dev/data/pub"
                                        : "/mnt/data/pub";
    shares({{.service = service, .path = path}});
    has_pool("data", "pub");
    if (!is_iscsi) {
        is_mounted("/dev/data/pub", path);
        file(mdfstab, "/dev/data/pub\t" + path + "\txfs\tdefaults\t0 0\n");
    }
    if (service == "samba") {
        file(smb_conf, samba_global + samba_section("pub", path, users));
    } else if (service == "nfs") {
        file(exports, path + " " + (users.empty() ? "*" : users) + "(rw,sync,no_root_squash)\n");
    } else if (is_iscsi) {
        file(targets, "Target iqn.2006-05.com.nas:pub.20240502140305\n" +
                          (users.empty() ? "" : "\tIncomingUser " + users + "\n") +
                          "\tLun 0 Path=/dev/data/pub,Type=fileio,IOMode=wb\n"
                          "\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n\tWthreads\t16\n");
    } else if (!users.empty()) {
        std::string accounts = read(passwd);
        const std::string home = "/home/" + users + ":";
        file(passwd, accounts.replace(accounts.find(home), home.size(), "/home/ftpuser:"));
        file("/etc/vsftpd/" + users, "write_enable=YES\nlocal_root=" + path + "\n", 0777);
    }
    return *this;
}

Appliance& Appliance::has_forbidden_share(const std::string& service) {
    const bool is_ftp = service == "ftp";
    const std::string path = is_ftp ? "/home/ftpuser/pub" : "/mnt/data/pub";
    shares({{.service = "", .path = path}});
    has_pool("data", "pub");
    if (!is_ftp) {
        is_mounted("/dev/data/pub", path);
        file(mdfstab, "/dev/data/pub\t" + path + "\txfs\tdefaults\t0 0\n");
    }
    if (service == "samba") {
        file(smb_recycle, samba_section("pub", path, "anna", "all", "writeable = no"));
    } else if (service == "nfs") {
        file(exports_recycle, path + " 10.0.0.7(rw,sync,no_root_squash)\n");
    }
    return *this;
}

Appliance& Appliance::has_backup(const std::string& group, const Texts& pools,
                                 const std::string& device, const std::string& id) {
    std::string text = group + " {\n\tphysical_volumes {\n\t\tpv0 {\n\t\t\tid = \"" + id +
                       "\"\n\t\t\tdevice = \"" + device + "\"\n\t\t}\n\t}\n\n\tlogical_volumes {\n";
    for (const std::string& pool : pools) {
        text += "\n\t\t" + pool + " {\n\t\t\tid = \"0\"\n\t\t}\n";
    }
    file("/etc/lvm/backup/" + group, text + "\t}\n}\n");
    return *this;
}

State Appliance::state() const {
    static const std::regex date("(:pub\\.)[0-9]{14}");
    State state;
    const std::string root = host_path("/").string();
    for (const char* folder : {"/etc", "/state", "/mnt", "/home"}) {
        for (const auto& entry : fs::recursive_directory_iterator(host_path(folder))) {
            const std::string path = "/" + entry.path().lexically_relative(root).string();
            state[path] =
                entry.is_regular_file() ? std::regex_replace(read(path), date, "$1DATE") : "";
        }
    }
    for (const char* path : {arrays_file, mounts_file}) {
        state[path] = read(path);
    }
    return state;
}

Texts Appliance::leftovers() const {
    Texts left;
    for (const std::string& name : tmp()) {
        // The file of reserved names stays, and what df told diskmanage.
        if (name != "mdname.test" && !name.starts_with("dfinfo.")) {
            left.push_back("/tmp/" + name);
        }
    }
    if (exists("/run/zavbox")) {
        for (const std::string& name : list("/run/zavbox")) {
            left.push_back("/run/zavbox/" + name);
        }
    }
    for (const auto& [path, content] : state()) {
        if (path.starts_with("/etc/") && path.ends_with(".zav")) {
            left.push_back(path);
        }
    }
    return left;
}

Texts differences(const State& one, const State& other) {
    Texts paths;
    for (const auto& [path, content] : one) {
        const auto found = other.find(path);
        if (found == other.end() || found->second != content) {
            paths.push_back(path);
        }
    }
    for (const auto& [path, content] : other) {
        if (!one.contains(path)) {
            paths.push_back(path);
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace zav::test
