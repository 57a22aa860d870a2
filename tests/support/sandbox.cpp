// SPDX-License-Identifier: MIT
#include "sandbox.h"

#include "standin/places.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <linux/capability.h>
#include <sched.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zav::test {
namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("private root: " + what + ": " + std::strerror(errno));
}

bool write_text(const std::string& path, const std::string& text) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const bool written =
        write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(descriptor);
    return written;
}

// The ids of this process's namespace, each mapped to itself.
std::string identity_map(const std::string& path) {
    std::ifstream in(path);
    std::string lines;
    unsigned long inside = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    while (in >> inside >> outside >> count) {
        std::ostringstream line;
        line << inside << ' ' << inside << ' ' << count << '\n';
        lines += line.str();
    }
    return lines;
}

// Mount flags that a user namespace must not remove from a mount of its parent.
unsigned long locked_flags(const std::string& path) {
    struct statvfs status {};
    if (statvfs(path.c_str(), &status) != 0) {
        return 0;
    }
    unsigned long flags = 0;
    const auto keep = [&](unsigned long seen, unsigned long flag) {
        if ((status.f_flag & seen) != 0) {
            flags |= flag;
        }
    };
    keep(ST_NOSUID, MS_NOSUID);
    keep(ST_NODEV, MS_NODEV);
    keep(ST_NOEXEC, MS_NOEXEC);
    keep(ST_NOATIME, MS_NOATIME);
    keep(ST_NODIRATIME, MS_NODIRATIME);
    keep(ST_RELATIME, MS_RELATIME);
    return flags;
}

void bind_mount(const Mount& one) {
    const char* target = one.target.c_str();
    if (!one.size.empty()) {
        if (mount("tmpfs", target, "tmpfs", MS_NOSUID | MS_NODEV, ("size=" + one.size).c_str()) !=
            0) {
            fail("cannot mount a file system at " + one.target);
        }
        return;
    }
    if (mount(one.source.c_str(), target, nullptr, MS_BIND, nullptr) != 0) {
        fail("cannot bind " + one.source + " to " + one.target);
    }
    if (one.writable) {
        return;
    }
    const unsigned long flags = MS_REMOUNT | MS_BIND | MS_RDONLY | locked_flags(one.target);
    if (mount(nullptr, target, nullptr, flags, nullptr) != 0) {
        fail("cannot make " + one.target + " read-only");
    }
}

} // namespace

pid_t fork_into_namespaces() {
    const auto clone_with = [](unsigned long spaces) {
        return static_cast<pid_t>(
            syscall(SYS_clone, spaces | CLONE_NEWNS | CLONE_NEWPID | SIGCHLD, 0, 0, 0, 0));
    };
    pid_t child = clone_with(CLONE_NEWUSER);
    if (child < 0 && geteuid() == 0) {
        child = clone_with(0);
    }
    if (child < 0) {
        fail("this system gives no user, mount and PID namespaces, which every private-root test "
             "needs (see user.max_user_namespaces, kernel.unprivileged_userns_clone, or the "
             "container's security profile)");
    }
    return child;
}

void map_ids(pid_t child) {
    const std::string folder = "/proc/" + std::to_string(child) + "/";
    if (geteuid() == 0 && write_text(folder + "uid_map", identity_map("/proc/self/uid_map")) &&
        write_text(folder + "gid_map", identity_map("/proc/self/gid_map"))) {
        return;
    }
    write_text(folder + "setgroups", "deny");
    const std::string user = "0 " + std::to_string(geteuid()) + " 1\n";
    const std::string group = "0 " + std::to_string(getegid()) + " 1\n";
    // Without its own user namespace the child already has ids, and this file cannot be written.
    if (!write_text(folder + "uid_map", user) && errno != EPERM) {
        fail("cannot map uid 0");
    }
    write_text(folder + "gid_map", group);
}

void enter(const Sandbox& sandbox) {
    const char* root = sandbox.root.c_str();
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        fail("cannot make the mounts private");
    }
    if (mount(root, root, nullptr, MS_BIND, nullptr) != 0) {
        fail("cannot bind the root to itself");
    }
    for (const Mount& one : sandbox.mounts) {
        bind_mount(one);
    }
    if (mount("proc", sandbox.proc.c_str(), "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) !=
            0 &&
        mount("/proc", sandbox.proc.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0) {
        fail("can neither mount procfs nor bind /proc");
    }
    if (chdir(root) != 0 || syscall(SYS_pivot_root, ".", ".") != 0) {
        fail("cannot change the root");
    }
    if (umount2(".", MNT_DETACH) != 0 || chdir("/") != 0) {
        fail("cannot leave the old root");
    }
}

void drop_privileges(uid_t id) {
    const gid_t group = id;
    if (setgroups(0, nullptr) == 0 && setresgid(group, group, group) == 0 &&
        setresuid(id, id, id) == 0) {
        return;
    }
    // Only one id is mapped: another user namespace gives it the wanted number, and without
    // capabilities it has no more privileges than any other.
    if (unshare(CLONE_NEWUSER) != 0) {
        fail("cannot drop to another uid");
    }
    const std::string self = std::string(places::proc) + "/self/";
    write_text(self + "setgroups", "deny");
    if (!write_text(self + "uid_map", std::to_string(id) + " 0 1\n") ||
        !write_text(self + "gid_map", std::to_string(group) + " 0 1\n")) {
        fail("cannot map another uid");
    }
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[2]{};
    if (syscall(SYS_capset, &header, none) != 0) {
        fail("cannot drop capabilities");
    }
}

} // namespace zav::test
