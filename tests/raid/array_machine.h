// SPDX-License-Identifier: MIT
// An appliance whose arrays a test changes: disks of a known order, groups, tools that do as they
// are told, and the outside commands that each list costs.
#pragma once

#include "array_root.h"

#include <gmock/gmock.h>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace zav::test {

using Texts = std::vector<std::string>;

inline Texts joined(std::initializer_list<Texts> parts) {
    Texts all;
    for (const Texts& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class ArrayMachine : public ArrayRoot {
  public:
    static constexpr auto reservations = "/tmp/mdname.test";
    static constexpr auto diskformat = "/usr/local/bin/diskformat";

    explicit ArrayMachine(const std::string& product_model = "VEL5000") : ArrayRoot(product_model) {
        mdstat("Personalities : [linear] [raid0] [raid1] [raid6] [raid5] [raid4]\n");
        tool(vgdisplay).on("/sbin/vgdisplay -c").optional();
        tool(pvdisplay).on("/sbin/pvdisplay -c").optional();
        tool(diskformat).any().optional();
        tool("/sbin/vgscan").on("/sbin/vgscan").optional();
        for (const char* change : {"-C", "-S", "--manage"}) {
            tool(mdadm).on_prefix(std::string("/sbin/mdadm ") + change).optional();
        }
    }

    // Up to six disks in one box, whose device is "1". The disk list has them in this order.
    ArrayMachine& box(const std::vector<std::pair<std::string, int>>& disks) {
        std::string status = "PCI location : 2,1\n";
        for (int line = 1; line < 9; ++line) {
            status += "controller line\n";
        }
        for (const auto& [name, channel] : disks) {
            status += "0 " + std::to_string((channel - 1) / 4) + " " +
                      std::to_string((channel - 1) % 4) + " - - - - - - *" + name + "\n";
        }
        file("/proc/scsi/mvSata/0", status);
        return *this;
    }

    // sda, sdb and so on on channels from 1 of device "1".
    ArrayMachine& box(int count) {
        std::vector<std::pair<std::string, int>> disks;
        for (int channel = 1; channel <= count; ++channel) {
            disks.emplace_back(std::string("sd") + static_cast<char>('a' + channel - 1), channel);
        }
        return box(disks);
    }

    // An array that runs with all its members.
    ArrayMachine& running(const std::string& name, const std::string& level,
                          const Texts& disk_names) {
        MemberStates states;
        for (const std::string& disk_name : disk_names) {
            states[disk_name] = "in_sync\n";
        }
        array(name, level, "clean", static_cast<int>(disk_names.size()), states);
        return *this;
    }

    ArrayMachine& hotspares(const std::string& names) {
        tool(hotspare)
            .on("/usr/local/bin/hotspare --list")
            .prints("Global hotspare disk: " + names + "\n")
            .optional();
        return *this;
    }

    // A volume group on devices such as /dev/md1.
    ArrayMachine& group(const std::string& name, const Texts& devices) {
        std::string volumes;
        for (const std::string& device : devices) {
            volumes += "  " + device + ":" + name +
                       ":4907008:-1:8:8:-1:4096:598:214:384:Egjnhg-z6qF-BPnS-uB6b\n";
        }
        tool(vgdisplay)
            .on("/sbin/vgdisplay -c")
            .prints("  " + name +
                    ":r/w:772:-1:0:2:0:-1:0:1:1:2449408:4096:598:384:214:NRVttr-kaGD\n")
            .optional();
        tool(pvdisplay).on("/sbin/pvdisplay -c").prints(volumes).optional();
        return *this;
    }

    ArrayMachine& without_group_list() {
        tool(vgdisplay).on("/sbin/vgdisplay -c").exits(5).optional();
        return *this;
    }

    ArrayMachine& without_array_list() {
        remove("/proc/mdstat");
        return *this;
    }

    // Runs mdmanage. Nothing may stay in /tmp but the file of reserved names.
    Result mdmanage(Texts arguments, const RunOptions& options = {}) {
        arguments.insert(arguments.begin(), "mdmanage");
        Result result = run(arguments, options);
        expect_clean();
        return result;
    }

    // Runs an operation of the library, under the same condition.
    Result operation(const std::function<int()>& function, const RunOptions& options = {}) {
        Result result = call(function, options);
        expect_clean();
        return result;
    }

    static constexpr auto vgdisplay = "/sbin/vgdisplay";
    static constexpr auto pvdisplay = "/sbin/pvdisplay";

  private:
    void expect_clean() const {
        for (const std::string& name : tmp()) {
            EXPECT_EQ(name, "mdname.test") << "left in /tmp";
        }
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

// Those of them that change something.
inline Texts changes(const Result& result) {
    Texts commands = outside(result);
    std::erase_if(commands, [](const std::string& command) {
        return command.starts_with("cat ") || command.find("--list") != std::string::npos ||
               command.find("--scan") != std::string::npos ||
               command.find("--detail") != std::string::npos ||
               command.find("display -c") != std::string::npos;
    });
    return commands;
}

// What the lists cost on a machine with one box and these arrays.
inline Texts disk_list_commands() {
    return {"cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX",
            "/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX"};
}

inline Texts array_list_commands(const Texts& arrays = {}) {
    Texts details;
    for (const std::string& name : arrays) {
        details.push_back("/sbin/mdadm --detail /dev/" + name + " > /tmp/" + name + ".XXXXXX");
    }
    const Texts mdstat = {"cat /proc/mdstat > /tmp/mdstat.XXXXXX"};
    return joined({mdstat, details, disk_list_commands(), mdstat});
}

inline Texts group_list_commands(const Texts& arrays = {}) {
    return joined({{"/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX"},
                   disk_list_commands(),
                   array_list_commands(arrays),
                   {"/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX"}});
}

// The last message of the log.
inline std::string last_message(const PrivateRoot& root) {
    const std::vector<LogLine> lines = root.log();
    return lines.empty() ? "" : lines.back().text;
}

// A run of mdmanage that failed: the exit status, the line for the front end as the last of the
// output, the line in the log.
inline void expect_failure(const PrivateRoot& root, const Result& result, int code) {
    const std::string number = std::to_string(code);
    EXPECT_EQ(result.exit_status, code & 0xff);
    EXPECT_THAT(result.out, testing::EndsWith("for errno '" + number + "'\n"));
    EXPECT_THAT(last_message(root),
                testing::MatchesRegex("mdmanage_main\\[[0-9]+\\]: return with " + number));
    EXPECT_EQ(result.err, "");
}

} // namespace zav::test
