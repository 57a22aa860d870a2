// SPDX-License-Identifier: MIT
// A machine on a plain server: the tools of tools/ are where they are installed, over recorded
// stand-ins of the system's programs.
#pragma once

#include "fixtures/share_machine.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <vector>

namespace zav::test {

template <class AnyMachine>
class WithTools : public AnyMachine {
  public:
    using AnyMachine::bind;
    using AnyMachine::directory;
    using AnyMachine::exists;
    using AnyMachine::read;
    using AnyMachine::run;
    using AnyMachine::tool;

    WithTools() {
        const std::filesystem::path tools = ZAV_TEST_TOOLS;
        for (const auto& one : std::filesystem::directory_iterator(tools / "lib")) {
            bind(one.path(), "/usr/lib/zavbox/" + one.path().filename().string());
        }
        for (const char* program :
             {"/etc/init.d/samba", "/etc/init.d/nfs", "/etc/init.d/vsftpd",
              "/etc/init.d/iscsi-target", "/bin/busybox", "/usr/local/bin/fxml",
              "/usr/local/bin/xconf", "/usr/local/bin/nasconf"}) {
            bind(tools.string() + "/adapters" + program, adapter(program));
        }
        for (const char* program : {"zavbox-md-event", "zavbox-recover", "zavbox-setup"}) {
            bind(tools / "sbin" / program, std::string("/usr/sbin/") + program);
        }
        // What busybox does otherwise, or not at all.
        for (const char* program :
             {"awk",       "basename", "chmod", "chown", "cksum",   "cmp",      "cp",
              "cut",       "date",     "find",  "flock", "grep",    "ln",       "install",
              "md5sum",    "mkdir",    "mv",    "paste", "python3", "readlink", "rm",
              "run-parts", "sed",      "sort",  "stat",  "sync",    "tr",       "uname"}) {
            bind(std::string("/usr/bin/") + program, std::string("/usr/bin/") + program);
        }
        recorded("/usr/bin/logger");
        directory("/run");
        directory("/var/lib");
    }

    // A stand-in that succeeds and whose calls are in calls().
    Rule recorded(const std::string& path) {
        return tool(path).any().does("echo \"${0##*/} $*\" >>/calls").optional();
    }

    // The calls of recorded stand-ins but of the system's log, and what went there.
    std::vector<std::string> calls() const { return lines_of_calls(false); }
    std::vector<std::string> logged() const { return lines_of_calls(true); }

    Result run_tool(const std::string& path, const std::vector<std::string>& arguments = {}) {
        return run(arguments, as(path));
    }

    // Looking for leaks wants every process in /proc, and a tool has more than a command.
    static RunOptions as(const std::string& path) {
        return {
            .argv0 = path,
            .program = path,
            .environment = {{"LC_ALL", "C"},
                            {"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"},
                            {"ASAN_OPTIONS", "detect_leaks=0:log_path=/.harness/run/sanitizer"}},
            .time_limit = std::chrono::seconds(100)};
    }

    // The program that an adapter is for.
    static std::string adapter(const std::string& program) {
        return "/usr/lib/zavbox/tools" + program;
    }

  private:
    std::vector<std::string> lines_of_calls(bool of_the_log) const {
        std::vector<std::string> result;
        std::istringstream text(exists("/calls") ? read("/calls") : "");
        for (std::string line; std::getline(text, line);) {
            if (line.starts_with("logger ") == of_the_log) {
                result.push_back(line);
            }
        }
        return result;
    }
};

// An appliance that shares folders.
using ServicesRoot = WithTools<ShareMachine>;

} // namespace zav::test
