// SPDX-License-Identifier: MIT
// A private root with disks and arrays as a test describes them, and what discovery finds there.
#pragma once

#include "disks/disk_record.h"
#include "private_root.h"
#include "raid/array_discovery.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace zav::test {

// The texts of an array record.
struct FoundArray {
    std::string name;
    std::string type;
    std::string status;
    std::string progress;
    std::uint64_t allsize = 0;
    std::uint64_t usedsize = 0;
    std::string members;
    std::string spare;
    std::string device;

    bool operator==(const FoundArray&) const = default;
    friend void PrintTo(const FoundArray& array, std::ostream* out) {
        *out << "{" << array.name << "|" << array.type << "|" << array.status << "|"
             << array.progress << "|" << array.allsize << "|" << array.usedsize << "|"
             << array.members << "|" << array.spare << "|" << array.device << "}";
    }
};

struct Discovery {
    Result run;
    int code = 0;
    std::vector<FoundArray> arrays;
};

// How a member's state file reads.
using MemberStates = std::map<std::string, std::string>;

class ArrayRoot : public PrivateRoot {
  public:
    static constexpr auto hotspare = "/usr/local/bin/hotspare";
    static constexpr auto vexadm = "/usr/local/bin/vexadm";
    static constexpr auto mdadm = "/sbin/mdadm";

    explicit ArrayRoot(const std::string& product_model = "VEL5000") {
        model(product_model);
        directory("/proc/scsi/mvSata");
        mdstat("");
        tool(hotspare)
            .on("/usr/local/bin/hotspare --list")
            .prints("Global hotspare disk:\n")
            .optional();
    }

    ArrayRoot& model(const std::string& product_model) {
        file("/etc/sys_info", "[product]\n\ttype = " + product_model + "\n");
        return *this;
    }

    // A disk on the main controller, whose device is "0": one status file for each disk.
    ArrayRoot& disk(const std::string& name, int channel) {
        std::string status = "PCI location : 1,4\n";
        for (int line = 1; line < 9; ++line) {
            status += "controller line\n";
        }
        const int port = channel > 9 ? 9 : channel - 1;
        status += "0 " + std::to_string(channel - 1 - port) + " " + std::to_string(port) +
                  " - - - - - - " + name + "\n";
        file("/proc/scsi/mvSata/" + std::to_string(channel), status);
        return *this;
    }

    // sda, sdb and so on, on channels from 1.
    ArrayRoot& disks(int count) {
        for (int channel = 1; channel <= count; ++channel) {
            disk(std::string("sd") + static_cast<char>('a' + channel - 1), channel);
        }
        return *this;
    }

    // Without it no disk list can be built.
    ArrayRoot& without_disk_controller() {
        remove("/proc/scsi/mvSata");
        return *this;
    }

    ArrayRoot& mdstat(const std::string& text) {
        file("/proc/mdstat", text);
        return *this;
    }

    // What mdadm says about an array.
    Rule detail(const std::string& array) {
        return tool(mdadm).on("/sbin/mdadm --detail /dev/" + array);
    }

    // The kernel's directory of an array.
    ArrayRoot& members(const std::string& array, const std::string& raid_disks,
                       const MemberStates& states) {
        const std::string md = "/sys/block/" + array + "/md";
        file(md + "/raid_disks", raid_disks);
        for (const auto& [disk, state] : states) {
            file(md + "/dev-" + disk + "/state", state);
        }
        return *this;
    }

    // An array that mdadm and the kernel know. The details end in the state.
    ArrayRoot& array(const std::string& name, const std::string& level, const std::string& state,
                     int raid_disks, const MemberStates& states) {
        mdstat(exists("/proc/mdstat") ? read("/proc/mdstat") + name + " : active " + level + "\n"
                                      : "");
        detail(name).prints("/dev/" + name + ":\n        Raid Level : " + level +
                            "\n        Array Size : 2097152 (2.00 GiB 2.15 GB)\n" +
                            "             State : " + state + " \n");
        return members(name, std::to_string(raid_disks) + "\n", states);
    }

    // Texts for the members of an array, joined by commas as the kernel's directory orders them.
    // `shown` says how a member is shown: sda(F).
    std::string in_directory_order(const std::string& array,
                                   const std::map<std::string, std::string>& shown) const {
        std::string joined;
        const std::string md = "/sys/block/" + array + "/md";
        for (const auto& entry : std::filesystem::directory_iterator(host_path(md))) {
            const std::string name = entry.path().filename();
            if (const auto found = shown.find(name.substr(std::min<size_t>(4, name.size())));
                name.starts_with("dev-") && found != shown.end()) {
                joined += (joined.empty() ? "" : ",") + found->second;
            }
        }
        return joined;
    }

    // Builds an array list inside.
    Discovery discover(const std::function<int(mdinfo_list&)>& source = get_mdinfo) {
        Discovery discovery;
        discovery.run = call([&source] {
            mdinfo_list list;
            const int code = source(list);
            return write_records(list) ? code : -1;
        });
        discovery.code = discovery.run.returned;
        discovery.arrays = read_records();
        return discovery;
    }

  private:
    static constexpr auto records = "/records";

    static bool write_records(const mdinfo_list& list) {
        std::FILE* out = std::fopen(records, "w");
        if (out == nullptr) {
            return false;
        }
        for (const mdinfo& array : list) {
            std::fprintf(out, "%s\t%s\t%s\t%s\t%llu\t%llu\t%s\t%s\t%s\n", array.name.c_str(),
                         array.type.c_str(), array.status.c_str(), array.progress.c_str(),
                         static_cast<unsigned long long>(array.allsize),
                         static_cast<unsigned long long>(array.usedsize), array.members.c_str(),
                         array.spare.c_str(), array.device.c_str());
        }
        return std::fclose(out) == 0;
    }

    std::vector<FoundArray> read_records() const {
        std::vector<FoundArray> arrays;
        std::istringstream lines(read(records));
        for (std::string line; std::getline(lines, line);) {
            std::istringstream fields(line);
            const auto next = [&fields] {
                std::string text;
                std::getline(fields, text, '\t');
                return text;
            };
            FoundArray array;
            for (std::string* text : {&array.name, &array.type, &array.status, &array.progress}) {
                *text = next();
            }
            array.allsize = std::stoull(next());
            array.usedsize = std::stoull(next());
            for (std::string* text : {&array.members, &array.spare, &array.device}) {
                *text = next();
            }
            arrays.push_back(array);
        }
        return arrays;
    }
};

// A list of arrays whose names are known: what the sources behind the first one start from.
inline mdinfo& add_array(mdinfo_list& list, const std::string& name, const std::string& type = "",
                         const std::string& status = "clean") {
    mdinfo& array = list.append();
    array.name = name;
    array.type = type;
    array.status = status;
    return array;
}

// The lines of the log without their beginnings, those of one function.
inline std::vector<std::string> log_texts(const PrivateRoot& root, const std::string& part = "") {
    std::vector<std::string> texts;
    for (const LogLine& line : root.log()) {
        if (line.text.find(part) != std::string::npos) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

} // namespace zav::test
