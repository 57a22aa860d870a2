// SPDX-License-Identifier: MIT
// campaign_system_calls [--sample] [--only ACTION]: each system call of every changing action
// fails, one per run. Each file is the old or the new one, or its journal is there; nothing is left
// over; 0 means that all is as without the failure, or that the log tells what the action does not;
// the same action succeeds afterwards.
#include "interruption.h"

#include <cstdio>
#include <exception>

namespace {

using namespace zav::campaign;

// How each call can fail. Others cannot, or only tell what is known.
const std::map<std::string, std::vector<std::string>> failures = {
    {"openat", {"EMFILE", "EIO"}},
    {"read", {"EIO"}},
    {"write", {"ENOSPC", "EIO"}},
    {"pwrite64", {"ENOSPC"}},
    {"fallocate", {"ENOSPC"}},
    {"ftruncate", {"EIO"}},
    {"fsync", {"EIO"}},
    {"fdatasync", {"EIO"}},
    {"syncfs", {"EIO"}},
    {"rename", {"EIO"}},
    {"link", {"EMLINK"}},
    {"unlink", {"EIO"}},
    {"rmdir", {"EIO"}},
    {"close", {"EIO"}},
    {"fcntl", {"ENOLCK"}},
    {"flock", {"ENOLCK"}},
    {"vfork", {"EAGAIN"}},
    {"clone3", {"EAGAIN"}},
    {"clone", {"EAGAIN"}},
    {"mkdir", {"ENOSPC"}},
    {"mmap", {"ENOMEM"}},
    {"mremap", {"ENOMEM"}},
    {"brk", {"ENOMEM"}},
    {"lseek", {"EIO"}},
    {"newfstatat", {"EIO"}},
    {"getdents64", {"EIO"}},
    {"fchmod", {"EPERM"}},
    {"fchown", {"EPERM"}},
};

std::vector<Disturbance> disturbances(const std::map<std::string, Recording>& recordings) {
    std::vector<Disturbance> all;
    for (const auto& [action, recording] : recordings) {
        bool is_in_main = false; // before it, the C library ends a program without memory itself
        for (const SystemCall& call : recording.distinct_calls()) {
            is_in_main = is_in_main || call.name == "umask";
            const auto found = failures.find(call.name);
            if (found == failures.end() || !is_in_main) {
                continue;
            }
            for (const std::string& error : found->second) {
                all.push_back({action, call.name, call.number, "error=" + error});
            }
        }
    }
    return all;
}

} // namespace

int main(int argc, char** argv) {
    const zav::test::CampaignOptions options =
        zav::test::campaign_options(argc, argv, interruptions_per_processor);
    try {
        const auto recordings = record_actions(options);
        const std::vector<Disturbance> all = disturbances(recordings);
        return zav::test::status_of({run_interruptions(
            options, "system calls", "one call of an action failing", recordings, all)});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "system calls: %s\n", error.what());
        return 1;
    }
}
