// SPDX-License-Identifier: MIT
// A private root for the tools of tools/: scripts that run real programs, for which tools stand in
// that answer as recorded.
#pragma once

#include "private_root.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace zav::test {

class ToolsRoot : public PrivateRoot {
  public:
    ToolsRoot() {
        std::filesystem::copy(ZAV_TEST_TOOLS, host_path("/tools"),
                              std::filesystem::copy_options::recursive |
                                  std::filesystem::copy_options::copy_symlinks);
        for (const char* program :
             {"/usr/bin/awk", "/usr/bin/flock", "/usr/bin/mktemp", "/usr/bin/python3"}) {
            bind(program, program);
        }
        directory("/run/lock");
        directory("/sys/block");
    }

    // An adapter, by the path of the program that it is for.
    Result adapter(const std::string& program, const std::vector<std::string>& arguments) {
        return run(arguments, as("/tools/adapters" + program));
    }

    StartedRun start_adapter(const std::string& program,
                             const std::vector<std::string>& arguments) {
        return start(arguments, as("/tools/adapters" + program));
    }

    // The program itself, as it is without an adapter.
    Result bare(const std::string& command) {
        return run({"-c", command},
                   {.argv0 = "sh", .program = "/bin/sh", .time_limit = std::chrono::seconds(100)});
    }

    // A disk as the kernel has it.
    void disk(const std::string& name, const std::string& address = "0:0:0:0") {
        const std::string device = "/sys/devices/" + address;
        symlink(device, "/sys/block/" + name + "/device");
        symlink("/sys/block/" + name, "/sys/class/block/" + name);
        file(device + "/model", "DISK-2000\n");
        file(device + "/state", "running\n");
        file("/sys/block/" + name + "/size", "4194304\n");
        file("/dev/" + name, "");
    }

  private:
    static RunOptions as(const std::string& path) {
        return {.argv0 = path,
                .program = path,
                .environment = {{"LC_ALL", "C"}},
                .time_limit = std::chrono::seconds(60)};
    }
};

} // namespace zav::test
