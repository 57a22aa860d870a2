// SPDX-License-Identifier: MIT
#include "busy_machine.h"

#include <filesystem>

namespace zav::campaign {

using namespace test;

namespace {

// One file per pool and per mount; the mount table is put together from these under a lock.
constexpr auto show_pools = "for p in /state/pools/*; do [ -e $p ] && echo \"  /dev/data/${p##*/}:"
                            "data:3:1:-1:0:4194304:512:-1:0:-1:254:0\"; done; true";
constexpr auto show_pool = "[ -e /state/pools/${2##*/} ] || exit 5; echo \"  /dev/data/${2##*/}:"
                           "data:3:1:-1:0:4194304:512:-1:0:-1:254:0\"";
constexpr auto make_table = "cat /state/mounts/* > /state/table && mv /state/table /proc/mounts";

} // namespace

BusyMachine::BusyMachine() {
    bind("/usr/bin/flock", "/usr/bin/flock");
    remove("/state/pools").directory("/state/pools").directory("/state/labels.d");
    file("/state/lock", "").file("/state/mounts/0", "proc /proc proc rw 0 0\n");
    tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").does(show_pools).optional();
    tool(pool_tool::lvdisplay).on_prefix("/sbin/lvdisplay -c ").does(show_pool).optional();
    tool(pool_tool::lvcreate)
        .any()
        .does("[ ! -e /state/pools/$4 ] && : > /state/pools/$4")
        .optional();
    tool(pool_tool::lvremove).any().does("rm /state/pools/${2##*/}").optional();
    tool(pool_tool::mkdir).any().does("mkdir -p $4").optional();
    tool(pool_tool::rm).any().does("[ ! -d $2 ] || rmdir $2").optional();
    const std::string locked = "exec 9>/state/lock; /usr/bin/flock 9; ";
    tool(pool_tool::mount)
        .any()
        .does(locked +
              "while [ $# -gt 2 ]; do [ $1 != -L ] || label=$2; shift; done; "
              "[ -z \"$label\" ] || set -- $(cat /state/labels.d/$label) $2; "
              "m=/state/mounts/${2##*/}; [ ! -e $m ] && [ -d $2 ] || exit 32; "
              "echo \"$1 $2 xfs rw,relatime 0 0\" > $m; " +
              make_table)
        .optional();
    for (const char* path : {pool_tool::mkfs_xfs, pool_tool::mkfs_reiserfs}) {
        tool(path)
            .any()
            .does("while [ $# -gt 1 ]; do [ $1 != -L ] || label=$2; shift; done; "
                  "[ -z \"$label\" ] || echo $1 > /state/labels.d/$label")
            .optional();
    }
    tool(pool_tool::umount)
        .any()
        .does(locked + "m=/state/mounts/${1##*/}; [ -e $m ] || exit 32; rm $m; " + make_table)
        .optional();
}

Texts BusyMachine::left_over() const {
    Texts found;
    for (const std::string& name : tmp()) {
        found.push_back("left over: /tmp/" + name);
    }
    for (const char* folder : {"/etc", "/run"}) {
        if (!exists(folder)) {
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(host_path(folder))) {
            const std::string name = entry.path().filename();
            const bool is_hidden = name.starts_with('.') && name != ".pwd.lock";
            if (is_hidden || std::string(folder) == "/run") {
                found.push_back("left over: " + std::string(folder) + "/.../" + name);
            }
        }
    }
    return found;
}

} // namespace zav::campaign
