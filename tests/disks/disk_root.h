// SPDX-License-Identifier: MIT
// What the disk tests share: texts of the controller's status files, an appliance with disks, and
// records as short texts.
#pragma once

#include "disks/disk_record.h"
#include "frame/text.h"
#include "private_root.h"

#include <cstdio>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace zav::test {

/// The tools that discovery and annotation run.
namespace disk_tool {
inline constexpr char hotspare[] = "/usr/local/bin/hotspare";
inline constexpr char diskformat[] = "/usr/local/bin/diskformat";
inline constexpr char vexadm[] = "/usr/local/bin/vexadm";
} // namespace disk_tool

/// A port's line in a status file: adapter in field 1, port in field 2, disk name in field 9.
inline std::string port_line(const std::string& adapter, const std::string& port,
                             const std::string& disk) {
    return "1 " + adapter + " " + port + " disk running 4194304 512 0 0:0:0 " + disk;
}

/// A status file: nine counted lines, the location among them, then the ports' lines.
inline std::string status_file(const std::string& location, const std::vector<std::string>& ports) {
    std::string text = "SATA controller status\n"
                       "\n"
                       "Adapter         : 0\n"
                       "Ports           : 8\n"
                       "PCI location    : " +
                       location +
                       "\n"
                       "Driver          : sata\n"
                       "Address         : 0\n"
                       "Model           : controller\n"
                       "# adapter port type state sectors bytes box address name\n"
                       "--------------------------------------------------------\n";
    for (const std::string& line : ports) {
        text += line + "\n";
    }
    return text;
}

/// "name channel device" of each disk.
inline std::vector<std::string> places(const disk_list& list) {
    std::vector<std::string> rows;
    for (const disk_info& disk : list) {
        rows.push_back(
            format_text("%s %d %s", disk.name.c_str(), disk.channel, disk.device.c_str()));
    }
    return rows;
}

/// "name|channel|space|status|model|usage|device|hotspare" of each disk.
inline std::vector<std::string> rows(const disk_list& list) {
    std::vector<std::string> texts;
    for (const disk_info& disk : list) {
        texts.push_back(format_text("%s|%d|%llu|%s|%s|%s|%s|%d", disk.name.c_str(), disk.channel,
                                    static_cast<unsigned long long>(disk.space),
                                    disk.status.c_str(), disk.model.c_str(), disk.usage.c_str(),
                                    disk.device.c_str(), disk.hotspare));
    }
    return texts;
}

inline disk_info& add_disk(disk_list& list, const char* name, int channel,
                           const char* device = "0") {
    disk_info& disk = list.append();
    disk.name = name;
    disk.channel = channel;
    disk.device = device;
    return disk;
}

/// What a step of the discovery gave.
struct Discovery {
    int code;
    std::vector<std::string> disks;    // rows(), in the list's order
    std::vector<std::string> commands; // temporary files as XXXXXX
    std::string printed;               // by the step itself
};

/// An appliance: its model, the controller's status files, the kernel's files of each disk.
class DiskRoot : public PrivateRoot {
  public:
    explicit DiskRoot(const std::string& model = "VEL7205A") {
        file("/etc/sys_info", "[product]\n\ttype = " + model + "\n");
    }

    /// The controller's status file `name`, with these ports, on the first box.
    DiskRoot& ports(const std::string& name, const std::vector<std::string>& lines) {
        file("/proc/scsi/mvSata/" + name, status_file("1,4", lines));
        return *this;
    }
    DiskRoot& block(const std::string& name, const std::string& sectors,
                    const std::string& state = "running\n",
                    const std::string& model = "DISK-MODEL\n") {
        const std::string directory = "/sys/block/" + name;
        file(directory + "/size", sectors + "\n");
        file(directory + "/device/state", state);
        file(directory + "/device/model", model);
        return *this;
    }
    /// A disk of 2 GiB at a channel of the first box, known to controller and kernel. A status file
    /// of its own: only a file's first disk is where adapter and port say.
    DiskRoot& disk(const std::string& name, int channel) {
        const std::string port = std::to_string(channel - 1);
        ports(port, {port_line("0", port, name)});
        block(name, "4194304");
        return *this;
    }
    DiskRoot& hot_spares(const std::string& names) {
        tool(disk_tool::hotspare)
            .on("/usr/local/bin/hotspare --list")
            .prints("Global hotspare disk: " + names + "\n");
        return *this;
    }

    /// Runs a step on a list that `prepare` has filled.
    Discovery discover(
        const std::function<int(disk_list&)>& step,
        const std::function<void(disk_list&)>& prepare = [](disk_list&) {}) {
        const Result result = call([&] {
            disk_list list;
            prepare(list);
            const int code = step(list);
            std::puts("=");
            for (const std::string& row : rows(list)) {
                std::puts(row.c_str());
            }
            return code;
        });
        const std::size_t end = result.out.rfind("=\n");
        Discovery discovery{result.returned, {}, result.commands_with_templates(), ""};
        if (end != std::string::npos) {
            discovery.printed = result.out.substr(0, end);
            for (const auto row : split(std::string_view(result.out).substr(end + 2), "\n")) {
                discovery.disks.emplace_back(row);
            }
        }
        return discovery;
    }

    std::vector<std::string> log_texts() const {
        std::vector<std::string> texts;
        for (const LogLine& line : log()) {
            texts.push_back(line.text);
        }
        return texts;
    }
};

/// A failed command's line in the log, for a command that writes to a temporary file.
inline auto failed_capture(const std::string& command, const std::string& end,
                           const std::string& before_for = " ") {
    return testing::MatchesRegex("system\\(\"" + command + "\\.[A-Za-z0-9]{6}\"\\) return " + end +
                                 before_for + "for '.*'");
}

} // namespace zav::test
