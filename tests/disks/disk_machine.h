// SPDX-License-Identifier: MIT
// What the tests of the disk commands share: an appliance with four disks, and what a run did.
#pragma once

#include "machine.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace zav::test {

inline constexpr auto diskformat_tool = "/usr/local/bin/diskformat";
inline constexpr auto hotspare_tool = "/usr/local/bin/hotspare";

// The commands of a run that change something, without their redirections.
inline std::vector<std::string> changes(const Result& result) {
    std::vector<std::string> commands = result.commands_without_redirection();
    std::erase_if(commands, [](const std::string& command) {
        return !command.starts_with("/usr/local/bin/diskformat ") &&
               !command.starts_with("/usr/local/bin/hotspare -a ") &&
               !command.starts_with("/usr/local/bin/hotspare -r ") &&
               !command.starts_with("/sbin/mdadm /dev/");
    });
    return commands;
}

// sda to sdd on channels 1 to 4 of device "0", none of them in use.
class DiskMachine : public Machine {
  public:
    explicit DiskMachine(const std::string& model = "KOR7206H") : Machine(model) { disks(4); }

    // sda and sdb in md1.
    DiskMachine& with_array() {
        array({.name = "md1", .level = "raid1", .members = {{.name = "sda"}, {.name = "sdb"}}});
        return *this;
    }

    std::vector<std::string> messages() const {
        std::vector<std::string> texts;
        for (const LogLine& line : log()) {
            texts.push_back(line.text);
        }
        return texts;
    }

    // The controller's directory is gone: no disk list can be built.
    DiskMachine& without_disk_list() {
        remove("/proc/scsi/mvSata");
        return *this;
    }
};

// A run that failed: exit status, the line for the front end alone on standard output, and the
// last line of the log.
inline void expect_failure(const DiskMachine& machine, const Result& result, int code,
                           const std::string& message) {
    EXPECT_EQ(result.exit_status, code & 0xff);
    EXPECT_EQ(result.out, "for errno '" + std::to_string(code) + "'\n");
    EXPECT_EQ(result.err, "");
    ASSERT_FALSE(machine.log().empty());
    EXPECT_EQ(machine.log().back().text, message + ": return with " + std::to_string(code));
}

} // namespace zav::test
