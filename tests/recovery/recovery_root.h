// SPDX-License-Identifier: MIT
// An appliance with LVM's backups and the tools that bring a group back.
#pragma once

#include "machine.h"
#include "recovery/group_recovery.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace zav::test {

using Texts = std::vector<std::string>;

// A physical volume: its UUID and the device that the backup names.
struct Volume {
    std::string id;
    std::string device;
};

// A backup as LVM writes it, as far as it matters.
inline std::string backup_of(const std::vector<Volume>& volumes, const Texts& pools = {}) {
    std::string text = "vg1 {\n\tid = \"iRgk21-MGBg\"\n\tseqno = 2\n\n\tphysical_volumes {\n\n";
    int number = 0;
    for (const auto& [id, device] : volumes) {
        text += "\t\tpv" + std::to_string(number++) + " {\n\t\t\tid = \"" + id +
                "\"\n\t\t\tdevice = \"/dev/" + device +
                "\"\t# Hint only\n\n\t\t\tflags = []\n\t\t}\n";
    }
    text += "\t}\n\n\tlogical_volumes {\n\n";
    for (const std::string& pool : pools) {
        text += "\t\t" + pool + " {\n\t\t\tid = \"olvUbV-nXbg\"\n\t\t}\n";
    }
    return text + "\t}\n}\n";
}

// A line of pvdisplay -c.
inline std::string live(const std::string& id, const std::string& path) {
    return "  " + path + ":vg1:4907008:-1:8:8:-1:4096:598:0:598:" + id + "\n";
}

// The outside commands that change something, without the redirection of the error output.
inline Texts actions(const Result& result) {
    Texts commands;
    for (std::string command : result.commands_with_templates()) {
        command.resize(command.size() - std::min(command.size(), sizeof " 2>> /dev/null" - 1));
        const bool reads = command.starts_with("cat ") || command.ends_with(".XXXXXX");
        if (!reads) {
            commands.push_back(command);
        }
    }
    return commands;
}

class RecoveryMachine : public Machine {
  public:
    static constexpr auto backups = "/etc/lvm/backup";
    static constexpr auto pvdisplay = "/sbin/pvdisplay";
    static constexpr auto pvcreate = "/sbin/pvcreate";
    static constexpr auto vgcfgrestore = "/sbin/vgcfgrestore";
    static constexpr auto mdadm = "/sbin/mdadm";
    static constexpr auto dd = "/bin/dd";

    // md0 runs, md1 lost two of its three members.
    RecoveryMachine() {
        disks(6);
        array({.name = "md0", .level = "raid1", .members = {{"sda"}, {"sdb"}}});
        array({.name = "md1", .members = {{"sdc"}, {"sdd", "faulty"}, {"sde", "faulty"}}});
        tool(vgcfgrestore).any().as_default();
        tool(dd).any().as_default();
        tool(mdadm).on_prefix("/sbin/mdadm /dev/").as_default();
    }

    RecoveryMachine& backup(const std::string& group, const std::string& text) {
        file(std::string(backups) + "/" + group, text);
        return *this;
    }
    // What pvdisplay -c prints.
    RecoveryMachine& sees(const std::string& lines) {
        group_lines("", lines);
        return *this;
    }
    RecoveryMachine& sees_nothing_that_can_be_read() {
        tool(pvdisplay).on("/sbin/pvdisplay -c").does("rm -f /tmp/pvdisplay.*");
        return *this;
    }
    // The backups in the order of their directory.
    Texts backup_names() const {
        Texts names;
        for (const auto& entry : std::filesystem::directory_iterator(host_path(backups))) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    // Runs a function of the library. Nothing may stay in /tmp, and nothing below /etc may change.
    Result operation(const std::function<int()>& function, const RunOptions& options = {}) {
        const Snapshot before = snapshot();
        Result result = call(function, options);
        EXPECT_THAT(before.changes_to(snapshot()), testing::IsEmpty());
        return result;
    }
    Result restore(const std::string& text, const std::string& group = "vg1") {
        return operation([&] { return raid_restore(text, group.c_str()); });
    }

    // Messages of the log that hold `part`.
    Texts logged(const std::string& part = "") const {
        Texts texts;
        for (const LogLine& line : log()) {
            if (line.text.find(part) != std::string::npos) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }
};

} // namespace zav::test
