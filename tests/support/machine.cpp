// SPDX-License-Identifier: MIT
#include "machine.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace zav::test {
namespace {

// A controller status file with one disk. The box number comes from the PCI location, the channel
// from adapter and port. The disks are lines 9 to 14, counted from 0 without empty lines.
std::string controller_file(const MachineDisk& disk) {
    const int device = std::atoi(disk.device.c_str());
    if (device < 0 || device > 4 || (device > 0 && (disk.channel < 1 || disk.channel > 16))) {
        throw std::logic_error("no controller has a disk at channel " +
                               std::to_string(disk.channel) + " of device " + disk.device);
    }
    const char* location = "1,4"; // the main controller
    int adapter = std::clamp(disk.channel - 1, 0, 9);
    int port = disk.channel - 1 - adapter;
    if (device > 0) {
        location = device <= 2 ? "2,1" : "2,2";
        adapter = (disk.channel - 1) / 4 + (device % 2 == 0 ? 4 : 0);
        port = (disk.channel - 1) % 4;
    }
    std::ostringstream text;
    text << "Serial ATA controller\n"
         << "PCI location : 0," << location << "\n"
         << "Interrupt    : 18\n"
         << "Queue depth  : 31\n"
         << "Mode         : AHCI\n"
         << "Ports        : 4\n"
         << "\n"
         << "Connected    : 1\n"
         << "Disks\n"
         << "Id Adapter Port Target Lun Type Link Queue Cache Name\n"
         << "0  " << adapter << "  " << port << "  0  0  disk  3.0Gb/s  31  on  "
         << (device > 0 ? "*" : "") << disk.name << "\n";
    return text.str();
}

std::string device_table(const MachineArray& array) {
    std::ostringstream text;
    text << "\n    Number   Major   Minor   RaidDevice State\n";
    int slot = 0;
    for (const MachineMember& member : array.members) {
        const char* state = "active sync";
        if (member.state.starts_with("faulty")) {
            state = "faulty";
        } else if (member.state.starts_with("spare")) {
            state = "spare";
        }
        text << "       " << slot << "       8       " << slot * 16 << "        " << slot
             << "      " << state << "   /dev/" << member.name << "\n";
        ++slot;
    }
    return text.str();
}

std::string detail(const MachineArray& array) {
    std::ostringstream text;
    text << "/dev/" << array.name << ":\n"
         << "           Version : 1.2\n"
         << "     Creation Time : Fri Nov 20 10:00:00 2026\n"
         << "        Raid Level : " << array.level << "\n"
         << "        Array Size : " << array.size_kb << " (" << array.size_kb / 1048576
         << ".00 GiB)\n"
         << "      Raid Devices : " << array.raid_disks << "\n"
         << "     Total Devices : " << array.members.size() << "\n"
         << "       Persistence : Superblock is persistent\n\n"
         << "       Update Time : Fri Nov 20 11:00:00 2026\n"
         << "             State : " << array.state << " \n"
         << "    Active Devices : " << array.members.size() << "\n"
         << device_table(array);
    return text.str();
}

std::string mdstat_entry(const MachineArray& array) {
    std::ostringstream text;
    text << array.name << " : active " << array.level;
    for (size_t at = array.members.size(); at-- > 0;) {
        const MachineMember& member = array.members[at];
        text << ' ' << member.name << '[' << at << ']';
        if (member.state.starts_with("faulty")) {
            text << "(F)";
        } else if (member.state.starts_with("spare")) {
            text << "(S)";
        }
    }
    text << "\n      " << array.size_kb << " blocks super 1.2\n";
    if (!array.progress.empty()) {
        text << "      " << array.progress << "\n";
    }
    text << "      \n";
    return text.str();
}

} // namespace

Machine::Machine(const std::string& model_text) {
    model(model_text);
    directory("/proc/scsi/mvSata");
    directory("/sys/block");
    declare_tools();
    hotspares({});
    mounted({});
    group_lines("", "");
    write_mdstat();
}

void Machine::declare_tools() {
    for (const char* path :
         {"/usr/local/bin/hotspare", "/usr/local/bin/diskformat", "/usr/local/bin/xconf",
          "/usr/local/bin/nasconf", "/sbin/pvcreate", "/sbin/pvremove", "/sbin/vgcreate",
          "/sbin/vgextend", "/sbin/vgremove", "/sbin/vgscan"}) {
        tool(path).any().as_default();
    }
    Tool mdadm = tool("/sbin/mdadm");
    for (const char* beginning : {"/sbin/mdadm -C ", "/sbin/mdadm -S ", "/sbin/mdadm --manage "}) {
        mdadm.on_prefix(beginning).as_default();
    }
}

Machine& Machine::model(const std::string& text) {
    file("/etc/sys_info",
         "[product]\n\ttype = " + text + "\n[version]\n\tsoftware = 1.0.0\n\thardware = 1.0\n");
    return *this;
}

Machine& Machine::disk(MachineDisk disk) {
    if (disk.channel == 0) {
        disk.channel = static_cast<int>(disks_.size()) + 1;
    }
    disks_.push_back(disk);
    file("/proc/scsi/mvSata/" + std::to_string(disks_.size()), controller_file(disk));
    const std::string attributes = "/sys/block/" + disk.name;
    file(attributes + "/size", std::to_string(disk.sectors) + "\n");
    file(attributes + "/device/state", disk.state + "\n");
    file(attributes + "/device/model", disk.model + "\n");
    return *this;
}

Machine& Machine::disks(int count) {
    for (int at = 0; at < count; ++at) {
        disk({.name = std::string("sd") + static_cast<char>('a' + at)});
    }
    return *this;
}

Machine& Machine::hotspares(const std::vector<std::string>& names) {
    std::string line = "Global hotspare disk:";
    for (const std::string& name : names) {
        line += " " + name;
    }
    tool("/usr/local/bin/hotspare")
        .on("/usr/local/bin/hotspare --list")
        .prints(line + "\n")
        .as_default();
    return *this;
}

Machine& Machine::array(const MachineArray& given) {
    MachineArray array = given;
    if (array.raid_disks == 0) {
        array.raid_disks = static_cast<int>(array.members.size());
    }
    const auto same = [&array](const MachineArray& other) { return other.name == array.name; };
    if (const auto found = std::find_if(arrays_.begin(), arrays_.end(), same);
        found != arrays_.end()) {
        *found = array;
    } else {
        arrays_.push_back(array);
    }
    write_mdstat();
    write_array_attributes(array);
    tool("/sbin/mdadm")
        .on("/sbin/mdadm --detail /dev/" + array.name)
        .prints(detail(array))
        .as_default();
    tool("/sbin/mdadm").on("/sbin/mdadm -D /dev/" + array.name).prints(detail(array)).as_default();
    return *this;
}

void Machine::write_array_attributes(const MachineArray& array) {
    const std::string folder = "/sys/block/" + array.name + "/md";
    remove(folder);
    directory(folder);
    file(folder + "/raid_disks", std::to_string(array.raid_disks) + "\n");
    for (const MachineMember& member : array.members) {
        file(folder + "/dev-" + member.name + "/state", member.state + "\n");
    }
}

Machine& Machine::remove_array(const std::string& name) {
    std::erase_if(arrays_, [&name](const MachineArray& array) { return array.name == name; });
    remove("/sys/block/" + name);
    write_mdstat();
    return *this;
}

void Machine::write_mdstat() {
    std::string text = "Personalities : [linear] [raid0] [raid1] [raid6] [raid5] [raid4] \n";
    for (const MachineArray& array : arrays_) {
        text += mdstat_entry(array);
    }
    file("/proc/mdstat", text + "unused devices: <none>\n");
}

Machine& Machine::recorded_array(const std::string& prefix) {
    const Recorded run = recorded(prefix + "_detail");
    file("/proc/mdstat", recorded(prefix + "_mdstat").text);
    tool("/sbin/mdadm").replays(prefix + "_detail").as_default();
    const std::string name = run.command.substr(run.command.rfind('/') + 1);
    const std::string folder = "/sys/block/" + name + "/md";
    remove(folder);
    std::istringstream lines(recorded(prefix + "_sysfs").text);
    for (std::string line; std::getline(lines, line);) {
        const size_t sign = line.find('=');
        if (sign == std::string::npos) {
            continue;
        }
        const std::string attribute = line.substr(0, sign);
        std::string value = line.substr(sign + 1);
        if (attribute.starts_with("dev-")) {
            value = value.substr(0, value.find(' '));
        }
        file(folder + "/" + attribute, value + "\n");
    }
    return *this;
}

Machine& Machine::group(const MachineGroup& group) {
    std::uint64_t extents = 0;
    std::uint64_t allocated = 0;
    std::ostringstream volumes;
    for (const MachineVolume& volume : group.volumes) {
        const std::uint64_t own = volume.size_kb / group.extent_kb;
        extents += own;
        allocated += volume.allocated;
        volumes << "  " << volume.device << ":" << group.name << ":" << volume.size_kb * 2
                << ":-1:8:8:-1:" << group.extent_kb << ":" << own << ":" << own - volume.allocated
                << ":" << volume.allocated << ":AAAAAA-0000-0000-0000-0000-0000-000000\n";
    }
    std::ostringstream line;
    line << "  " << group.name << ":r/w:" << group.status
         << ":-1:0:1:0:-1:0:" << group.volumes.size() << ":" << group.volumes.size() << ":"
         << extents * group.extent_kb << ":" << group.extent_kb << ":" << extents << ":"
         << allocated << ":" << extents - allocated << ":AAAAAA-0000-0000-0000-0000-0000-000000\n";
    tool("/sbin/vgdisplay").on("/sbin/vgdisplay -c " + group.name).prints(line.str()).as_default();
    return group_lines(vgdisplay_ + line.str(), pvdisplay_ + volumes.str());
}

Machine& Machine::group_lines(const std::string& vgdisplay, const std::string& pvdisplay) {
    vgdisplay_ = vgdisplay;
    pvdisplay_ = pvdisplay;
    Tool groups = tool("/sbin/vgdisplay");
    groups.on("/sbin/vgdisplay -c").prints(vgdisplay).as_default();
    groups.on_prefix("/sbin/vgdisplay -c ")
        .complains("Volume group not found\n")
        .exits(5)
        .as_default();
    tool("/sbin/pvdisplay").on("/sbin/pvdisplay -c").prints(pvdisplay).as_default();
    return *this;
}

Machine& Machine::mounted(const std::vector<std::string>& lines) {
    std::string text = "Filesystem           1K-blocks      Used Available Use% Mounted on\n"
                       "rootfs                  131072     65536     65536  50% /\n";
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    tool("/bin/df").on("/bin/df").prints(text).as_default();
    return *this;
}

} // namespace zav::test
