// SPDX-License-Identifier: MIT
// An appliance whose volume groups a test changes, and what a run did there.
#pragma once

#include "group_root.h"

#include <gmock/gmock.h>
#include <initializer_list>
#include <string>
#include <vector>

namespace zav::test {

using Texts = std::vector<std::string>;

namespace group_tool {
inline constexpr auto diskformat = "/usr/local/bin/diskformat";
inline constexpr auto pvcreate = "/sbin/pvcreate";
inline constexpr auto pvdisplay = "/sbin/pvdisplay";
inline constexpr auto pvremove = "/sbin/pvremove";
inline constexpr auto vgcreate = "/sbin/vgcreate";
inline constexpr auto vgdisplay = "/sbin/vgdisplay";
inline constexpr auto vgextend = "/sbin/vgextend";
inline constexpr auto vgremove = "/sbin/vgremove";
} // namespace group_tool

// sda to sdf are channels 1 to 6 of device "0", sdx is channel 4 of device "1". sda and sdb are in
// md0, sdc is in md1, the others are free. No groups, and no directory with LVM's backups.
class GroupMachine : public Machine {
  public:
    GroupMachine() {
        disks(6);
        disk({.name = "sdx", .channel = 4, .device = "1"});
        array({.name = "md0", .level = "raid1", .members = {{"sda"}, {"sdb"}}});
        array({.name = "md1", .level = "raid1", .members = {{"sdc"}}});
    }

    // A group on devices such as /dev/md1, with `allocated` extents of 4 MiB in the first.
    GroupMachine& on(const std::string& name, const Texts& devices, std::uint64_t allocated = 0) {
        MachineGroup record = {.name = name};
        for (const std::string& device : devices) {
            record.volumes.push_back({.device = device, .allocated = allocated});
            allocated = 0;
        }
        group(record);
        return *this;
    }

    // The same as the only group.
    GroupMachine& only_on(const std::string& name, const Texts& devices,
                          std::uint64_t allocated = 0) {
        group_lines("", "");
        return on(name, devices, allocated);
    }

    // Without it no disk list can be built.
    GroupMachine& without_disk_controller() {
        remove("/proc/scsi/mvSata");
        return *this;
    }

    // Runs vgmanage. Nothing may stay in /tmp.
    Result vgmanage(Texts arguments, const RunOptions& options = {}) {
        arguments.insert(arguments.begin(), "vgmanage");
        Result result = run(arguments, options);
        EXPECT_THAT(tmp(), testing::IsEmpty());
        return result;
    }

    // Runs an operation of the library, under the same condition.
    Result operation(const std::function<int()>& function, const RunOptions& options = {}) {
        Result result = call(function, options);
        EXPECT_THAT(tmp(), testing::IsEmpty());
        return result;
    }

    std::string last_message() const {
        const Texts messages = logged(*this);
        return messages.empty() ? "" : messages.back();
    }
};

// The outside commands of a run, temporary files by their templates, without the redirection of
// the error output that each must end in.
inline Texts outside(const Result& result) {
    const std::string redirection = " 2>> /dev/null";
    Texts commands = result.commands_with_templates();
    for (std::string& command : commands) {
        EXPECT_TRUE(command.ends_with(redirection)) << command;
        command.resize(command.size() - redirection.size());
    }
    return commands;
}

// Whether a command only reads: the lists of disks, arrays and groups are made of these.
inline bool is_reading(const std::string& command) {
    return command.starts_with("cat ") || command.find("--list") != std::string::npos ||
           command.find("--scan") != std::string::npos ||
           command.find("--detail") != std::string::npos ||
           command.find("display -c") != std::string::npos;
}

// Those of a run's commands that change something.
inline Texts changes(const Result& result) {
    Texts commands = outside(result);
    std::erase_if(commands, is_reading);
    return commands;
}

// The lists that a run built, by the command that is run once for each, and what it changed.
inline Texts steps(const Result& result) {
    Texts commands = outside(result);
    Texts found;
    for (const std::string& command : commands) {
        if (command.starts_with("/sbin/vgdisplay -c >")) {
            found.emplace_back("groups");
        } else if (command.starts_with("/sbin/pvdisplay")) {
            found.emplace_back("volumes");
        } else if (command.starts_with("/usr/local/bin/hotspare --list")) {
            found.emplace_back("disks");
        } else if (command.starts_with("/sbin/mdadm --detail /dev/md0")) {
            found.emplace_back("arrays");
        } else if (!is_reading(command) || command.starts_with("/sbin/vgdisplay")) {
            found.push_back(command);
        }
    }
    return found;
}

// The steps of an array list and of a group list, each with the lists that it builds itself.
inline const Texts array_list = {"arrays", "disks"};
inline const Texts group_list = {"groups", "disks", "arrays", "disks", "volumes"};

inline Texts joined(std::initializer_list<Texts> parts) {
    Texts all;
    for (const Texts& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// The log's line about a command that failed.
inline auto failed(const std::string& command, const std::string& end) {
    return testing::AllOf(
        testing::StartsWith("system(\"" + command + "\") return " + end + " for '"),
        testing::EndsWith("'"));
}

// The log's line of a function that returns a code.
inline auto returned(const std::string& function, int code) {
    return testing::MatchesRegex(function + "\\[[0-9]+\\]: return with " + std::to_string(code));
}

// A run of vgmanage that failed: the exit status, all of its output with the line for the front
// end at the end, the line in the log.
inline void expect_failure(const GroupMachine& machine, const Result& result, int code,
                           const std::string& before = "") {
    EXPECT_EQ(result.exit_status, code & 0xff);
    EXPECT_EQ(result.out, before + "for errno '" + std::to_string(code) + "'\n");
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(machine.last_message(), returned("vgmanage_main", code));
}

} // namespace zav::test
