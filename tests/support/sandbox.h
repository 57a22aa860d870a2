// SPDX-License-Identifier: MIT
// Namespaces and mounts of a run.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace zav::test {

struct Mount {
    std::string source; // of a directory or a file that is bound
    std::string target; // on the host, below the root
    bool writable = false;
    std::string size = {}; // of a file system in memory that is mounted instead
};

struct Sandbox {
    std::string root;
    std::vector<Mount> mounts;
    std::string proc; // where procfs is mounted, on the host
};

// Creates a child in new user, mount and PID namespaces, in which it is process 1. Returns twice
// like fork(). Throws in the parent if the system does not allow it.
pid_t fork_into_namespaces();
// Parent: maps the ids of the child's user namespace. For root, all ids keep their numbers;
// otherwise the caller becomes uid 0, the only one.
void map_ids(pid_t child);
// Child: makes the sandbox's tree its root. Throws std::runtime_error.
void enter(const Sandbox& sandbox);
// Child: becomes `id` for good.
void drop_privileges(uid_t id);

} // namespace zav::test
